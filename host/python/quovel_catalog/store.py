"""The database. A transaction holds whole batches; nodes whose file has no row yet are removed when a run that was killed is
taken up again, so that no row is lost or doubled."""

from __future__ import annotations

import csv
import json
import os
import sqlite3
import time
from typing import IO, Any, Protocol

from .files import File, FileRow, Part

SCHEMA = """
CREATE TABLE IF NOT EXISTS files (
  id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, size INTEGER NOT NULL, mtime_ns INTEGER NOT NULL,
  family TEXT NOT NULL, format TEXT NOT NULL, content TEXT, pixels TEXT, nodes INTEGER NOT NULL, seconds REAL NOT NULL, error TEXT);
CREATE TABLE IF NOT EXISTS nodes (
  id INTEGER PRIMARY KEY, file INTEGER NOT NULL, place TEXT NOT NULL, label TEXT NOT NULL, kind TEXT NOT NULL,
  type TEXT NOT NULL, shape TEXT, value TEXT NOT NULL, number REAL);
CREATE INDEX IF NOT EXISTS nodes_of_file ON nodes(file);
CREATE INDEX IF NOT EXISTS numbers ON nodes(label, number) WHERE number IS NOT NULL;
CREATE INDEX IF NOT EXISTS same_pixels ON files(pixels) WHERE pixels IS NOT NULL;
CREATE VIRTUAL TABLE IF NOT EXISTS words USING fts5(label, value, content='nodes', content_rowid='id');
"""
_UNFINISHED = 1  # user_version while a run goes on
_NODES_PER_TRANSACTION = 20_000
_SECONDS_PER_TRANSACTION = 2.0


class Target(Protocol):
    """Where rows go."""

    def begin(self) -> None: ...
    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool: ...
    def add(self, part: Part) -> None: ...
    def finish(self) -> None: ...


class Database:
    """The only writer of a catalogue."""

    def __init__(self, path: str) -> None:
        self._database = sqlite3.connect(path, isolation_level=None)
        self._database.executescript("PRAGMA synchronous = NORMAL; PRAGMA cache_size = -32000;" + SCHEMA)
        self._written = 0
        self._open = False
        self._partial: set[int] = set()
        self._begun = 0.0
        self.next_id = self._max("files") + 1
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
        found = self._database.execute("SELECT size, mtime_ns, error FROM files WHERE path = ?", (path,)).fetchone()
        return found is not None and found[:2] == (size, mtime_ns) and not (retry and found[2])

    def add(self, part: Part) -> None:
        if not self._open:
            self._database.execute("BEGIN IMMEDIATE")
            self._database.execute(f"PRAGMA user_version = {_UNFINISHED}")
            self._open, self._begun, self._written = True, time.monotonic(), 0
        if part.nodes:
            self._database.executemany(
                "INSERT INTO nodes(file, place, label, kind, type, shape, value, number) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
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

    def __init__(self, path: str) -> None:
        self._out: IO[str] = open(path, "w", encoding="utf-8")

    def begin(self) -> None: ...

    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool:
        return False

    def add(self, part: Part) -> None:
        names = ("place", "label", "kind", "type", "shape", "value", "number")
        for row in part.nodes:
            self._write({"node": {"file": part.id, **dict(zip(names, row))}})
        if part.file:
            self._write({"file": part.file._asdict()})

    def _write(self, row: dict[str, Any]) -> None:
        self._out.write(json.dumps(row, ensure_ascii=False) + "\n")

    def finish(self) -> None:
        self._out.close()

    abandon = finish


class Tables:
    """Two CSV files: OUT with the files, and beside it OUT with ".nodes" before its extension."""

    next_id = 1

    def __init__(self, path: str) -> None:
        base, extension = os.path.splitext(path)
        self._files, self._nodes = (open(p, "w", encoding="utf-8", newline="") for p in (path, f"{base}.nodes{extension}"))
        self._file_rows, self._node_rows = csv.writer(self._files), csv.writer(self._nodes)
        self._file_rows.writerow(FileRow._fields)
        self._node_rows.writerow(("file", "place", "label", "kind", "type", "shape", "value", "number"))

    def begin(self) -> None: ...

    def known(self, path: str, size: int, mtime_ns: int, retry: bool) -> bool:
        return False

    def add(self, part: Part) -> None:
        self._node_rows.writerows((part.id, *row) for row in part.nodes)
        if part.file:
            self._file_rows.writerow(part.file)

    def finish(self) -> None:
        self._files.close()
        self._nodes.close()

    abandon = finish


FORMATS = {"sqlite": Database, "jsonl": Lines, "csv": Tables}
__all__ = ["Database", "FORMATS", "File", "Lines", "Tables", "Target"]
