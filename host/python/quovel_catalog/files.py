"""Which files a catalogue has, and the rows that it has of them."""

from __future__ import annotations

import os
from collections.abc import Iterable, Iterator
from typing import NamedTuple, Optional

_FAMILIES = {
    "dictionary": "json hdict",
    "model3d": "ply obj stl off om3",
    "dlmodel": "onnx hdl",
    "objects": "hobj",
    "sequence": "seq",
    "image": "png jpg jpeg tif tiff jp2 j2k bmp gif pcx ras xwd pnm pbm pgm ppm jxr wdp hdp",
}
FAMILY_OF = {extension: family for family, names in _FAMILIES.items() for extension in names.split()}
_SAME_FORMAT = {"jpeg": "jpg", "tiff": "tif", "j2k": "jp2", "wdp": "jxr", "hdp": "jxr", "pnm": "pnm"}


class File(NamedTuple):
    """A file as the system shows it; `id` is its row."""

    id: int
    path: str
    size: int
    mtime_ns: int


def extension_of(path: str) -> str:
    return os.path.splitext(path)[1][1:].lower()


_MAX_INT = (1 << 63) - 1  # of a database


def size_and_time(status: os.stat_result) -> tuple[int, int]:
    """The time is limited to what a database holds: years until 2262."""
    return status.st_size, max(-_MAX_INT, min(status.st_mtime_ns, _MAX_INT))


def family_of(path: str) -> str:
    return FAMILY_OF[extension_of(path)]


def format_of(path: str) -> str:
    extension = extension_of(path)
    return _SAME_FORMAT.get(extension, extension)


def _named(path: str) -> tuple[str, int, int]:
    """A file that was named itself. Throws OSError."""
    if extension_of(path) not in FAMILY_OF or not os.path.isfile(path):
        raise OSError(0, "it is not a file of a known extension")
    return (path, *size_and_time(os.stat(path)))


def below(folders: Iterable[str], unreadable: dict[str, str]) -> Iterator[tuple[str, int, int]]:
    """Path, size and time of every file of a known extension, without those that begin with a dot. Links to folders are not
    followed. What cannot be read is added to `unreadable`: its path, and the reason."""
    waiting = [os.path.abspath(folder) for folder in reversed(list(folders))]
    while waiting:
        folder = waiting.pop()
        try:
            with os.scandir(folder) as entries:
                found = sorted(entries, key=lambda entry: entry.name)
        except NotADirectoryError:
            try:
                yield _named(folder)
            except OSError as error:
                unreadable[folder] = error.strerror
            continue
        except OSError as error:
            unreadable[folder] = error.strerror
            continue
        for entry in found:
            if entry.name.startswith("."):
                continue
            try:
                if entry.is_dir(follow_symlinks=False):
                    waiting.append(entry.path)
                elif extension_of(entry.name) in FAMILY_OF and entry.is_file():
                    yield (entry.path, *size_and_time(entry.stat()))
            except OSError as error:
                unreadable[entry.path] = error.strerror


# ---- Rows

# level, place, label, kind, type, shape, value, number
NodeRow = tuple[int, str, str, str, str, Optional[str], str, Optional[float]]
NODE_FIELDS = ("level", "place", "label", "kind", "type", "shape", "value", "number")


class FileRow(NamedTuple):
    """What is known of a file after it was opened; without an error it has at least a root."""

    id: int
    path: str
    size: int
    mtime_ns: int
    family: str
    format: str
    content: str | None = None  # digests, in hexadecimal digits
    pixels: str | None = None
    nodes: int = 0
    seconds: float = 0.0
    error: str | None = None


class Part(NamedTuple):
    """Rows of a file: its nodes, in several parts if they are many; the last part has the row of the file."""

    id: int
    nodes: list[NodeRow]
    file: FileRow | None


def failed(file: File, error: str, seconds: float = 0.0) -> Part:
    family, form = family_of(file.path), format_of(file.path)
    return Part(file.id, [], FileRow(*file, family, form, seconds=seconds, error=error))
