"""Reads the pixels of a TIFF file (TIFF 6.0, and BigTIFF) as the library writes them: one page, strips, no compression.

An installed HALCON may compress the strips by Deflate, which is read too. Anything else is an error that names it.
"""

from __future__ import annotations

import struct
import zlib
from typing import Any

from ._errors import QuovelError

# Tags of the directory.
_WIDTH, _LENGTH, _BITS, _COMPRESSION, _OFFSETS, _SAMPLES, _COUNTS = 256, 257, 258, 259, 273, 277, 279
_PLANAR, _PREDICTOR, _FORMAT = 284, 317, 339
_SIZES = {1: 1, 3: 2, 4: 4, 16: 8}
_CODES = {1: "B", 3: "H", 4: "I", 16: "Q"}


def _tags(file: bytes) -> tuple[str, dict[int, tuple[int, ...]]]:
    order = {b"II": "<", b"MM": ">"}.get(file[:2])
    if order is None:
        raise QuovelError("the temporary file is no TIFF file")
    big = struct.unpack_from(order + "H", file, 2)[0] == 43
    (at,) = struct.unpack_from(order + ("Q" if big else "I"), file, 8 if big else 4)
    (count,) = struct.unpack_from(order + ("Q" if big else "H"), file, at)
    tags = {}
    for entry in range(count):
        place = at + (8 + 20 * entry if big else 2 + 12 * entry)
        tag, kind, number = struct.unpack_from(order + ("HHQ" if big else "HHI"), file, place)
        if kind not in _SIZES:
            continue
        place += 12 if big else 8
        if number * _SIZES[kind] > (8 if big else 4):
            (place,) = struct.unpack_from(order + ("Q" if big else "I"), file, place)
        tags[tag] = struct.unpack_from(f"{order}{number}{_CODES[kind]}", file, place)
    return order, tags


def read(file: bytes, numpy: Any) -> Any:
    """(height, width) or (height, width, channels) in the type of the samples."""
    order, tags = _tags(file)
    first = {tag: values[0] for tag, values in tags.items() if values}
    compression = first.get(_COMPRESSION, 1)
    if compression not in (1, 8, 32946) or first.get(_PREDICTOR, 1) != 1:
        raise QuovelError(f"the pixels of the temporary file are compressed by method {compression}")
    if _OFFSETS not in tags:
        raise QuovelError("the temporary file has no strips")
    kind = {1: "u", 2: "i", 3: "f"}.get(first.get(_FORMAT, 1))
    bits = first.get(_BITS, 1)
    if kind is None or bits not in (8, 16, 32, 64):
        raise QuovelError(f"samples of {bits} bits are not read")
    strips = [file[at : at + size] for at, size in zip(tags[_OFFSETS], tags[_COUNTS])]
    data = b"".join(strips if compression == 1 else map(zlib.decompress, strips))
    samples = numpy.frombuffer(data, dtype=f"{order}{kind}{bits // 8}")
    height, width, channels = first[_LENGTH], first[_WIDTH], first.get(_SAMPLES, 1)
    if channels == 1:
        image = samples.reshape(height, width)
    elif first.get(_PLANAR, 1) == 2:
        image = numpy.moveaxis(samples.reshape(channels, height, width), 0, 2)
    else:
        image = samples.reshape(height, width, channels)
    return numpy.array(image, dtype=image.dtype.newbyteorder("="), order="C")
