"""The catalogue: QUOVEL_SAMPLES names a folder of sample files."""

import contextlib
import importlib.util
import io
import json
import os
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest
from unittest import mock

from quovel_catalog import cli, files, pool, rows

SAMPLES = pathlib.Path(os.environ["QUOVEL_SAMPLES"])
FILES = "SELECT path, size, mtime_ns, family, format, content, pixels, nodes, error FROM files ORDER BY path"
NODES = (
    "SELECT f.path, n.level, n.place, n.label, n.kind, n.type, n.shape, n.value, n.number FROM nodes n JOIN files f ON f.id = n.file"
    " ORDER BY f.path, n.place, n.id"
)


def command(*arguments):
    """Exit code and output of the command line, in this process."""
    out = io.StringIO()
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(io.StringIO()):
        code = cli.main([str(argument) for argument in arguments])
    return code, out.getvalue()


def content(database):
    with contextlib.closing(sqlite3.connect(database)) as opened:
        words = opened.execute("SELECT count(*) FROM words WHERE words MATCH 'exposure'").fetchone()
        opened.execute("INSERT INTO words(words) VALUES ('integrity-check')")
        return opened.execute(FILES).fetchall(), opened.execute(NODES).fetchall(), words


LOCK = """import sys
from quovel_catalog import store
with store.locked(sys.argv[1]):
    print(flush=True)
    sys.stdin.read()
"""


class Archive(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.archive = self.folder / "archive"
        self.archive.mkdir()

    def fill(self, count):
        """Recipes, images and damaged files."""
        for i in range(count):
            recipe = {"exposure": i, "lens": {"name": f"L{i % 7}", "f/stop": 1.4 + i / 10}, "list": list(range(i % 50))}
            (self.archive / f"recipe{i:04}.json").write_text(json.dumps(recipe))
            if i % 3 == 0:
                (self.archive / f"image{i:04}.pgm").write_bytes(b"P5 8 8 255\n" + bytes([i % 5] * 64))
            if i % 20 == 0:
                (self.archive / f"damaged{i:04}.json").write_text('{"cut": ')

    def build(self, name="a.db", *more):
        return command("build", self.archive, "-o", self.folder / name, *more)

    def ask(self, name, *arguments):
        code, out = command(name, self.folder / "a.db", *arguments)
        return code, [line.split("\t") for line in out.splitlines()[1:]]


class Catalogue(Archive):
    def test_questions(self):
        self.fill(21)
        shutil.copytree(SAMPLES, self.archive / "samples")
        code, out = self.build()
        self.assertEqual(code, 0)
        self.assertRegex(out, r"2 failed, .*\n(.*\n)*Most frequent errors:\n +2  ReadDict: 'FILE'")
        for condition, places in (
            ("exposure > 18", ["/exposure"] * 2),
            ("exposure<=0", ["/exposure"]),
            ("'f/stop' = 1.5", ["/lens/f~1stop"]),
            ("name = L3", ["/lens/name"] * 3),
        ):
            self.assertEqual([row[2] for row in self.ask("find", condition)[1]], places, condition)
        self.assertEqual(self.ask("find", "exposure > x")[0], 1)
        self.assertEqual(self.ask("find", "no condition")[0], 1)
        self.assertEqual({row[3] for row in self.ask("text", "tray", "wash*")[1]}, {"'Washers and coins on a tray'"})
        self.assertEqual(self.ask("text", "no", "such", '"words')[0], 1)
        same = self.ask("duplicates")[1]
        self.assertLessEqual({"image.png", "parts.hdict"}, {os.path.basename(row[2]) for row in same})
        damaged = self.ask("damaged")[1]
        self.assertEqual([row[1].rsplit("/", 1)[1] for row in damaged], ["damaged0000.json", "damaged0020.json"])
        self.assertRegex(damaged[0][2], "ReadDict: .*damaged0000.json")
        good = 28 + sum(files.extension_of(sample.name) in files.FAMILY_OF for sample in SAMPLES.iterdir())
        self.assertEqual(self.ask("sql", "SELECT count(*) FROM files WHERE error IS NULL")[1], [[str(good)]])
        self.assertEqual(self.ask("sql", "DELETE FROM files")[0], 1)
        code, out = command("page", self.folder / "a.db", self.folder / "page.html")
        page = (self.folder / "page.html").read_text()
        self.assertIn("damaged0000.json", page)
        self.assertIn("data:image/png;base64,", page)
        self.assertNotIn("</script>{", page)

    def test_a_tree_is_shown_as_by_qv_inspect(self):
        shutil.copy(SAMPLES / "parts.hdict", self.archive)
        self.build()
        _, out = command("show", self.folder / "a.db", 1)
        for line in ("├── measured  dict  2 keys", "│   └── radii  real[3]  [40, 30, 46]", "13 nodes"):
            self.assertIn(line, out.splitlines())
        self.assertTrue(out.startswith("parts.hdict  dict  10 keys\n"))
        self.assertIn("└── cup", out)

    def test_rows_are_the_same_with_and_without_the_helper(self):
        big = {"deep": {"a/b": {"": 1.5}}, "𝄞k" * 9000: {"k" * 600: list(range(3)), "x": {"y": 1}}, "many": [{"i": i, "s": "x" * (i % 100)} for i in range(3000)], "long": "ä𝄞" * 4000}
        (self.archive / "big.json").write_text(json.dumps(big))
        for sample in SAMPLES.iterdir():
            shutil.copy(sample, self.archive)
        self.assertIsNotNone(rows._walk)
        self.build()
        with mock.patch.object(rows, "_walk", None):
            self.build("b.db")
        found, other = content(self.folder / "a.db"), content(self.folder / "b.db")
        self.assertGreater(len(found[1]), 9000)
        self.assertEqual(found, other)
        self.assertLessEqual(max(len(row[2]) for row in found[1]), 512)

    def test_a_second_run_opens_what_changed(self):
        self.fill(40)
        self.build()
        self.assertRegex(self.build()[1], r"^0 files opened, .*; 56 unchanged")
        self.assertRegex(self.build("a.db", "--retry")[1], "^2 files opened, 2 failed")
        (self.archive / "recipe0007.json").write_text('{"exposure": 1000}')
        self.assertRegex(self.build()[1], "^1 files opened, 0 failed, 2 nodes")
        self.assertEqual([row[3] for row in self.ask("find", "exposure > 900")[1]], ["1000"])
        os.remove(self.archive / "recipe0008.json")
        self.assertRegex(self.build()[1], "; 55 unchanged; 1 no longer there")
        self.build("b.db")
        self.assertEqual(content(self.folder / "a.db"), content(self.folder / "b.db"))

    def test_one_file_never_ends_the_run(self):
        self.fill(100)
        names = {how: f"recipe00{number}.json" for how, number in dict(crash=13, hang=64, memory=70, late=80).items()}
        real = rows.Opener.rows

        def troubled(opener, file):
            name = os.path.basename(file.path)
            if name == names["crash"]:
                os.kill(os.getpid(), signal.SIGSEGV)
            if name == names["hang"]:
                time.sleep(60)
            if name == names["memory"]:
                blocks = []
                while True:
                    blocks.append(bytes(1 << 24))
            if name == names["late"]:  # after some of its rows were sent
                yield files.Part(file.id, [(0, "/", "", "dict", "dict", None, "late exposure", None)] * 5000, None)
                os.kill(os.getpid(), signal.SIGKILL)
            yield from real(opener, file)

        with mock.patch.object(rows.Opener, "rows", troubled):
            self.build("a.db", "--timeout", 1, "--memory", "1G", "--jobs", 2)
        found = {row[0].rsplit("/", 1)[1]: row for row in content(self.folder / "a.db")[0]}
        self.assertEqual(len(found), 139)
        errors = {how: found[name][8] for how, name in names.items()}
        self.assertEqual(
            errors,
            {
                "crash": "the worker was ended by SIGSEGV",
                "hang": "timed out after 1 s",
                "memory": "memory is exhausted",
                "late": "the worker was ended by SIGKILL",
            },
        )
        self.build("a.db", "--retry")
        self.build("b.db")
        self.assertEqual(content(self.folder / "a.db"), content(self.folder / "b.db"))

    def test_a_killed_run_is_completed(self):
        self.fill(900)
        database = self.folder / "a.db"
        (self.archive / "big.json").write_text(json.dumps([{"exposure": i, "x": [1, "a"]} for i in range(20000)]))
        run = [sys.executable, "-m", "quovel_catalog", "build", str(self.archive), "-o", str(database), "--jobs", "1"]
        kills = 0
        for delay in (0.25, 0.4, 0.55):
            process = subprocess.Popen(run, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            time.sleep(delay)
            process.kill()
            kills += process.wait() == -signal.SIGKILL
        patience = time.monotonic() + 20
        while workers := subprocess.run(["pgrep", "-f", str(database)], stdout=subprocess.PIPE).stdout:
            self.assertLess(time.monotonic(), patience, workers)
            time.sleep(0.1)
        self.assertGreater(kills, 0)
        self.assertEqual(subprocess.run(run, stdout=subprocess.DEVNULL).returncode, 0)
        self.build("b.db")
        self.assertEqual(content(database), content(self.folder / "b.db"))

    def test_other_formats_have_the_same_rows(self):
        self.fill(30)
        self.build()
        self.build("a.jsonl", "--format", "jsonl")
        self.build("a.csv", "--format", "csv")
        found, nodes, _ = content(self.folder / "a.db")
        lines = [json.loads(line) for line in (self.folder / "a.jsonl").read_text().splitlines()]
        self.assertEqual(sorted(line["file"]["path"] for line in lines if "file" in line), [row[0] for row in found])
        self.assertEqual(sum("node" in line for line in lines), len(nodes))
        self.assertEqual(len((self.folder / "a.csv").read_text().splitlines()), len(found) + 1)
        self.assertEqual(len((self.folder / "a.nodes.csv").read_text().splitlines()), len(nodes) + 1)

    def test_what_cannot_be_read(self):
        self.assertEqual(command("build", self.folder / "missing", "-o", self.folder / "a.db")[0], 1)
        self.assertEqual(command("damaged", self.folder / "no.db")[0], 1)
        for more in (("--memory", "much"), ("--jobs", 0), ("--timeout", 0), ("--timeout", "nan")):
            self.assertRaises(SystemExit, command, "build", self.archive, "-o", "x", *more)
        self.fill(1)
        small = [sys.executable, "-m", "quovel_catalog", "build", self.archive, "-o", self.folder / "a.db", "--memory", "1K"]
        self.assertRegex(subprocess.run(small, stderr=subprocess.PIPE).stderr.decode(), "\\Aqv_catalog: a worker could not start")
        other = self.folder / "notes.txt"
        other.write_text("mine")
        os.utime(self.archive / "recipe0000.json", ns=(0, 10**19))
        self.assertEqual(command("build", other, self.archive, "-o", self.folder / "a.db")[0], 1)
        self.assertEqual(self.ask("find", "exposure = 0")[0], 0)
        for output in (other, self.folder / "a.db"):
            before = output.read_bytes()
            self.assertEqual(command("page", self.folder / "a.db", output)[0], 1)
            for form in ("csv", "jsonl"):
                self.assertEqual(command("build", self.archive, "-o", output, "--format", form)[0], 1)
            self.assertEqual(output.read_bytes(), before)
        vacuum = f"VACUUM INTO '{self.folder}/new.db'"
        for question in (vacuum, f"ATTACH '{self.folder}/new.db' AS n"):
            self.assertEqual(self.ask("sql", question)[0], 1)
        self.assertIn(r"\x1b[31m", command("sql", self.folder / "a.db", "SELECT char(27) || '[31m'")[1])
        with subprocess.Popen([sys.executable, "-c", LOCK, self.folder / "a.db"], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as run:
            run.stdout.readline()
            self.assertEqual(self.build()[0], 1)
            run.stdin.close()


@unittest.skipUnless(importlib.util.find_spec("distributed"), "Dask is not installed")
class Cluster(Archive):
    def start(self, name, *arguments):
        program = f"from distributed.cli.dask_{name} import main; main()"
        path = os.pathsep.join([str(pathlib.Path(cli.__file__).parents[1]), os.environ.get("PYTHONPATH", "")])
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, "cwd": self.folder}
        process = subprocess.Popen([sys.executable, "-c", program, *arguments], env={**os.environ, "PYTHONPATH": path}, **quiet)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def test_two_workers_of_which_one_is_lost(self):
        self.fill(300)
        port = str(20000 + os.getpid() % 20000)
        self.start("scheduler", "--host", "127.0.0.1", "--port", port, "--no-dashboard")
        address = "tcp://127.0.0.1:" + port
        workers = [self.start("worker", address, "--nthreads", "1", "--no-nanny", "--no-dashboard") for _ in range(2)]
        program = "import quovel_catalog.cluster, quovel_catalog.cli; quovel_catalog.cluster.BATCH = 20; quovel_catalog.cli.main()"
        build = [sys.executable, "-c", program, "build", self.archive, "-o", self.folder / "a.db", "--scheduler", address]
        running = subprocess.Popen(build, stdout=subprocess.DEVNULL)
        journal = self.folder / "a.db-journal"  # there as long as rows are being written
        while running.poll() is None and not journal.exists():
            time.sleep(0.02)
        self.assertIsNone(running.poll(), "the run ended before a worker was killed")
        workers[0].kill()
        self.assertEqual(running.wait(120), 0)
        self.build("b.db")
        self.assertEqual(content(self.folder / "a.db"), content(self.folder / "b.db"))


if __name__ == "__main__":
    unittest.main()
