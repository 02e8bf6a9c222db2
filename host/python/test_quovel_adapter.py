"""The Python host on the samples: QUOVEL_SAMPLES names their folder."""

import copy
import doctest
import gc
import importlib.util
import json
import os
import pathlib
import pickle
import struct
import sys
import tempfile
import unittest
import warnings
from unittest import mock

import quovel_adapter as qv
from quovel_adapter import _data, _library, _notebook

SAMPLES = pathlib.Path(os.environ["QUOVEL_SAMPLES"])


class Trees(unittest.TestCase):
    def test_every_sample_opens_and_every_node_can_be_asked(self):
        files = [file for file in SAMPLES.iterdir() if file.suffix != ".html"]
        self.assertGreater(len(files), 10)
        for file in files:
            with self.subTest(file.name), qv.open(file) as reader:
                for _, node in reader.root.walk():
                    self.assertIn(node.type, repr(node))
                    self.assertTrue(node._repr_html_())
                    self.assertEqual(reader.root.find(node.place).label, node.label)
                    with warnings.catch_warnings():
                        warnings.simplefilter("ignore", qv.PrecisionWarning)
                        self.assertEqual(len(node.elements), node.total_count if node.kind == qv.Kind.VALUE else 0)

    def test_a_dictionary(self):
        with qv.open(SAMPLES / "parts.json") as reader:
            root = reader.root
            self.assertEqual(root.keys(), ["title", "count", "names", "measured", "profile"])
            self.assertEqual((root["title"].value, root["count"].value), ("Washers and coins on a tray", 5))
            self.assertEqual(root["measured"]["radii"].elements, [40.0, 30.0, 46.0])
            self.assertEqual(root["names"].value_text, "['M8', 'M6', 'M10']")
            self.assertEqual(root[-1].place, "/profile")
            self.assertEqual([child.label for child in root[1:3]], ["count", "names"])
            self.assertEqual(root.items()[0][0], "title")
            self.assertEqual([node.label for node in root.values()], root.keys())
            self.assertTrue("title" in root and root["title"] and "no" not in root)
            self.assertIn("  measured  dict  2 keys\n    areas", root.tree())
            self.assertRaises(KeyError, root.find, "/measured/no")
            self.assertRaises(IndexError, root.__getitem__, 5)

    def test_texts_of_any_length_and_language(self):
        texts = {"": "x", "a/b~c": "ÄŁ𝄞" * 3000, "Ā": "Ā" + "\u0100a" * 5000}  # zero bytes at odd places
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "Ω𝄞.json"
            file.write_text(__import__("json").dumps(texts), encoding="utf-8")
            with qv.open(file) as reader:
                self.assertEqual({child.label: child.value for child in reader.root}, texts)
                self.assertEqual([child.place for child in reader.root], ["/~", "/a~1b~0c", "/Ā"])
                self.assertEqual([reader.root.find(child.place).label for child in reader.root], list(texts))

    def test_reading_options(self):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "a.json"
            file.write_text('{"t": true, "f": false, "n": null, "a": [1, 2]}')
            with qv.open(file, json_true=1, json_false="no", json_null=0.5, json_arrays="dict") as reader:
                self.assertEqual([reader.root[key].value for key in "tfn"], [1, "no", 0.5])
                self.assertEqual(len(reader.root["a"]), 2)
                self.assertRaises(TypeError, reader.open, file, json_no=1)
                self.assertRaises(OverflowError, reader.open, file, json_true=2**70)
                self.assertRaises(ValueError, reader.open, str(file) + "\0")
                self.assertEqual(len(reader.root), 4)  # the file before stays
                self.assertEqual(len(reader.open(os.fsencode(file), json_true=-(2**63))), 4)
                self.assertRaisesRegex(qv.QuovelError, "json_arrays|convert", reader.open, file, json_arrays="no")


@unittest.skipIf(_data.numpy is None, "NumPy is not installed")
class Readme(unittest.TestCase):
    def test_its_examples(self):
        folder = os.getcwd()
        self.addCleanup(os.chdir, folder)
        os.chdir(SAMPLES)
        readme = pathlib.Path(__file__).resolve().with_name("README.md")
        failed, tried = doctest.testfile(str(readme), module_relative=False)
        self.assertTrue(failed == 0 and tried > 10)


class Data(unittest.TestCase):
    def setUp(self):
        release = mock.patch.object(_library.library, "qv_free_buffer", wraps=_library.library.qv_free_buffer)
        self.released, _ = release.start(), self.addCleanup(release.stop)

    def test_buffers_go_back(self):
        with qv.open(SAMPLES / "scene.hobj") as reader:
            for index, extract, buffers in ((0, "image", 1), (1, "runs", 3), (6, "points", 2), (13, "parallels", 4)):
                getattr(reader.root[index], extract)()
                self.assertEqual(self.released.call_count, buffers)
                self.released.reset_mock()
            self.assertRaises(qv.QuovelError, reader.root[1].points)
            self.assertEqual([bool(call.args[0].value) for call in self.released.call_args_list], [False, False])

    @unittest.skipIf(_data.numpy is None, "NumPy is not installed")
    def test_numpy_arrays(self):
        with qv.open(SAMPLES / "scene.hobj") as scene, qv.open(SAMPLES / "parts.hdict") as parts:
            masked, color = scene.root[0].image(), parts.root["image"].image()
            runs, points = parts.root["washers"].runs(2), parts.root["rim"].points()
            polygon, (first, second) = scene.root[12].points(), scene.root[13].parallels()
        self.assertEqual((masked.shape, color.shape, color.dtype), ((240, 320, 4), (240, 320, 3), "uint8"))
        self.assertEqual((masked[0, 0, 3], masked[120, 160, 3]), (0, 255))  # outside and inside the domain
        red, _, blue = color[78, 262]  # a copper coin
        self.assertGreater(red, blue)
        self.assertEqual((runs[:, 2] - runs[:, 1] + 1).sum(), 4684)
        self.assertEqual((points.shape, points[0].tolist()), ((91, 2), [78.0, 300.0]))
        self.assertEqual((len(polygon), first.tolist()[0], second.tolist()[1]), (5, [210.0, 142.0], [230.0, 312.0]))

    def test_without_numpy(self):
        with mock.patch.object(_data, "numpy", None), qv.open(SAMPLES / "parts.hdict") as reader:
            image, runs = reader.root["image"].image(), reader.root["washers"].runs(0)
            self.assertEqual(image[:3] + (len(image.data),), (320, 240, 3, 320 * 240 * 3))
            self.assertEqual(runs[0], (32, 70, 70))
            self.assertEqual(reader.root["rim"].points()[0], (78.0, 300.0))
            for key in ("image", "washers", "rim"):
                self.assertRegex(reader.root[key]._repr_html_(), "<img|<svg")


def sample(folder, name, content):
    path = pathlib.Path(folder) / name
    path.write_bytes(content if isinstance(content, bytes) else json.dumps(content).encode())
    return path


class Conversion(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def test_more_values_than_the_library_keeps_are_exact(self):
        reals = [499999.0 + i / 7 for i in range(1500)]
        mixed = [1, 2.5, "x, 'y'"] * 500
        content = {"a/b": {"r": reals, "i": list(range(1500))}, "m": [[1], mixed], "t": [True] * 1001 + [0.5], "q": ["x"] * 1001 + ["a', b"]}
        file = sample(self.folder, "many.json", content)
        with qv.open(file, json_true="yes") as reader:
            self.assertEqual(reader.root["a/b"]["r"].elements, reals)
            self.assertEqual(reader.root["a/b"]["i"].elements, list(range(1500)))
            self.assertEqual(reader.root["m"][1].elements, mixed)
            self.assertEqual(reader.root["t"].elements, ["yes"] * 1001 + [0.5])
            self.assertEqual(reader.root["q"].elements, content["q"])
            reader.convert(file, self.folder + "/many.hdict")
        with qv.open(file) as reader:
            sample(self.folder, "many.json", {**content, "a/b": {"r": reals[:-1] + [0.25]}})
            with self.assertWarns(qv.PrecisionWarning):
                self.assertEqual(reader.root["a/b"]["r"].elements[-1], 500213.0)
        with qv.open(self.folder + "/many.hdict") as reader:
            self.assertEqual(reader.root["a/b"]["r"].value, reals)
        with qv.open(SAMPLES / "model.om3") as reader, self.assertWarnsRegex(qv.PrecisionWarning, "/point_coord_z"):
            self.assertEqual(len(reader.root["point_coord_z"].elements), 3600)

    @unittest.skipIf(_data.numpy is None, "NumPy is not installed")
    def test_stored_pixels(self):
        deep = _data.numpy.array([[0, 1000, 65535], [7, 256, 40000]], dtype="uint16")
        gray = sample(self.folder, "deep.pgm", b"P5 3 2 65535\n" + deep.astype(">u2").tobytes())
        color = sample(self.folder, "deep.ppm", b"P6 2 1 65535\n" + deep.astype(">u2").tobytes())
        six = _data.numpy.arange(12, dtype="uint16").reshape(1, 2, 6)
        real = _data.numpy.array([[0.1, -2.5e9]], dtype="float32")
        for file, wanted in (
            (gray, deep),
            (color, deep.reshape(1, 2, 3)),
            (sample(self.folder, "f.tif", tiff(real[:, :, None], 3)), real),
            (sample(self.folder, "two.tif", tiff(deep.reshape(1, 3, 2), 1)), deep.reshape(1, 3, 2)),
            (sample(self.folder, "six.tif", tiff(six, 1)), six),  # more than 4 channels are stored plane by plane
        ):
            with self.subTest(file.name), qv.open(file) as reader:
                array = _data.numpy.asarray(reader.root[0])
                self.assertEqual((array.dtype, array.tolist()), (wanted.dtype, wanted.tolist()))
                self.assertTrue(reader.root[0].domain().all() and reader.root[0].domain().shape == wanted.shape[:2])
                self.assertRegex(reader.root[0]._repr_html_(), "shown from (0.0|-2.*) to")
        with qv.open(self.folder + "/two.tif") as reader:
            self.assertRaisesRegex(qv.QuovelError, "2 channels has no colors", reader.root[0].image)
        with qv.open(SAMPLES / "scene.hobj") as reader:  # of several images in one node, and of a domain
            mask, stored = reader.root[0].domain(), reader.root[0].image(raw=True)
            self.assertEqual((mask.sum(), stored.shape, stored[~mask].max()), (68096, (240, 320), 0))
            self.assertTrue((stored[mask] == reader.root[0].image()[:, :, 0][mask]).all())

    @unittest.skipIf(_data.numpy is None, "NumPy is not installed")
    def test_what_becomes_an_array(self):
        with qv.open(SAMPLES / "parts.hdict") as parts, qv.open(SAMPLES / "scene.hobj") as scene:
            for node, shape, kind in (
                (parts.root["profile"], (320,), "i"),
                (parts.root["names"], (3,), "U"),
                (parts.root["pose"], (3, 3), "f"),
                (parts.root["image"], (240, 320, 3), "u"),
                (parts.root["rim"], (91, 2), "f"),
                (scene.root[12], (5, 2), "f"),
            ):
                array = _data.numpy.asarray(node)
                self.assertEqual((array.shape, array.dtype.kind), (shape, kind), node.place)
            self.assertEqual(_data.numpy.asarray(parts.root["pose"])[0].tolist(), [0.8, -0.6, 12.5])
            self.assertEqual(_data.numpy.asarray(parts.root["profile"], dtype="float32").dtype, "float32")
            for node, text in (
                (parts.root, "/ is a dict with 10 children"),
                (parts.root["washers"], "/washers holds 3 objects"),
                (parts.root["cup"], "/cup holds object_model_3d"),
                (scene.root[13], "/13 holds two lines"),
            ):
                self.assertRaisesRegex(TypeError, text, _data.numpy.asarray, node)
            self.assertRaisesRegex(TypeError, "/cup holds object_model_3d, which", parts.root.to_dict)
            content = parts.root.to_dict(default=lambda node: node.type)
            self.assertEqual(list(content), parts.root.keys())
            self.assertEqual((content["names"], content["cup"]), (["M8", "M6", "M10"], "object_model_3d"))
            self.assertEqual([len(runs) for runs in content["washers"]], [len(parts.root["washers"].runs(i)) for i in (0, 1, 2)])

    def test_dictionaries_of_any_depth(self):
        nested = {"a": {"b": [[1, 2], ["x"], []], "c": 0.1, "d": [{"x": 1}, 5]}}
        with qv.open(sample(self.folder, "nested.json", nested)) as reader:
            wanted = {"b": {"0": [1, 2], "1": "x", "2": []}, "c": 0.1, "d": [{"x": 1}, 5]}
            self.assertEqual(reader.root.to_dict(), {"a": wanted})
        deep = b'{"a":' * 1000 + b"1" + b"}" * 1000
        with qv.open(sample(self.folder, "deep.json", deep)) as reader:
            content = reader.root.to_dict()
            for _ in range(1000):
                content = content["a"]
            self.assertEqual(content, 1)

    def test_data_frames(self):
        table = {"id": [1, 2, 3], "name": ["a", "b", "c"]}
        with qv.open(sample(self.folder, "t.json", {"t": table, "bad": {"a": [1, 2], "b": [1]}})) as reader:
            with mock.patch.dict(sys.modules, {"pandas": None}):
                self.assertRaisesRegex(ImportError, "pandas, which is not installed", reader.root["t"].to_dataframe)
            if importlib.util.find_spec("pandas"):
                self.assertEqual(reader.root["t"].to_dataframe().to_dict("list"), table)
                self.assertRaisesRegex(ValueError, "'a': 2, 'b': 1", reader.root["bad"].to_dataframe)
                self.assertRaisesRegex(TypeError, "/t holds dict", reader.root.to_dataframe)

    def test_pictures_are_reduced_by_averaging(self):
        # Columns of 0 and 200 by turns: every second pixel would be all black or all white.
        image = _data.Pixels(1024, 2, 1, bytearray([0, 200] * 1024))
        without = mock.patch.object(_data, "numpy", None)
        with without:
            slow = _notebook.reduced(image)
        for found in (slow, _notebook.reduced(image)):
            self.assertEqual((found.width, found.height, set(found.data)), (512, 1, {100}))
        for channels in (1, 3):  # 1025 pixels: the last block is smaller
            odd = _data.Pixels(1025, 3, channels, (bytearray(range(256)) * 37)[: 3075 * channels])
            with without:
                slow = _notebook.reduced(odd)
            fast = _notebook.reduced(odd)
            self.assertEqual(slow[:3], (342, 1, channels))
            self.assertLessEqual(max(abs(a - b) for a, b in zip(slow.data, fast.data)), 1)


def tiff(samples, sample_format):
    """A little-endian TIFF file of one strip."""
    height, width, channels = samples.shape
    data = samples.tobytes()
    bits = 8 * samples.dtype.itemsize
    entries = [(256, width), (257, height), (258, bits), (259, 1), (262, 1), (273, 8), (277, channels), (278, height)]
    entries += [(279, len(data)), (339, sample_format)]
    if channels > 1:
        entries.append((338, 0))
    directory = b""
    tail = b""
    at = 8 + len(data) + 2 + 12 * len(entries) + 4
    for tag, value in sorted(entries):
        count = channels if tag in (258, 339) else channels - 1 if tag == 338 else 1
        values = struct.pack(f"<{count}H", *[value] * count) if tag != 273 else struct.pack("<H", value)
        if len(values) > 4:
            directory += struct.pack("<HHII", tag, 3, count, at + len(tail))
            tail += values
        else:
            directory += struct.pack("<HHI", tag, 3, count) + values.ljust(4, b"\0")
    head = b"II*\0" + struct.pack("<I", 8 + len(data))
    return head + data + struct.pack("<H", len(entries)) + directory + bytes(4) + tail


class Ends(unittest.TestCase):
    def test_failures_are_exceptions_with_the_librarys_text(self):
        with qv.open(SAMPLES / "parts.hdict") as reader, tempfile.TemporaryDirectory() as folder:
            self.assertRaises(IndexError, reader.root["image"].image, 1)
            for call, text in (
                (lambda: reader.save(reader.root["image"], folder + "/a.unknown"), "unknown"),
                (lambda: reader.convert(SAMPLES / "parts.hdict", folder + "/a.json"), "."),
                (lambda: reader.root["image"].runs(), "GetRegionRuns"),
                (lambda: reader.root["title"].save(folder + "/a.hobj"), "no such data"),
                (lambda: reader.open(SAMPLES / "image.png", kind="dict"), "image.png"),
                (lambda: reader.root, "no file is open"),
            ):
                self.assertRaisesRegex(qv.QuovelError, text, call)
        for kind in ("no", ""):
            self.assertRaisesRegex(ValueError, "kind is one of", qv.open, SAMPLES / "parts.json", kind=kind)
        self.assertRaisesRegex(qv.QuovelError, "closed", lambda: reader.root)

    def test_failures_that_the_system_explains(self):
        with qv.open(SAMPLES / "scene.hobj") as reader, tempfile.TemporaryDirectory() as folder:
            image, missing = reader.root[0], folder + "/missing.json"
            for call in (
                lambda: qv.open(missing),
                lambda: reader.convert(missing, folder + "/a.json"),
                lambda: image.save(folder + "/no/a.png"),
            ):
                with self.assertRaisesRegex(FileNotFoundError, "^[A-Z][A-Za-z]+: '.*': ") as caught:
                    call()
                self.assertIsInstance(caught.exception, qv.QuovelError)
                self.assertEqual(caught.exception.errno, 2)
            for call in (lambda: qv.open(sample(folder, "a.json", b"no")), lambda: image.save(folder + "/a.unknown")):
                with self.assertRaises(qv.QuovelError) as caught:
                    call()
                self.assertNotIsInstance(caught.exception, OSError)
                with mock.patch("os.access", return_value=False), self.assertRaises(PermissionError):
                    call()

    def test_misuse_is_told_before_the_library_is_called(self):
        with qv.open(SAMPLES / "scene.hobj") as reader:
            for wrong in (copy.copy, copy.deepcopy, pickle.dumps):
                self.assertRaisesRegex(TypeError, "cannot be copied", wrong, reader)
                self.assertRaisesRegex(TypeError, "cannot be copied", wrong, reader.root)
            for index in (2**32, -1):
                for wrong in (reader.root[0].image, reader.root[0].channel_count, reader.root[1].runs):
                    self.assertRaises(IndexError, wrong, index)
            self.assertRaises(TypeError, reader.root.__getitem__, 1.0)
            self.assertRaisesRegex(ValueError, "no nodes", reader.save, [], "none.hobj")

    def test_where_the_library_is_looked_for(self):
        def places(file):
            with mock.patch.object(_library, "__file__", file):
                return [path.parent.as_posix() for path in _library._candidates()]

        lib = pathlib.Path("/opt/lib").resolve()
        package = (lib / "python3/dist-packages/quovel_adapter").as_posix()
        self.assertEqual(len(places("/quovel_adapter/_library.py")), 1)
        wanted = [package, lib.as_posix(), (lib.parent / "bin").as_posix()]
        self.assertEqual(places(package + "/_library.py"), wanted)
        self.assertFalse([place for place in places(_library.__file__)[1:] if "/build/" not in place])

    def test_nodes_end_with_their_file(self):
        reader = qv.open(SAMPLES / "parts.json")
        old = reader.root["title"]
        self.assertEqual(reader.open(SAMPLES / "image.pgm")[0].channel_count(), 1)
        self.assertRaisesRegex(qv.QuovelError, "no longer open", lambda: old.label)
        new = reader.root
        reader.close()
        reader.close()
        self.assertRaisesRegex(qv.QuovelError, "closed", lambda: new.label)
        self.assertIn("closed", repr(new) + repr(reader))

    def test_a_forgotten_reader_is_destroyed(self):
        destroy = _library.library.qv_reader_destroy
        with mock.patch.object(_library.library, "qv_reader_destroy", wraps=destroy) as destroyed:
            qv.open(SAMPLES / "parts.json").root.children
            gc.collect()
        self.assertEqual(destroyed.call_count, 1)

    def test_saving_and_converting(self):
        with qv.open(SAMPLES / "scene.hobj") as reader, tempfile.TemporaryDirectory() as folder:
            reader.save((node for node in (reader.root[1], reader.root[0])), folder + "/two.hobj")
            reader.root[0].save(folder + "/one.png")
            reader.convert(SAMPLES / "parts.hdict", folder + "/parts.json", lenient=True)
            self.assertEqual([node.type for node in reader.open(folder + "/two.hobj")], ["region", "image"])
            self.assertEqual(reader.open(folder + "/parts.json")["count"].value, 5)


if __name__ == "__main__":
    unittest.main()
