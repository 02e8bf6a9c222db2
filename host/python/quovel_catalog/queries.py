"""Questions to a catalogue. Each returns a heading and rows."""

from __future__ import annotations

import re
import sqlite3
import sys
import urllib.parse
from collections.abc import Iterator
from typing import Any

Answer = tuple[list[str], Iterator[tuple[Any, ...]]]

_NODES = "SELECT f.id, f.path, n.place, n.value FROM nodes n JOIN files f ON f.id = n.file"
_CONDITION = re.compile(r"\s*(?:\"([^\"]+)\"|'([^']+)'|(.+?))\s*(<=|>=|!=|<|>|=)\s*(.*?)\s*")


# As qv_inspect prints them: control characters, and those that change the direction or break a line.
_CONTROLS = [*range(0x20), *range(0x7F, 0xA0), 0x61C, 0x200E, 0x200F, *range(0x2028, 0x202F), *range(0x2066, 0x206A)]
_ESCAPES = {c: f"\\x{c:02x}" if c < 0x100 else f"\\u{c:04x}" for c in _CONTROLS}
_ESCAPES.update({0x09: "\\t", 0x0A: "\\n", **{c: f"\\u{c:04x}" for c in range(0xD800, 0xE000)}})


def printable(text: object) -> str:
    """A text of a file or about it, without what a terminal would obey or cannot show."""
    shown = str(text).translate(_ESCAPES)
    encoding = sys.stdout.encoding or "utf-8"
    return shown.encode(encoding, "backslashreplace").decode(encoding)


def _is_allowed(action: int, *_: object) -> int:
    """query_only protects this database, and not the files that ATTACH and VACUUM INTO would make."""
    return sqlite3.SQLITE_DENY if action in (sqlite3.SQLITE_ATTACH, sqlite3.SQLITE_DETACH) else sqlite3.SQLITE_OK


def open_read_only(path: str) -> sqlite3.Connection:
    database = sqlite3.connect(f"file:{urllib.parse.quote(path)}?mode=ro", uri=True)
    database.execute("PRAGMA query_only = 1")
    database.set_authorizer(_is_allowed)
    return database


def _answer(database: sqlite3.Connection, question: str, values: tuple[Any, ...] = ()) -> Answer:
    found = database.execute(question, values)
    return [column[0] for column in found.description or ()], iter(found)


def find(database: sqlite3.Connection, condition: str) -> Answer:
    """Nodes of a label whose number or text compares: "exposure > 20", "name = 'M8'"."""
    match = _CONDITION.fullmatch(condition)
    if match is None:
        raise ValueError(f"'{condition}' is not a label, one of < <= = != >= >, and a value")
    label = match[1] or match[2] or match[3]
    operator, value = match[4], match[5]
    try:
        number = float(value)
    except ValueError:
        if operator not in ("=", "!="):
            raise ValueError(f"'{value}' is not a number; texts are compared by = and !=") from None
        text = value.strip("'\"")
        return _answer(database, f"{_NODES} WHERE n.label = ? AND n.value {operator} ?", (label, f"'{text}'"))
    return _answer(database, f"{_NODES} WHERE n.label = ? AND n.number {operator} ? ORDER BY n.number", (label, number))


def text(database: sqlite3.Connection, words: list[str]) -> Answer:
    """Nodes that have all words in their label or value; a word that ends in * is a beginning."""
    quoted = []
    for word in words:
        begin = word.rstrip("*").replace('"', '""')
        quoted.append(f'"{begin}"' + ("*" if word.endswith("*") else ""))
    question = (
        "SELECT f.id, f.path, n.place, n.value FROM words w JOIN nodes n ON n.id = w.rowid JOIN files f ON f.id = n.file"
        " WHERE words MATCH ? ORDER BY rank"
    )
    return _answer(database, question, (" ".join(quoted),))


def duplicates(database: sqlite3.Connection) -> Answer:
    """Files of the same pixels, whatever their names and formats, and other files of the same bytes."""
    same = (
        "SELECT {0} AS same, id, path, format, size FROM files WHERE {1} AND {0} IN"
        " (SELECT {0} FROM files WHERE {1} GROUP BY {0} HAVING count(*) > 1)"
    )
    pixels = same.format("pixels", "pixels IS NOT NULL")
    content = same.format("content", "pixels IS NULL AND content IS NOT NULL")
    return _answer(database, f"{pixels} UNION ALL {content} ORDER BY same, path")


def damaged(database: sqlite3.Connection) -> Answer:
    return _answer(database, "SELECT id, path, error FROM files WHERE error IS NOT NULL ORDER BY path")


def sql(database: sqlite3.Connection, question: str) -> Answer:
    return _answer(database, question)


def show(database: sqlite3.Connection, which: str) -> Iterator[str]:
    """The tree of a file as qv_inspect prints it."""
    column = "id" if which.isdigit() else "path"
    file = database.execute(f"SELECT id, path, nodes, error FROM files WHERE {column} = ?", (which,)).fetchone()
    if file is None:
        raise ValueError(f"there is no file '{which}' in the catalogue")
    number, path, nodes, error = file
    if error:
        raise ValueError(f"{path}: {error}")
    rows = database.execute(
        "SELECT level, label, type, value FROM nodes WHERE file = ? ORDER BY id", (number,)
    ).fetchall()
    levels = [level for level, *_ in rows]
    last = _last_of_siblings(levels)
    open_levels: list[bool] = []  # whether more siblings follow, per level
    for (_, label, form, value), level, is_last in zip(rows, levels, last):
        del open_levels[max(level - 1, 0) :]
        bars = "".join("│   " if more else "    " for more in open_levels)
        branch = "" if level == 0 else "└── " if is_last else "├── "
        if level > 0:
            open_levels.append(not is_last)
        name = path.rsplit("/", 1)[-1] if level == 0 else label
        yield bars + branch + printable(f"{name}  {form}" + (f"  {value}" if value else ""))
    yield ""
    yield f"{nodes} node" + ("" if nodes == 1 else "s")


def _last_of_siblings(levels: list[int]) -> list[bool]:
    last = [True] * len(levels)
    next_at: dict[int, int] = {}
    for index in range(len(levels) - 1, -1, -1):
        level = levels[index]
        last[index] = level not in next_at
        next_at[level] = index
        for deeper in [other for other in next_at if other > level]:
            del next_at[deeper]
    return last
