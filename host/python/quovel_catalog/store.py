"""The database. A transaction holds whole batches; nodes whose file has no row yet are removed when a run that was killed is
taken up again, so that no row is lost or doubled."""

from __future__ import annotations

import contextlib
import csv
import json
import os
import sqlite3
import sys
import time
from collections.abc import Iterator
from typing import IO, Any, Callable, Protocol

from .files import NODE_FIELDS, File, FileRow, Part

SCHEMA = """
CREATE TABLE IF NOT EXISTS files (
  id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, size INTEGER NOT NULL, mtime_ns INTEGER NOT NULL,
  family TEXT NOT NULL, format TEXT NOT NULL, content TEXT, pixels TEXT, nodes INTEGER NOT NULL, seconds REAL NOT NULL, error TEXT);
CREATE TABLE IF NOT EXISTS nodes (
  id INTEGER PRIMARY KEY, file INTEGER NOT NULL, level INTEGER NOT NULL, place TEXT NOT NULL, label TEXT NOT NULL,
  kind TEXT NOT NULL, type TEXT NOT NULL, shape TEXT, value TEXT NOT NULL, number REAL);
CREATE INDEX IF NOT EXISTS nodes_of_file ON nodes(file);
CREATE INDEX IF NOT EXISTS numbers ON nodes(label, number) WHERE number IS NOT NULL;
CREATE INDEX IF NOT EXISTS same_pixels ON files(pixels) WHERE pixels IS NOT NULL;
CREATE VIRTUAL TABLE IF NOT EXISTS words USING fts5(label, value, content='nodes', content_rowid='id');
"""
_UNFINISHED = 1  # user_version while a run goes on
_NODES_PER_TRANSACTION = 20_000
_SECONDS_PER_TRANSACTION = 2.0


def _lock(file: IO[bytes]) -> None:
    """Throws OSError when another process has the lock. The system releases it when the process ends, however it ends."""
    if sys.platform == "win32":
        import msvcrt

        msvcrt.locking(file.fileno(), msvcrt.LK_NBLCK, 1)
    else:
        import fcntl

        fcntl.lockf(file, fcntl.LOCK_EX | fcntl.LOCK_NB)  # workers do not inherit it


@contextlib.contextmanager
def locked(path: str) -> Iterator[None]:
    """Only one run at a time writes an output: the second would remove the unfinished rows of the first."""
    name = path + ".lock"
    while True:
        file = open(name, "ab")
        try:
            _lock(file)
        except OSError:
            file.close()
            raise ValueError(f"another run is writing '{path}'") from None
        with contextlib.suppress(OSError):  # another run may have removed it before it was locked
            if os.path.samestat(os.stat(name), os.fstat(file.fileno())):
                break
        file.close()
    try:
        yield
    finally:
        with contextlib.suppress(OSError):  # Windows removes no open file; it may stay
            os.remove(name)
        file.close()


def check_replaceable(path: str, beginnings: tuple[str, ...], force: bool) -> None:
    """Only what this program has written is replaced without --force."""
    if force or not os.path.isfile(path):
        return
    with open(path, "rb") as file:
        begin = file.read(max(map(len, beginnings)))
    if begin and not begin.startswith(tuple(text.encode() for text in beginnings)):
        raise ValueError(f"'{path}' exists and was not written by this program; --force replaces it")


class Target(Protocol):
    """Where rows go."""

    def begin(self) -> None: ...
    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool: ...
    def add(self, part: Part) -> None: ...
    def remove_unseen(self, gone: Callable[[str], bool]) -> int: ...
    def finish(self) -> None: ...


class Database:
    """The only writer of a catalogue."""

    def __init__(self, path: str, force: bool) -> None:
        self._database = sqlite3.connect(path, isolation_level=None)
        self._database.executescript("PRAGMA synchronous = NORMAL; PRAGMA cache_size = -32000;" + SCHEMA)
        self._written = 0
        self._open = False
        self._partial: set[int] = set()
        self._begun = 0.0
        self.next_id = self._max("files") + 1
        self._seen = bytearray(self.next_id)  # by the id of a file: 1 when this run has seen it
        self._next_node = 0

    def _max(self, table: str) -> int:
        (found,) = self._database.execute(f"SELECT ifnull(max(id), 0) FROM {table}").fetchone()
        return int(found)

    def _remove_nodes(self, condition: str, values: tuple[Any, ...] = ()) -> None:
        of_words = f"SELECT 'delete', id, label, value FROM nodes WHERE {condition}"
        self._database.execute(f"INSERT INTO words(words, rowid, label, value) {of_words}", values)
        self._database.execute(f"DELETE FROM nodes WHERE {condition}", values)

    def begin(self) -> None:
        (version,) = self._database.execute("PRAGMA user_version").fetchone()
        if version == _UNFINISHED:
            self._database.execute("BEGIN IMMEDIATE")
            self._remove_nodes("file NOT IN (SELECT id FROM files)")
            self._database.execute("COMMIT")
        self._next_node = self._max("nodes") + 1

    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool:
        found = self._database.execute("SELECT size, mtime_ns, error, id FROM files WHERE path = ?", (path,)).fetchone()
        if found is not None:
            self._seen[found[3]] = 1
        return found is not None and found[:2] == (size, mtime_ns) and not (retry and found[2])

    def add(self, part: Part) -> None:
        if not self._open:
            self._database.execute("BEGIN IMMEDIATE")
            self._database.execute(f"PRAGMA user_version = {_UNFINISHED}")
            self._open, self._begun, self._written = True, time.monotonic(), 0
        if part.nodes and not (part.file and part.file.error):
            self._database.executemany(
                f"INSERT INTO nodes(file, {', '.join(NODE_FIELDS)}) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                ((part.id, *row) for row in part.nodes),
            )
            self._written += len(part.nodes)
        if part.file is None:
            self._partial.add(part.id)
        else:
            self._finish_file(part.file)
        self._written += 1
        if self._written >= _NODES_PER_TRANSACTION or time.monotonic() - self._begun > _SECONDS_PER_TRANSACTION:
            self._commit()

    def _finish_file(self, row: FileRow) -> None:
        if row.error and row.id in self._partial:
            self._remove_file_nodes(row.id)
        self._partial.discard(row.id)
        old = self._database.execute("SELECT id FROM files WHERE path = ?", (row.path,)).fetchone()
        if old is not None:
            self._remove_file_nodes(old[0])
            self._database.execute("DELETE FROM files WHERE id = ?", old)
        self._database.execute(f"INSERT INTO files VALUES ({', '.join('?' * len(row))})", row)

    def remove_unseen(self, gone: Callable[[str], bool]) -> int:
        """Removes the files that were there before this run, that it has not seen, and that are gone."""
        self._commit()
        rows = self._database.execute("SELECT id, path FROM files WHERE id < ?", (len(self._seen),))
        lost = [number for number, path in rows if not self._seen[number] and gone(path)]
        self._database.execute("BEGIN IMMEDIATE")
        for number in lost:
            self._remove_file_nodes(number)
            self._database.execute("DELETE FROM files WHERE id = ?", (number,))
        self._database.execute("COMMIT")
        return len(lost)

    def _remove_file_nodes(self, file: int) -> None:
        self._index()
        self._remove_nodes("file = ?", (file,))
        self._next_node = self._max("nodes") + 1  # the ids of the last nodes are given again

    def _index(self) -> None:
        new = "SELECT id, label, value FROM nodes WHERE id >= ?"
        self._database.execute(f"INSERT INTO words(rowid, label, value) {new}", (self._next_node,))
        self._next_node = self._max("nodes") + 1

    def _commit(self) -> None:
        if self._open:
            self._index()
            self._database.execute("COMMIT")
            self._open = False

    def finish(self) -> None:
        self._commit()
        self._database.execute("PRAGMA user_version = 0")
        self._database.close()

    def abandon(self) -> None:
        """Ends a run early; the next one completes it."""
        self._commit()
        self._database.close()


class Lines:
    """JSON Lines: an object per node, then one for its file. Nodes of a file that failed later may come before its object."""

    next_id = 1

    def __init__(self, path: str, force: bool) -> None:
        check_replaceable(path, ('{"node": {"file": ', '{"file": {"id": '), force)
        self._out: IO[str] = open(path, "w", encoding="utf-8")

    def begin(self) -> None: ...

    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool:
        return False

    def add(self, part: Part) -> None:
        for row in part.nodes:
            self._write({"node": {"file": part.id, **dict(zip(NODE_FIELDS, row))}})
        if part.file:
            self._write({"file": part.file._asdict()})

    def remove_unseen(self, gone: Callable[[str], bool]) -> int:
        return 0

    def _write(self, row: dict[str, Any]) -> None:
        self._out.write(json.dumps(row, ensure_ascii=False) + "\n")

    def finish(self) -> None:
        self._out.close()

    abandon = finish


class Tables:
    """Two CSV files: OUT with the files, and beside it OUT with ".nodes" before its extension."""

    next_id = 1

    def __init__(self, path: str, force: bool) -> None:
        base, extension = os.path.splitext(path)
        paths = (path, f"{base}.nodes{extension}")
        headings = (FileRow._fields, ("file", *NODE_FIELDS))
        for name, heading in zip(paths, headings):
            check_replaceable(name, (",".join(heading),), force)
        self._files, self._nodes = (open(name, "w", encoding="utf-8", newline="") for name in paths)
        self._file_rows, self._node_rows = csv.writer(self._files), csv.writer(self._nodes)
        self._file_rows.writerow(headings[0])
        self._node_rows.writerow(headings[1])

    def begin(self) -> None: ...

    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool:
        return False

    def add(self, part: Part) -> None:
        self._node_rows.writerows((part.id, *row) for row in part.nodes)
        if part.file:
            self._file_rows.writerow(part.file)

    def remove_unseen(self, gone: Callable[[str], bool]) -> int:
        return 0

    def finish(self) -> None:
        self._files.close()
        self._nodes.close()

    abandon = finish


FORMATS = {"sqlite": Database, "jsonl": Lines, "csv": Tables}
__all__ = ["Database", "FORMATS", "File", "Lines", "Tables", "Target"]
