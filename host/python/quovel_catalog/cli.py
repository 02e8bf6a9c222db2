"""The command line of the catalogue."""

from __future__ import annotations

import argparse
import collections
import math
import os
import sqlite3
import sys
import time
from collections.abc import Iterator
from typing import Any

from . import files, pool, queries, store
from .queries import printable


def _count(text: str) -> int:
    if not text.isdigit() or int(text) == 0:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number from 1 on")
    return int(text)


def _seconds(text: str) -> float:
    try:
        seconds = float(text)
    except ValueError:
        seconds = 0
    if not 0 < seconds < math.inf:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number of seconds above 0")
    return seconds


def _size(text: str) -> int:
    factor = {"K": 1 << 10, "M": 1 << 20, "G": 1 << 30}.get(text[-1:].upper(), 1)
    digits = text[:-1] if factor > 1 else text
    if not digits.isdigit():
        raise argparse.ArgumentTypeError(f"'{text}' is not a number of bytes, as 2G")
    return int(digits) * factor


class _Progress:
    """On a terminal a line that is written again; elsewhere a line per ten seconds."""

    def __init__(self, total: int) -> None:
        self._terminal = sys.stderr.isatty()
        self._begun = self._told = time.monotonic()
        self._total = total
        self.done = self.failed = self.nodes = 0

    def file(self, row: files.FileRow) -> None:
        self.done += 1
        self.failed += row.error is not None
        self.nodes += row.nodes
        now = time.monotonic()
        if now - self._told < (0.2 if self._terminal else 10):
            return
        self._told = now
        rate = self.done / (now - self._begun)
        left = (self._total - self.done) / rate
        text = f"{self.done} of {self._total} files, {rate:.0f} per second, {left:.0f} s left, {self.failed} failed"
        sys.stderr.write(f"\r{text}\033[K" if self._terminal else text + "\n")
        sys.stderr.flush()

    def end(self) -> float:
        if self._terminal:
            sys.stderr.write("\r\033[K")
        return time.monotonic() - self._begun


def _batches(waiting: list[files.File], size: int) -> Iterator[list[files.File]]:
    for at in range(0, len(waiting), size):
        yield waiting[at : at + size]


def _summary(rows: "collections.Counter[str]", errors: "collections.Counter[str]") -> None:
    for family, count in rows.most_common():
        print(f"  {count:8}  {family}")
    if errors:
        print("Most frequent errors:")
    for error, count in errors.most_common(5):
        print(f"  {count:8}  {printable(error)}")


def _general(error: str, path: str) -> str:
    """The text without what differs from file to file."""
    return error.replace(path, "FILE").replace(os.path.basename(path), "FILE")


def _is_below(path: str, folder: str) -> bool:
    return path == folder or path.startswith(os.path.join(folder, ""))


def build(arguments: argparse.Namespace) -> int:
    with store.locked(arguments.output):
        return _build(arguments)


def _build(arguments: argparse.Namespace) -> int:
    target: Any = store.FORMATS[arguments.format](arguments.output, arguments.force)
    target.begin()
    unreadable: dict[str, str] = {}
    waiting = []
    skipped = 0
    number = target.next_id
    for path, size, mtime_ns in files.below(arguments.folders, unreadable):
        try:
            path.encode()
        except UnicodeEncodeError:
            unreadable[path] = "the name is not Unicode"
            continue
        if target.known(path, size, mtime_ns, arguments.retry):
            skipped += 1
        else:
            waiting.append(files.File(number, path, size, mtime_ns))
            number += 1
    progress = _Progress(len(waiting))
    families: collections.Counter[str] = collections.Counter()
    errors: collections.Counter[str] = collections.Counter()
    limits = pool.Limits(arguments.timeout, arguments.memory)
    if arguments.scheduler:
        from . import cluster

        parts = cluster.run(_batches(waiting, cluster.BATCH), arguments.scheduler, limits)
    else:
        parts = pool.run(_batches(waiting, pool.BATCH), arguments.jobs, limits)
    try:
        for part in parts:
            target.add(part)
            if part.file:
                progress.file(part.file)
                families[part.file.family] += 1
                if part.file.error:
                    errors[_general(part.file.error, part.file.path)] += 1
    except KeyboardInterrupt:
        target.abandon()
        progress.end()
        print(f"Stopped after {progress.done} of {len(waiting)} files; the same command goes on", file=sys.stderr)
        return 130
    folders = [os.path.abspath(folder) for folder in arguments.folders]

    def gone(path: str) -> bool:  # below a folder that cannot be read, files may still be there
        return any(_is_below(path, folder) for folder in folders) and not any(_is_below(path, lost) for lost in unreadable)

    removed = target.remove_unseen(gone)
    target.finish()
    seconds = progress.end()
    told = f"{progress.done} files opened, {progress.failed} failed, {progress.nodes} nodes, {seconds:.1f} s"
    print(told + (f"; {skipped} unchanged" if skipped else "") + (f"; {removed} no longer there" if removed else ""))
    _summary(families, errors)
    for path, reason in unreadable.items():
        print(f"qv_catalog: {printable(path)}: {reason}", file=sys.stderr)
    return 1 if unreadable else 0


def _print(answer: queries.Answer) -> int:
    heading, rows = answer
    count = 0
    for row in rows:
        if count == 0:
            print("\t".join(map(printable, heading)))
        print("\t".join("" if value is None else printable(value) for value in row))
        count += 1
    if count == 0:
        print("qv_catalog: nothing was found", file=sys.stderr)
    return 0 if count else 1


def ask(arguments: argparse.Namespace) -> int:
    if not os.path.isfile(arguments.database):
        raise ValueError(f"there is no catalogue '{arguments.database}'")
    database = queries.open_read_only(arguments.database)
    command = arguments.command
    if command == "find":
        return _print(queries.find(database, arguments.condition))
    if command == "text":
        return _print(queries.text(database, arguments.words))
    if command == "sql":
        return _print(queries.sql(database, arguments.question))
    if command == "show":
        for line in queries.show(database, arguments.which):
            print(line)
        return 0
    if command == "page":
        from . import page

        page.write(database, arguments.database, arguments.output, arguments.thumbnails, arguments.force)
        print(f"Wrote {printable(arguments.output)}: open it in a browser")
        return 0
    return _print(queries.duplicates(database) if command == "duplicates" else queries.damaged(database))


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="qv_catalog", description="A catalogue of archives of HALCON data files.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    making = commands.add_parser("build", help="open all files below folders; files that have not changed are skipped")
    making.add_argument("folders", nargs="+", metavar="FOLDER")
    making.add_argument("-o", "--output", required=True, metavar="OUT")
    making.add_argument("--format", choices=sorted(store.FORMATS), default="sqlite", help="sqlite can be asked and resumed")
    making.add_argument("--jobs", type=_count, default=os.cpu_count() or 1, metavar="N", help="worker processes")
    making.add_argument("--timeout", type=_seconds, default=60, metavar="SECONDS", help="for one file (60)")
    making.add_argument("--memory", type=_size, default=2 << 30, metavar="BYTES", help="of a worker (2G); 0: no limit")
    making.add_argument("--retry", action="store_true", help="open unchanged files again that failed")
    making.add_argument("--force", action="store_true", help="replace any file (jsonl, csv)")
    making.add_argument("--scheduler", metavar="ADDRESS", help="open the files on a Dask cluster, which sees the same paths")
    making.set_defaults(run=build)
    for name, text, value, several in (
        ("find", "nodes of a label that compare, as 'exposure > 20'", "condition", False),
        ("text", "nodes with all of the words", "words", True),
        ("duplicates", "files of the same pixels, or the same bytes", "", False),
        ("damaged", "files that could not be opened, with the reason", "", False),
        ("show", "the tree of a file, by its id or path", "which", False),
        ("sql", "any question in SQL; nothing can be changed", "question", False),
        ("page", "one page for a browser", "output", False),
    ):
        asking = commands.add_parser(name, help=text)
        asking.add_argument("database", metavar="CATALOGUE")
        if several:
            asking.add_argument(value, metavar=value.upper(), nargs="+")
        elif value:
            asking.add_argument(value, metavar=value.upper())
        if name == "page":
            asking.add_argument("--thumbnails", type=int, default=200, metavar="N", help="of the first N images (200)")
            asking.add_argument("--force", action="store_true", help="replace any file")
        asking.set_defaults(run=ask)
    return parser


def main(given: list[str] | None = None) -> int:
    given = sys.argv[1:] if given is None else given
    if given == ["rows"]:
        from . import cluster

        cluster.serve()
        return 0
    arguments = _parser().parse_args(given)
    try:
        return int(arguments.run(arguments))
    except (ValueError, OSError, sqlite3.Error) as error:
        print(f"qv_catalog: {printable(error)}", file=sys.stderr)
        return 1
