"""Opens files, in a worker, and makes their rows."""

from __future__ import annotations

import ctypes
import hashlib
import os
import pathlib
import re
import time
from collections.abc import Iterator
from typing import Any

from quovel_adapter import _library
from quovel_adapter._library import from_units, library, to_units

from . import files
from .files import FileRow, NodeRow, Part

KINDS = ("dict", "array", "value", "object")
BLOCK = 2048  # nodes


# ---- The tree


class _Block(ctypes.Structure):
    _fields_ = [
        ("count", ctypes.c_int64),
        ("units", ctypes.c_int64),
        ("_capacities", ctypes.c_int64 * 3),
        ("kinds", ctypes.POINTER(ctypes.c_uint32)),
        ("totals", ctypes.POINTER(ctypes.c_uint32)),
        ("levels", ctypes.POINTER(ctypes.c_uint32)),
        ("flags", ctypes.POINTER(ctypes.c_uint8)),
        ("numbers", ctypes.POINTER(ctypes.c_double)),
        ("nodes", ctypes.POINTER(ctypes.c_void_p)),
        ("texts", ctypes.c_void_p),
    ]


_HAS_NUMBER, _IS_IMAGE = 1, 2


def _load_walk() -> Any:
    """The helper beside the library, or None where there is none."""
    path = pathlib.Path(_library.library._name).with_name("libquovel_walk.so")
    if not path.is_file():
        return None
    walk = ctypes.CDLL(str(path))
    walk.qv_walk_begin.restype = ctypes.c_void_p
    walk.qv_walk_begin.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int64]
    walk.qv_walk_next.restype, walk.qv_walk_next.argtypes = ctypes.POINTER(_Block), [ctypes.c_void_p]
    walk.qv_walk_end.restype, walk.qv_walk_end.argtypes = None, [ctypes.c_void_p]
    return walk


_walk = _load_walk()
_IMAGE_SIZE = re.compile(r"(\d+)x(\d+), (\d+)ch")


def _shape(kind: int, total: int, text: str) -> str | None:
    if kind == 2:
        return str(total)
    if kind != 3:
        return None
    size = _IMAGE_SIZE.match(text)
    if size:
        width, height, channels = size.groups()
        return f"{height}x{width}" if channels == "1" else f"{height}x{width}x{channels}"
    return text if re.fullmatch(r"\d+x\d+", text) else str(total)


def _blocks(reader: int, root: int) -> Iterator[tuple[list[NodeRow], list[tuple[int, int]]]]:
    """Rows, and the images among them: address and number of objects."""
    cursor = _walk.qv_walk_begin(reader, root, BLOCK)
    if not cursor:
        raise MemoryError
    try:
        while True:
            found = _walk.qv_walk_next(cursor)
            if not found:
                raise MemoryError
            block = found.contents
            count = block.count
            if count == 0:
                return
            texts = ctypes.string_at(block.texts, 2 * block.units).decode("utf-16-le", "replace").split("\0")
            kinds, totals, flags = block.kinds[:count], block.totals[:count], block.flags[:count]
            rows: list[NodeRow] = [
                (level, place, label, KINDS[kind], form, _shape(kind, total, value), value, number if flag & 1 else None)
                for level, place, label, form, value, kind, total, flag, number in zip(
                    block.levels[:count], *(texts[i::4] for i in range(4)), kinds, totals, flags, block.numbers[:count]
                )
            ]
            yield rows, [(block.nodes[i], totals[i]) for i, flag in enumerate(flags) if flag & _IS_IMAGE]
    finally:
        _walk.qv_walk_end(cursor)


def _cut(text: str, units: int) -> str:
    """As the helper cuts it: at most so many units of UTF-16."""
    return text if 2 * len(text) <= units else text.encode("utf-16-le")[: 2 * units].decode("utf-16-le", "ignore")


def _blocks_without_helper(reader: int, root: int) -> Iterator[tuple[list[NodeRow], list[tuple[int, int]]]]:
    """The same by one call per field."""
    rows: list[NodeRow] = []
    images = []
    waiting = [(root, 0, "", True)]
    while waiting:
        node, level, place, whole_place = waiting.pop()
        kind = library.qv_node_kind(node)
        total = library.qv_node_object_count(node) if kind == 3 else library.qv_node_total_count(node)
        kept = library.qv_node_value_count(node)
        whole = kind == 2 and kept > 1 and not library.qv_node_truncated(node)
        text = library.qv_node_full_value_text(reader, node) if whole else library.qv_node_value_summary(node)
        value = _cut(from_units(text), 4096)
        number = None
        if kept == 1 and total == 1 and library.qv_node_value_type_at(node, 0) > 0:
            real = library.qv_node_value_type_at(node, 0) == 2
            number = float((library.qv_node_value_real_at if real else library.qv_node_value_int_at)(node, 0))
        label, form = _cut(from_units(library.qv_node_label(node)), 512), from_units(library.qv_node_type_label(node))
        rows.append((level, place or "/", label, KINDS[kind], form, _shape(kind, total, value), value, number))
        if kind == 3 and library.qv_node_is_image(node):
            images.append((node, total))
        for index in range(library.qv_node_child_count(node) - 1, -1, -1):
            child = library.qv_node_child_at(node, index)
            segment = from_units(library.qv_node_label(child)).replace("~", "~0").replace("/", "~1") or "~"
            if library.qv_node_path_segment_kind(child) == 1:
                segment = str(library.qv_node_path_index(child))
            longer = f"{place}/{segment}" if whole_place else place
            cut = _cut(longer, 512)
            waiting.append((child, level + 1, cut, whole_place and cut == longer))
        if len(rows) == BLOCK:
            yield rows, images
            rows, images = [], []
    yield rows, images


# ---- Digests


def _new_digest() -> Any:
    return hashlib.blake2b(digest_size=16)


def content_digest(path: str) -> str:
    digest = _new_digest()
    with open(path, "rb", buffering=0) as file:
        while block := file.read(1 << 20):
            digest.update(block)
    return str(digest.hexdigest())


def _add_pixels(digest: Any, reader: int, node: int, index: int) -> bool:
    """The pixels as they are drawn."""
    numbers = [ctypes.c_uint32() for _ in range(4)]
    buffer = ctypes.c_void_p()
    outputs = [ctypes.byref(number) for number in numbers]
    if library.qv_extract_image(reader, node, index, *outputs, ctypes.byref(buffer)) != 1:
        return False
    try:
        width, height, stride, form = (number.value for number in numbers)
        row = width * (1, 3, 4)[form]
        digest.update(b"%d %d %d " % (width, height, form))
        pixels = (ctypes.c_uint8 * (stride * height)).from_address(buffer.value or 0)
        if row == stride:
            digest.update(pixels)
        else:
            for at in range(0, stride * height, stride):
                digest.update(memoryview(pixels)[at : at + row])
        return True
    finally:
        library.qv_free_buffer(buffer)


def _add_stored(digest: Any, reader: int, node: int, scratch: str) -> bool:
    """The stored values, as a TIFF file: drawing would stretch other types than byte, and takes 1, 3 or 4 channels."""
    if library.qv_save_object_as(reader, node, to_units(scratch)) != 1:
        return False
    digest.update(content_digest(scratch).encode())
    return True


def _add_several(digest: Any, reader: int, node: int, count: int, scratch: str) -> bool:
    """Images of one node, of which some may be of other types than byte. An object file has a node for each."""
    objects = os.path.splitext(scratch)[0] + ".hobj"
    if library.qv_save_object_as(reader, node, to_units(objects)) != 1:
        return False
    second = library.qv_reader_create()
    if not second:
        raise MemoryError("no Reader could be created")
    try:
        root = library.qv_reader_parse_object_file(second, to_units(objects))
        if not root or library.qv_node_child_count(root) != count:
            return False
        children = [(library.qv_node_child_at(root, index), 1) for index in range(count)]
        return _pixel_digest(digest, second, children, scratch)
    finally:
        library.qv_reader_destroy(second)


def _pixel_digest(digest: Any, reader: int, images: list[tuple[int, int]], scratch: str) -> bool:
    """Whether the pixels of all images are in the digest."""
    for node, count in images:
        summary = from_units(library.qv_node_value_summary(node))
        if count > 1:
            added = _add_several(digest, reader, node, count, scratch)
        elif ", byte" in summary and re.search(r", [134]ch", summary):
            added = count == 0 or _add_pixels(digest, reader, node, 0)
        else:
            added = count == 0 or _add_stored(digest, reader, node, scratch)
        if not added:
            return False
    return True


# ---- Files

_PARSE: dict[str, Any] = {
    "dictionary": lambda reader, path: library.qv_reader_parse_file_with_options(reader, path, None, 0),
    "model3d": library.qv_reader_parse_object_model_3d_file,
    "dlmodel": library.qv_reader_parse_dl_model_file,
}


class Opener:
    """One Reader for one file after another. `scratch` is a folder for a temporary file, which stays there: making and
    removing a folder for each image took most of the time of a run."""

    def __init__(self, scratch: str) -> None:
        self._scratch = os.path.join(scratch, f"{os.getpid()}.tif")
        self._reader = library.qv_reader_create()
        if not self._reader:
            raise MemoryError("no Reader could be created")

    def rows(self, file: files.File) -> Iterator[Part]:
        begin = time.perf_counter()
        content = pixels = None
        count = 0
        error = None
        complete = True
        nodes: list[NodeRow] = []
        try:
            content = content_digest(file.path)
            digest = _new_digest()
            empty = digest.digest()
            for block, images in self._tree(file.path):
                if nodes:
                    yield Part(file.id, nodes, None)
                nodes = block
                count += len(block)
                complete = complete and _pixel_digest(digest, self._reader, images, self._scratch)
            pixels = digest.hexdigest() if complete and digest.digest() != empty else None
        except MemoryError:
            error = "memory is exhausted"
        except OSError as failure:
            error = f"{type(failure).__name__}: {failure.strerror}"
        except ValueError as failure:
            error = str(failure)
        family, form = files.family_of(file.path), files.format_of(file.path)
        if error:
            nodes, count = [], 0
        seconds = round(time.perf_counter() - begin, 6)
        yield Part(file.id, nodes, FileRow(*file, family, form, content, pixels, count, seconds, error))

    def _tree(self, path: str) -> Iterator[tuple[list[NodeRow], list[tuple[int, int]]]]:
        parse = _PARSE.get(files.family_of(path), library.qv_reader_parse_object_file)
        root = parse(self._reader, to_units(path))
        if not root:
            raise ValueError(from_units(library.qv_reader_last_error(self._reader)) or "memory is exhausted")
        return (_blocks if _walk else _blocks_without_helper)(self._reader, root)
