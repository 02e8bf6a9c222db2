"""Pixels and geometry in Python's memory: as NumPy arrays if NumPy is installed, otherwise as plain types."""

from __future__ import annotations

import array
import os
import tempfile
from ctypes import byref, c_uint32
from typing import Any, Callable, NamedTuple

from . import _tiff
from ._errors import QuovelError
from ._library import Buffers, from_units, library, to_units

numpy: Any
try:
    import numpy
except ImportError:
    numpy = None

# Throws the failure of a call that did not return 1.
Check = Callable[[int], None]

GRAY, BGR, BGRA = range(3)


class Pixels(NamedTuple):
    """An image without NumPy: rows without gaps, 1, 3 (RGB) or 4 (RGBA) bytes per pixel."""

    width: int
    height: int
    channels: int
    data: bytearray


def require_numpy(what: str) -> Any:
    if numpy is None:
        raise ImportError(f"{what} needs NumPy, which is not installed")
    return numpy


def _table(columns: list[bytearray], typecode: str) -> Any:
    """Columns of equal length as one table."""
    if numpy is not None:
        return numpy.column_stack([numpy.frombuffer(column, dtype=typecode) for column in columns])
    return list(zip(*(array.array(typecode, bytes(column)) for column in columns)))


def _without_gaps(data: bytearray, row: int, stride: int) -> bytearray:
    if row == stride:
        return data
    return bytearray().join(data[start : start + row] for start in range(0, len(data), stride))


def pixels(check: Check, reader: int, node: int, index: int) -> Pixels:
    """The pixels as bytes, in RGB order."""
    width, height, stride, pixel_format = (c_uint32() for _ in range(4))
    outputs = [byref(number) for number in (width, height, stride, pixel_format)]
    with Buffers(1) as buffers:
        check(library.qv_extract_image(reader, node, index, *outputs, buffers.out(0)))
        data = buffers.bytes(0, stride.value * height.value)
    channels = (1, 3, 4)[pixel_format.value]
    data = _without_gaps(data, width.value * channels, stride.value)
    if channels > 1:
        data[0::channels], data[2::channels] = data[2::channels], data[0::channels]
    return Pixels(width.value, height.value, channels, data)


def as_array(image: Pixels) -> Any:
    """(height, width) or (height, width, channels)."""
    shape = (image.height, image.width) + ((image.channels,) if image.channels > 1 else ())
    return numpy.frombuffer(image.data, dtype=numpy.uint8).reshape(shape)


def image(check: Check, reader: int, node: int, index: int) -> Any:
    found = pixels(check, reader, node, index)
    return found if numpy is None else as_array(found)


def raw_image(check: Check, reader: int, node: int, index: int, objects: int) -> Any:
    """The stored values of all channels. No call returns them, so they go through a TIFF file, which holds every type.

    A node of several images is first written as an object file, whose images can be saved one by one.
    """
    modules = require_numpy("an image of stored values")
    with tempfile.TemporaryDirectory(prefix="quovel-") as folder:
        tiff = os.path.join(folder, "image.tif")
        if objects == 1:
            check(library.qv_save_object_as(reader, node, to_units(tiff)))
        else:
            objects_file = os.path.join(folder, "all.hobj")
            check(library.qv_save_object_as(reader, node, to_units(objects_file)))
            _save_one(objects_file, index, tiff)
        with open(tiff, "rb") as file:
            return _tiff.read(file.read(), modules)


def _save_one(objects_file: str, index: int, target: str) -> None:
    reader = library.qv_reader_create()
    if not reader:
        raise MemoryError("no Reader could be created")
    try:
        root = library.qv_reader_parse_object_file(reader, to_units(objects_file))
        child = library.qv_node_child_at(root, index) if root else None
        if not child or library.qv_save_object_as(reader, child, to_units(target)) != 1:
            raise QuovelError(from_units(library.qv_reader_last_error(reader)) or "the image could not be written")
    finally:
        library.qv_reader_destroy(reader)


def domain(check: Check, reader: int, node: int, index: int, channels: int, description: str | None) -> Any:
    """Where the image is defined: (height, width) of bool. `description` is that of the image, if it is known."""
    modules = require_numpy("the domain of an image")
    if channels in (1, 3):
        found = as_array(pixels(check, reader, node, index))
        whole = found.ndim == 2 or found.shape[2] < 4
        return modules.ones(found.shape[:2], dtype=bool) if whole else found[:, :, 3] > 0
    # With other numbers of channels no call returns the mask; the description tells whether there is one.
    if description is None or "domain:" in description:
        raise QuovelError(f"the library returns the domain of images of 1 or 3 channels, not of {channels}")
    width, _, rest = description.partition("x")
    return modules.ones((int(rest.partition(",")[0]), int(width)), dtype=bool)


def points(check: Check, reader: int, node: int, index: int, polygon: bool) -> Any:
    extract = library.qv_extract_polygon_points if polygon else library.qv_extract_contour_points
    count = c_uint32()
    with Buffers(2) as buffers:
        check(extract(reader, node, index, buffers.out(0), buffers.out(1), byref(count)))
        return _table([buffers.bytes(i, 8 * count.value) for i in (0, 1)], "d")


def parallels(check: Check, reader: int, node: int, index: int) -> Any:
    counts = [c_uint32(), c_uint32()]
    with Buffers(4) as buffers:
        lines = [[buffers.out(2 * i), buffers.out(2 * i + 1), byref(counts[i])] for i in (0, 1)]
        check(library.qv_extract_parallel_lines(reader, node, index, *lines[0], *lines[1]))
        return tuple(
            _table([buffers.bytes(2 * i + column, 8 * counts[i].value) for column in (0, 1)], "d") for i in (0, 1)
        )


def runs(check: Check, reader: int, node: int, index: int) -> Any:
    count = c_uint32()
    with Buffers(3) as buffers:
        check(library.qv_extract_region_runs(reader, node, index, *map(buffers.out, range(3)), byref(count)))
        return _table([buffers.bytes(i, 4 * count.value) for i in range(3)], "i")
