"""The exported functions, declared for ctypes, and the conversion of texts."""

from __future__ import annotations

import ctypes
import ctypes.util
import operator
import os
import pathlib
import sys
from collections.abc import Iterator
from ctypes import POINTER, byref, c_double, c_int32, c_int64, c_uint8, c_uint32, c_void_p
from typing import Any, Union


class ParseOption(ctypes.Structure):
    _fields_ = [
        ("key", c_int32),
        ("value_type", c_int32),
        ("string_value", c_void_p),
        ("int_value", c_int64),
        ("real_value", c_double),
    ]


_NAME = {"win32": "quovel_adapter_2411.dll", "darwin": "libquovel_adapter_2411.dylib"}.get(
    sys.platform, "libquovel_adapter_2411.so"
)


def _candidates() -> Iterator[pathlib.Path]:
    here = pathlib.Path(__file__).resolve()
    yield here.parent / _NAME
    above = list(here.parents)[1:5]  # fewer in a shallow folder
    names = [folder.name for folder in above]
    # An installation: PREFIX/lib/python3/dist-packages/quovel_adapter, on Windows with PREFIX/bin.
    if len(above) == 4 and names[0].endswith("-packages") and names[1].startswith("python3") and names[2] == "lib":
        yield above[2] / _NAME
        yield above[3] / "bin" / _NAME
    # The repository: host/python/quovel_adapter.
    if names[:2] == ["python", "host"]:
        yield above[2] / "build" / "release" / "lib" / _NAME
        yield above[2] / "build" / "windows" / "bin" / _NAME


def _load() -> ctypes.CDLL:
    named = os.environ.get("QUOVEL_ADAPTER_LIBRARY")
    path = named or next((str(file) for file in _candidates() if file.is_file()), None)
    path = path or ctypes.util.find_library("quovel_adapter_2411")
    if not path:
        raise ImportError(f"{_NAME} was not found; the environment variable QUOVEL_ADAPTER_LIBRARY can name it")
    return ctypes.CDLL(path)


Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

_doubles, _ints, _count = POINTER(c_void_p), POINTER(c_void_p), POINTER(c_uint32)
_SIGNATURES: dict[str, tuple[Any, list[Any]]] = {
    "qv_reader_create": (c_void_p, []),
    "qv_reader_destroy": (None, [c_void_p]),
    "qv_reader_last_error": (c_void_p, [c_void_p]),
    "qv_reader_parse_file_with_options": (c_void_p, [c_void_p, c_void_p, POINTER(ParseOption), c_int32]),
    "qv_reader_parse_object_file": (c_void_p, [c_void_p, c_void_p]),
    "qv_reader_parse_object_model_3d_file": (c_void_p, [c_void_p, c_void_p]),
    "qv_reader_parse_dl_model_file": (c_void_p, [c_void_p, c_void_p]),
    "qv_reader_convert_dict_file": (c_int32, [c_void_p, c_void_p, c_void_p, c_int32]),
    "qv_node_full_value_text": (c_void_p, [c_void_p, c_void_p]),
    "qv_node_image_channel_count": (c_int32, [c_void_p, c_void_p, c_int32]),
    "qv_extract_image": (c_int32, [c_void_p, c_void_p, c_int32, *[_count] * 4, POINTER(c_void_p)]),
    "qv_extract_contour_points": (c_int32, [c_void_p, c_void_p, c_int32, _doubles, _doubles, _count]),
    "qv_extract_polygon_points": (c_int32, [c_void_p, c_void_p, c_int32, _doubles, _doubles, _count]),
    "qv_extract_parallel_lines": (c_int32, [c_void_p, c_void_p, c_int32, *[_doubles, _doubles, _count] * 2]),
    "qv_extract_region_runs": (c_int32, [c_void_p, c_void_p, c_int32, _ints, _ints, _ints, _count]),
    "qv_free_buffer": (None, [c_void_p]),
    "qv_save_object_as": (c_int32, [c_void_p, c_void_p, c_void_p]),
    "qv_save_objects_as": (c_int32, [c_void_p, POINTER(c_void_p), c_int32, c_void_p]),
    "qv_adapter_halcon_version": (c_void_p, []),
}
_accessors: dict[Any, str] = {
    c_void_p: "label type_label value_summary object_class",
    c_uint32: "kind path_segment_kind path_index total_count object_count detail_entry_count",
    c_int32: "truncated is_image",
    c_int64: "value_count detail_line_count child_count",
}
for _result, _names in _accessors.items():
    _SIGNATURES.update({f"qv_node_{name}": (_result, [c_void_p]) for name in _names.split()})
_elements: dict[str, Any] = {
    "value_type": c_uint32,
    "value_string": c_void_p,
    "value_int": c_int64,
    "value_real": c_double,
    "detail_line": c_void_p,
    "child": c_void_p,
}
for _name, _result in _elements.items():
    _SIGNATURES[f"qv_node_{_name}_at"] = (_result, [c_void_p, c_int32])

library = _load()
for _name, (_result, _arguments) in _SIGNATURES.items():
    _function = getattr(library, _name)
    _function.restype, _function.argtypes = _result, _arguments


_PAGE = 4096


def from_units(address: int) -> str:
    """The NUL-terminated UTF-16 text at an address."""
    chunks = []
    while True:
        # Never reads beyond the current memory page: the next one may not be mapped.
        chunk = ctypes.string_at(address, _PAGE - address % _PAGE)
        end = chunk.find(b"\0\0")
        while end > 0 and end % 2 == 1:  # the second half of one unit and the first half of the next
            end = chunk.find(b"\0\0", end + 1)
        chunks.append(chunk if end < 0 else chunk[:end])
        if end >= 0:
            return b"".join(chunks).decode("utf-16-le", "replace")
        address += len(chunk)


def to_units(text: Path) -> ctypes.Array[ctypes.c_char]:
    """A text or path as UTF-16 with a NUL at its end; keep the array until the call returns."""
    decoded = os.fsdecode(text)
    if "\0" in decoded:
        raise ValueError(f"the text contains a NUL character: {decoded!r}")
    return ctypes.create_string_buffer(decoded.encode("utf-16-le", "surrogatepass") + b"\0")


def checked_index(index: int) -> int:
    """Checks an object's index, of which ctypes would silently use the lowest 32 bits."""
    index = operator.index(index)
    if not 0 <= index < 1 << 31:
        raise IndexError(f"there is no object at index {index}")
    return index


def halcon_version() -> str:
    """The version of HALCON that the library uses."""
    return from_units(library.qv_adapter_halcon_version())


class Buffers:
    """Buffers that the library returns: copied into Python's memory, and freed at the end of the `with`."""

    def __init__(self, count: int) -> None:
        self._pointers = [c_void_p() for _ in range(count)]

    def __enter__(self) -> Buffers:
        return self

    def __exit__(self, *_: object) -> None:
        for pointer in self._pointers:
            library.qv_free_buffer(pointer)

    def out(self, index: int) -> Any:
        return byref(self._pointers[index])

    def bytes(self, index: int, size: int) -> bytearray:
        if size == 0:
            return bytearray()
        address = self._pointers[index].value
        assert address is not None  # the call succeeded
        return bytearray((c_uint8 * size).from_address(address))
