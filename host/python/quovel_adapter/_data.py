"""Pixels and geometry in Python's memory: as NumPy arrays if NumPy is installed, otherwise as plain types."""

from __future__ import annotations

import array
from ctypes import byref, c_uint32
from typing import Any, Callable, NamedTuple

from ._library import Buffers, library

try:
    import numpy
except ImportError:
    numpy = None


class Pixels(NamedTuple):
    """An image without NumPy: rows without gaps, 1, 3 (RGB) or 4 (RGBA) bytes per pixel."""

    width: int
    height: int
    channels: int
    data: bytearray


def _table(columns: list[bytearray], typecode: str) -> Any:
    """Columns of equal length as one table."""
    if numpy is not None:
        return numpy.column_stack([numpy.frombuffer(column, dtype=typecode) for column in columns])
    return list(zip(*(array.array(typecode, bytes(column)) for column in columns)))


def _without_gaps(data: bytearray, row: int, stride: int) -> bytearray:
    if row == stride:
        return data
    return bytearray().join(data[start : start + row] for start in range(0, len(data), stride))


def image(check: Callable, reader: int, node: int, index: int) -> Any:
    """(height, width) or (height, width, channels) of bytes, in RGB order."""
    width, height, stride, pixel_format = (c_uint32() for _ in range(4))
    outputs = [byref(number) for number in (width, height, stride, pixel_format)]
    with Buffers(1) as buffers:
        check(library.qv_extract_image(reader, node, index, *outputs, buffers.out(0)))
        data = buffers.bytes(0, stride.value * height.value)
    channels = (1, 3, 4)[pixel_format.value]
    data = _without_gaps(data, width.value * channels, stride.value)
    if channels > 1:
        data[0::channels], data[2::channels] = data[2::channels], data[0::channels]
    if numpy is None:
        return Pixels(width.value, height.value, channels, data)
    shape = (height.value, width.value) + ((channels,) if channels > 1 else ())
    return numpy.frombuffer(data, dtype=numpy.uint8).reshape(shape)


def points(check: Callable, reader: int, node: int, index: int, polygon: bool) -> Any:
    extract = library.qv_extract_polygon_points if polygon else library.qv_extract_contour_points
    count = c_uint32()
    with Buffers(2) as buffers:
        check(extract(reader, node, index, buffers.out(0), buffers.out(1), byref(count)))
        return _table([buffers.bytes(i, 8 * count.value) for i in (0, 1)], "d")


def parallels(check: Callable, reader: int, node: int, index: int) -> Any:
    counts = [c_uint32(), c_uint32()]
    with Buffers(4) as buffers:
        lines = [[buffers.out(2 * i), buffers.out(2 * i + 1), byref(counts[i])] for i in (0, 1)]
        check(library.qv_extract_parallel_lines(reader, node, index, *lines[0], *lines[1]))
        return tuple(
            _table([buffers.bytes(2 * i + column, 8 * counts[i].value) for column in (0, 1)], "d") for i in (0, 1)
        )


def runs(check: Callable, reader: int, node: int, index: int) -> Any:
    count = c_uint32()
    with Buffers(3) as buffers:
        check(library.qv_extract_region_runs(reader, node, index, *map(buffers.out, range(3)), byref(count)))
        return _table([buffers.bytes(i, 4 * count.value) for i in range(3)], "i")
