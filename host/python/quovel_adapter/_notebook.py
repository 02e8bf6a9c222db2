"""The HTML of a node in a notebook: its texts, its picture and its tree."""

from __future__ import annotations

import base64
import struct
import zlib
from collections.abc import Iterable
from html import escape
from typing import TYPE_CHECKING, Any, Callable

from . import _data
from ._errors import QuovelError

if TYPE_CHECKING:
    from ._tree import Node

MAX_CHILDREN = 50
MAX_LEVELS = 3
MAX_PIXELS = 512  # of a picture's width and height
MAX_NUMBERS = 60_000  # of a drawing


def png(image: _data.Pixels) -> bytes:
    def chunk(name: bytes, body: bytes) -> bytes:
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    row = image.width * image.channels
    rows = b"".join(b"\0" + image.data[start : start + row] for start in range(0, len(image.data), row))
    color = {1: 0, 3: 2, 4: 6}[image.channels]
    header = struct.pack(">IIBBBBB", image.width, image.height, 8, color, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def _blocks(size: int, step: int) -> list[tuple[int, int]]:
    return [(begin, min(begin + step, size)) for begin in range(0, size, step)]


def _averaged_array(array: Any, step: int) -> Any:
    """Each pixel is the mean of a block of `step` by `step` pixels; blocks at the right and lower edge may be smaller."""
    numpy = _data.numpy
    height, width = array.shape[:2]
    sums = numpy.add.reduceat(array, range(0, height, step), axis=0, dtype="float64")
    sums = numpy.add.reduceat(sums, range(0, width, step), axis=1)
    rows = numpy.array([end - begin for begin, end in _blocks(height, step)])
    columns = numpy.array([end - begin for begin, end in _blocks(width, step)])
    counts = rows[:, None] * columns[None, :]
    return sums / (counts if array.ndim == 2 else counts[:, :, None])


def _averaged_bytes(image: _data.Pixels, step: int) -> _data.Pixels:
    """The same without NumPy."""
    width, height, channels, data = image
    columns = _blocks(width, step)
    reduced = bytearray()
    for top, bottom in _blocks(height, step):
        row_bytes = width * channels
        rows = [data[row * row_bytes : (row + 1) * row_bytes] for row in range(top, bottom)]
        for left, right in columns:
            count = (bottom - top) * (right - left)
            for channel in range(channels):
                block = slice(left * channels + channel, right * channels, channels)
                reduced.append((sum(sum(row[block]) for row in rows) + count // 2) // count)
    return _data.Pixels(len(columns), len(_blocks(height, step)), channels, reduced)


def reduced(image: _data.Pixels, size: int = MAX_PIXELS) -> _data.Pixels:
    """At most `size` wide and high."""
    step = -(-max(image.width, image.height) // size) or 1
    if step == 1:
        return image
    if _data.numpy is None:
        return _averaged_bytes(image, step)
    array = _averaged_array(_data.as_array(image), step).round().astype("uint8")
    return _data.Pixels(array.shape[1], array.shape[0], image.channels, bytearray(array.tobytes()))


def _picture(image: _data.Pixels, caption: str = "") -> str:
    encoded = base64.b64encode(png(reduced(image))).decode()
    return (
        f'<figure style="margin: 0"><img alt="" style="max-width: 100%" src="data:image/png;base64,{encoded}">'
        f"<figcaption>{escape(caption)}</figcaption></figure>"
    )


def _window(plane: Any) -> tuple[_data.Pixels, str]:
    """One channel of any type as gray: its finite values from the least to the greatest."""
    numpy = _data.numpy
    finite = plane[numpy.isfinite(plane)]
    low, high = (float(finite.min()), float(finite.max())) if finite.size else (0.0, 0.0)
    span = high - low or 1.0
    values = numpy.nan_to_num((plane.astype("float64") - low) / span, posinf=1.0, neginf=0.0).clip(0, 1)
    gray = numpy.rint(255 * values).astype("uint8")
    return _data.Pixels(plane.shape[1], plane.shape[0], 1, bytearray(gray.tobytes())), f"{low!r} to {high!r}"


def _image(node: Node) -> str:
    channels = node.channel_count()
    if _data.numpy is None or channels in (1, 3, 4) and ", byte" in node.summary:
        return _picture(node._pixels(0))
    stored = node.image(raw=True)
    planes = [stored] if stored.ndim == 2 else [stored[:, :, channel] for channel in range(channels)]
    shown = ""
    for number, plane in enumerate(planes[:4]):
        picture, window = _window(plane)
        name = f"channel {number + 1}, " if channels > 1 else ""
        shown += _picture(picture, f"{name}shown from {window}")
    return shown


def _svg(shapes: str, rows: list[Any], columns: list[Any]) -> str:
    if not rows or len(rows) > MAX_NUMBERS:
        return ""
    left, top = min(columns) - 1, min(rows) - 1
    box = f"{left:g} {top:g} {max(columns) - left + 2:g} {max(rows) - top + 2:g}"
    return f'<svg viewBox="{box}" style="width: 20em; max-width: 100%">{shapes}</svg>'


def _lines(lines: Iterable[Any]) -> str:
    points = [[(float(row), float(column)) for row, column in line] for line in lines]
    shape = '<polyline fill="none" stroke="#d22" vector-effect="non-scaling-stroke" points="{}"/>'
    shapes = "".join(shape.format(" ".join(f"{column:g},{row:g}" for row, column in line)) for line in points)
    every = [point for line in points for point in line]
    return _svg(shapes, [row for row, _ in every], [column for _, column in every])


def _region(node: Node) -> str:
    runs = [(int(row), int(begin), int(end)) for row, begin, end in node.runs()]
    path = "".join(f"M{begin} {row}h{end - begin + 1}v1h{begin - end - 1}z" for row, begin, end in runs)
    columns = [begin for _, begin, _ in runs] + [end for _, _, end in runs]
    return _svg(f'<path fill="#d22" d="{path}"/>', [row for row, _, _ in runs], columns)


_DRAWINGS: dict[str, Callable[[Node], str]] = {
    "image": _image,
    "region": _region,
    "xld_cont": lambda node: _lines([node.points()]),
    "xld_poly": lambda node: _lines([node.points()]),
    "xld_parallel": lambda node: _lines(list(node.parallels())),
}


def _drawing(node: Node) -> str:
    draw = _DRAWINGS.get(node.object_class(0)) if node.object_count else None
    try:
        return draw(node) if draw else ""
    except QuovelError as reason:
        return f"<p><i>{escape(str(reason))}</i></p>"


def _line(node: Node) -> str:
    return f"<b>{escape(node.label or node.place)}</b> <code>{escape(node.type)}</code> {escape(node.summary)}"


def _children(node: Node, level: int) -> str:
    """A list whose entries with children open and close; the first level is open."""
    if len(node) == 0 or level == MAX_LEVELS:
        return ""
    items = []
    for child in node.children[:MAX_CHILDREN]:
        below = _children(child, level + 1)
        entry = f"<details><summary>{_line(child)}</summary>{below}</details>" if below else _line(child)
        items.append(f"<li>{entry}</li>")
    if len(node) > MAX_CHILDREN:
        items.append(f"<li>and {len(node) - MAX_CHILDREN} more</li>")
    return f'<ul style="list-style: none">{"".join(items)}</ul>'


def html(node: Node) -> str:
    try:
        return f"<p>{_line(node)}</p>{_drawing(node)}{_children(node, 0)}"
    except QuovelError as reason:
        return f"<p><i>{escape(str(reason))}</i></p>"
