"""The Python host on the samples: QUOVEL_SAMPLES names their folder."""

import copy
import doctest
import gc
import os
import pathlib
import pickle
import tempfile
import unittest
from unittest import mock

import quovel_adapter as qv
from quovel_adapter import _data, _library

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
                    self.assertEqual(len(node.values), min(node.total_count, 1000) if node.values else 0)

    def test_a_dictionary(self):
        with qv.open(SAMPLES / "parts.json") as reader:
            root = reader.root
            self.assertEqual(root.keys(), ["title", "count", "names", "measured", "profile"])
            self.assertEqual((root["title"].value, root["count"].value), ("Washers and coins on a tray", 5))
            self.assertEqual(root["measured"]["radii"].values, [40.0, 30.0, 46.0])
            self.assertEqual(root["names"].value_text, "['M8', 'M6', 'M10']")
            self.assertEqual(root[-1].place, "/profile")
            self.assertEqual([child.label for child in root.children[1:3]], ["count", "names"])
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


class Ends(unittest.TestCase):
    def test_failures_are_exceptions_with_the_librarys_text(self):
        with qv.open(SAMPLES / "parts.hdict") as reader, tempfile.TemporaryDirectory() as folder:
            self.assertRaises(IndexError, reader.root["image"].image, 1)
            for call, text in (
                (lambda: reader.save(reader.root["image"], folder + "/a.unknown"), "unknown"),
                (lambda: reader.convert(SAMPLES / "parts.hdict", folder + "/a.json"), "."),
                (lambda: reader.root["image"].runs(), "GetRegionRuns"),
                (lambda: reader.root["title"].save(folder + "/a.hobj"), "no such data"),
                (lambda: reader.open(folder + "/missing.json"), "missing.json"),
                (lambda: reader.root, "no file is open"),
            ):
                self.assertRaisesRegex(qv.QuovelError, text, call)
        for kind in ("no", ""):
            self.assertRaisesRegex(ValueError, "kind is one of", qv.open, SAMPLES / "parts.json", kind=kind)
        self.assertRaisesRegex(qv.QuovelError, "closed", lambda: reader.root)

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
