"""The HTML of a node in a notebook: its texts, its picture and its children."""

from __future__ import annotations

import base64
import struct
import zlib
from html import escape
from typing import Any

from ._library import QuovelError

MAX_CHILDREN = 50
MAX_PIXELS = 512  # of a picture's width and height
MAX_NUMBERS = 60_000  # of a drawing


def _png(width: int, height: int, channels: int, data: bytes) -> bytes:
    def chunk(name: bytes, body: bytes) -> bytes:
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    row = width * channels
    rows = b"".join(b"\0" + data[start : start + row] for start in range(0, len(data), row))
    header = struct.pack(">IIBBBBB", width, height, 8, {1: 0, 3: 2, 4: 6}[channels], 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def _thinned(image: Any) -> tuple[int, int, int, bytes]:
    """Every n-th pixel of every n-th row."""
    if isinstance(image, tuple):
        width, height, channels, data = image
    else:
        height, width, channels = (*image.shape, 1)[:3]
        data = image.tobytes()
    step = -(-max(width, height) // MAX_PIXELS) or 1
    rows = [data[row * width * channels : (row + 1) * width * channels] for row in range(0, height, step)]
    if step > 1:
        kept = [bytes(len(range(0, width, step)) * channels) for _ in rows]
        for number, row in enumerate(rows):
            thin = bytearray(kept[number])
            for channel in range(channels):
                thin[channel::channels] = row[channel :: step * channels]
            kept[number] = bytes(thin)
        rows = kept
    return len(range(0, width, step)), len(rows), channels, b"".join(map(bytes, rows))


def _image(node: Any) -> str:
    encoded = base64.b64encode(_png(*_thinned(node.image()))).decode()
    return f'<img alt="" style="max-width: 100%" src="data:image/png;base64,{encoded}">'


def _svg(shapes: str, rows: list, columns: list) -> str:
    if not rows or len(rows) > MAX_NUMBERS:
        return ""
    left, top = min(columns) - 1, min(rows) - 1
    box = f"{left:g} {top:g} {max(columns) - left + 2:g} {max(rows) - top + 2:g}"
    return f'<svg viewBox="{box}" style="width: 20em; max-width: 100%">{shapes}</svg>'


def _lines(lines: list) -> str:
    points = [[(float(row), float(column)) for row, column in line] for line in lines]
    shape = '<polyline fill="none" stroke="#d22" vector-effect="non-scaling-stroke" points="{}"/>'
    shapes = "".join(shape.format(" ".join(f"{column:g},{row:g}" for row, column in line)) for line in points)
    every = [point for line in points for point in line]
    return _svg(shapes, [row for row, _ in every], [column for _, column in every])


def _region(node: Any) -> str:
    runs = [tuple(map(int, run)) for run in node.runs()]
    path = "".join(f"M{begin} {row}h{end - begin + 1}v1h{begin - end - 1}z" for row, begin, end in runs)
    columns = [begin for _, begin, _ in runs] + [end for _, _, end in runs]
    return _svg(f'<path fill="#d22" d="{path}"/>', [row for row, _, _ in runs], columns)


_DRAWINGS = {
    "image": _image,
    "region": _region,
    "xld_cont": lambda node: _lines([node.points()]),
    "xld_poly": lambda node: _lines([node.points()]),
    "xld_parallel": lambda node: _lines(list(node.parallels())),
}


def _drawing(node: Any) -> str:
    draw = _DRAWINGS.get(node.object_class(0)) if node.object_count else None
    try:
        return draw(node) if draw else ""
    except QuovelError as reason:
        return f"<p><i>{escape(str(reason))}</i></p>"


def html(node: Any) -> str:
    def row(child: Any) -> str:
        cells = (child.label, child.type, child.summary)
        return "<tr>" + "".join(f'<td style="text-align: left">{escape(cell)}</td>' for cell in cells) + "</tr>"

    try:
        head = f"<p><b>{escape(node.place)}</b> <code>{escape(node.type)}</code> {escape(node.summary)}</p>"
        rows = "".join(row(child) for child in node.children[:MAX_CHILDREN])
        more = len(node) - MAX_CHILDREN
        return head + _drawing(node) + (f"<table>{rows}</table>" if rows else "") + (
            f"<p>and {more} more</p>" if more > 0 else ""
        )
    except QuovelError as reason:
        return f"<p><i>{escape(str(reason))}</i></p>"
