"""Readers and the nodes of their trees."""

from __future__ import annotations

import ctypes
import enum
import operator
import os
from collections.abc import Iterable, Iterator, Sequence
from typing import Any, Callable, NoReturn, overload

from . import _convert, _data, _notebook
from ._convert import Value
from ._errors import QuovelError, failed_to_read, failed_to_write
from ._library import ParseOption, Path, checked_index, from_units, library, to_units

_KINDS: dict[str, Any] = {
    "dict": library.qv_reader_parse_file_with_options,
    "object": library.qv_reader_parse_object_file,
    "model3d": library.qv_reader_parse_object_model_3d_file,
    "dlmodel": library.qv_reader_parse_dl_model_file,
}
_KIND_OF_EXTENSION = {
    **dict.fromkeys([".json", ".hdict"], "dict"),
    **dict.fromkeys([".ply", ".obj", ".stl", ".off", ".om3"], "model3d"),
    **dict.fromkeys([".onnx", ".hdl"], "dlmodel"),
}
_OPTION_KEYS = {"json_true": 0, "json_false": 1, "json_null": 2, "json_arrays": 3}


class Kind(enum.IntEnum):
    """The kind of a node."""

    DICT = 0
    ARRAY = 1
    VALUE = 2
    OBJECT = 3


def open(path: Path, kind: str | None = None, **options: Value) -> Reader:
    """Opens the file with a new Reader; see Reader.open."""
    reader = Reader()
    try:
        reader.open(path, kind, **options)
    except BaseException:
        reader.close()
        raise
    return reader


class _Uncopied:
    """Refers to the library's memory, so it cannot be copied or sent to another process."""

    def __reduce_ex__(self, protocol: Any) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} cannot be copied or pickled")


class Reader(_Uncopied):
    """Opens files, one at a time. Only one thread at a time may use it. `with` closes it."""

    def __init__(self) -> None:
        self._pointer: int | None = library.qv_reader_create()
        if not self._pointer:
            raise MemoryError("no Reader could be created")
        self._generation = 0
        self._document: _convert.Document | None = None
        self._options: dict[str, Value] = {}
        self._root: Node | None = None

    def open(self, path: Path, kind: str | None = None, **options: Value) -> Node:
        """Opens a file and returns the root of its tree; the nodes of the previous file become invalid.

        `kind` is "object", "dict", "model3d" or "dlmodel"; without it the extension decides. For JSON,
        json_true, json_false and json_null are the values to use for these, and json_arrays is "tuple" or "dict".
        """
        file = to_units(path)
        extension = os.path.splitext(os.fsdecode(path))[1].lower()
        name = _KIND_OF_EXTENSION.get(extension, "object") if kind is None else kind
        if name not in _KINDS:
            raise ValueError(f"kind is one of {', '.join(_KINDS)}, not {name!r}")
        if options and name != "dict":
            raise ValueError(f"a file of kind {name!r} takes no options")
        records, _texts = _options(options)
        more = (records, len(records)) if name == "dict" else ()
        reader = self._alive()
        self._generation += 1
        self._root = self._document = None
        document = _convert.Document(os.path.abspath(os.fsdecode(path)))
        root = _KINDS[name](reader, file, *more)
        if not root:
            text = self._last_error() or f"{os.fspath(path)!r} could not be opened"
            raise failed_to_read(text, os.fsdecode(path))
        self._options = dict(options)
        self._document = document if name == "dict" else None
        self._root = Node(self, root, None)
        return self._root

    @property
    def root(self) -> Node:
        """The root of the open file's tree."""
        self._alive()
        if self._root is None:
            raise QuovelError("no file is open")
        return self._root

    def save(self, nodes: Node | Iterable[Node], path: Path) -> None:
        """Writes one object node in the format of the extension, or the objects of several to one object file."""
        if isinstance(nodes, Node):
            done = library.qv_save_object_as(self._alive(), nodes._pointer, to_units(path))
            return self._check_written(done, path)
        addresses = [node._pointer for node in nodes]
        if not addresses:
            raise ValueError("there are no nodes to save")
        pointers = (ctypes.c_void_p * len(addresses))(*addresses)
        done = library.qv_save_objects_as(self._alive(), pointers, len(addresses), to_units(path))
        self._check_written(done, path)

    def convert(self, source: Path, target: Path, lenient: bool = False) -> None:
        """Converts a dictionary file to the format of the target's extension. The file that is open stays open."""
        done = library.qv_reader_convert_dict_file(self._alive(), to_units(source), to_units(target), lenient)
        if done != 1 and not os.path.exists(source):
            raise failed_to_read(self._last_error(), os.fsdecode(source))
        self._check_written(done, target)

    def close(self) -> None:
        """Closes the Reader; its nodes become invalid. Closing it again has no effect."""
        pointer, self._pointer = self._pointer, None
        self._root = self._document = None
        if pointer:
            library.qv_reader_destroy(pointer)

    def __enter__(self) -> Reader:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_pointer", None):
            self.close()

    def __repr__(self) -> str:
        return f"<Reader {'closed' if not self._pointer else self._root if self._root is not None else 'without a file'}>"

    def _alive(self) -> int:
        if not self._pointer:
            raise QuovelError("the Reader is closed")
        return self._pointer

    def _last_error(self) -> str:
        return from_units(library.qv_reader_last_error(self._pointer))

    def _check(self, done: int) -> None:
        if done != 1:
            raise QuovelError(self._last_error() or "the node has no such data, or memory is exhausted")

    def _check_written(self, done: int, path: Path) -> None:
        if done != 1:
            text = self._last_error() or "the node has no such data, or memory is exhausted"
            raise failed_to_write(text, os.fsdecode(path))


def _options(options: dict[str, Value]) -> tuple[ctypes.Array[ParseOption], list[ctypes.Array[ctypes.c_char]]]:
    """The records, and the texts that they point to, which must be kept."""
    records, texts = (ParseOption * len(options))(), []
    for record, (name, value) in zip(records, options.items()):
        if name not in _OPTION_KEYS:
            raise TypeError(f"options are {', '.join(_OPTION_KEYS)}, not {name!r}")
        record.key = _OPTION_KEYS[name]
        if isinstance(value, str):
            texts.append(to_units(value))
            record.value_type, record.string_value = 0, ctypes.addressof(texts[-1])
        elif isinstance(value, int):
            if not -(1 << 63) <= value < 1 << 63:
                raise OverflowError(f"{name} must fit into 64 bits, {value} does not")
            record.value_type, record.int_value = 1, value
        else:
            record.value_type, record.real_value = 2, value
    return records, texts


class Node(_Uncopied):
    """One node of a tree. It is valid until its Reader is closed or opens another file."""

    def __init__(self, reader: Reader, pointer: int, parent: Node | None) -> None:
        self._reader, self._address, self._parent = reader, pointer, parent
        self._generation = reader._generation

    @property
    def _pointer(self) -> int:
        self._reader._alive()
        if self._generation != self._reader._generation:
            raise QuovelError("the file of this node is no longer open")
        return self._address

    # ---- Description

    @property
    def label(self) -> str:
        """The dictionary key, "[i]" of an element, or a name made from the object's; empty for a root."""
        return from_units(library.qv_node_label(self._pointer))

    @property
    def kind(self) -> Kind:
        return Kind(library.qv_node_kind(self._pointer))

    @property
    def type(self) -> str:
        """A short type text: "dict", "integer", "real[5]", "image", "<error>", ..."""
        return from_units(library.qv_node_type_label(self._pointer))

    @property
    def summary(self) -> str:
        """One line: a key count, values, the description of an object, an error's text."""
        return from_units(library.qv_node_value_summary(self._pointer))

    @property
    def segment(self) -> str | int:
        """How the parent addresses it: by a key or by an index."""
        by_index = library.qv_node_path_segment_kind(self._pointer) == 1
        return int(library.qv_node_path_index(self._pointer)) if by_index else self.label

    @property
    def place(self) -> str:
        """The address: "/measured/areas". In keys '/' is written as "~1", '~' as "~0", the empty key as "~"."""
        segments = []
        node = self
        while node._parent is not None:
            segments.append(str(node.segment).replace("~", "~0").replace("/", "~1") or "~")
            node = node._parent
        return "/" + "/".join(reversed(segments))

    @property
    def details(self) -> list[str]:
        """Lines beside the node: one per object of a list, one per row of a matrix."""
        pointer = self._pointer
        count = library.qv_node_detail_line_count(pointer)
        return [from_units(library.qv_node_detail_line_at(pointer, i)) for i in range(count)]

    # ---- Children

    @property
    def parent(self) -> Node | None:
        return self._parent

    @property
    def children(self) -> Children:
        """The child nodes; each Node is created on access."""
        return Children(self)

    def __len__(self) -> int:
        return int(library.qv_node_child_count(self._pointer))

    def __bool__(self) -> bool:
        return True  # a node without children is a node

    def __iter__(self) -> Iterator[Node]:
        return iter(self.children)

    def keys(self) -> list[str]:
        """The labels of the children."""
        return [child.label for child in self]

    def values(self) -> list[Node]:
        """The children."""
        return list(self.children)

    def items(self) -> list[tuple[str, Node]]:
        """The children with their labels."""
        return [(child.label, child) for child in self]

    @overload
    def __getitem__(self, segment: str | int) -> Node: ...

    @overload
    def __getitem__(self, segment: slice) -> list[Node]: ...

    def __getitem__(self, segment: str | int | slice) -> Node | list[Node]:
        """The child with that key or at that position, counted from the end if negative; several for a slice."""
        if isinstance(segment, slice):
            return self.children[segment]
        if not isinstance(segment, str):
            return self.children[operator.index(segment)]
        for child in self:
            if child.segment == segment:
                return child
        raise KeyError(segment)

    def __contains__(self, key: object) -> bool:
        return any(child.segment == key for child in self)

    def find(self, place: str) -> Node:
        """The node at a place such as "/measured/areas"; KeyError when there is none."""
        node = self
        for part in filter(None, place.split("/")):
            segment = "" if part == "~" else part.replace("~1", "/").replace("~0", "~")
            found = next((child for child in node if str(child.segment) == segment), None)
            if found is None:
                raise KeyError(place)
            node = found
        return node

    def walk(self, depth: int | None = None) -> Iterator[tuple[int, Node]]:
        """The node and all nodes below it, each with its level."""
        waiting = [(0, self)]
        while waiting:
            level, node = waiting.pop()
            yield level, node
            if depth is None or level < depth:
                waiting.extend((level + 1, child) for child in reversed(node.children))

    def tree(self, depth: int | None = None) -> str:
        """The tree as text, indented by 2 spaces per level."""
        return "\n".join(
            f"{'  ' * level}{node.label or '/'}  {node.type}  {node.summary}" for level, node in self.walk(depth)
        )

    # ---- Values

    @property
    def elements(self) -> list[Value]:
        """All values. The library keeps 1000 of them; more are read from the dictionary file again. Of other files, reals
        after these have six digits: a PrecisionWarning says so."""
        return _convert.all_values(self)

    @property
    def value(self) -> Value | list[Value]:
        """The only value, or the list of values."""
        values = self.elements
        return values[0] if len(values) == 1 else values

    def to_dict(self, default: Callable[[Node], Any] | None = None) -> Any:
        """Dictionaries, lists and values; images, geometry and matrices as arrays. What cannot be converted is a TypeError
        with its place, or what `default` returns for the node."""
        return _convert.to_python(self, default)

    def to_dataframe(self) -> Any:
        """A pandas DataFrame of a dictionary whose values are tuples of one length."""
        return _convert.data_frame(self)

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> Any:
        """For numpy.asarray: the values of a tuple, the stored values of an image, points, runs, a matrix."""
        if copy is False:
            raise ValueError("an array of a node is always a copy")
        array = _convert.array(self)
        return array if dtype is None else array.astype(dtype)

    @property
    def total_count(self) -> int:
        return int(library.qv_node_total_count(self._pointer))

    @property
    def truncated(self) -> bool:
        """Whether the library keeps only the first 1000 values."""
        return bool(library.qv_node_truncated(self._pointer))

    @property
    def value_text(self) -> str:
        """All values as one text."""
        return from_units(library.qv_node_full_value_text(self._reader._alive(), self._pointer))

    # ---- Iconic objects

    @property
    def object_count(self) -> int:
        return int(library.qv_node_object_count(self._pointer)) if self.kind == Kind.OBJECT else 0

    def object_class(self, index: int | None = None) -> str:
        """The class of one object, or of all ("mixed" if they differ): "image", "region", "xld_cont", ..."""
        whole = from_units(library.qv_node_object_class(self._pointer))
        if index is None or whole != "mixed":
            return whole
        return self.details[checked_index(index)].partition(":")[0]

    def channel_count(self, index: int = 0) -> int:
        count: int = library.qv_node_image_channel_count(self._reader._alive(), self._pointer, self._checked(index))
        self._reader._check(count >= 0)
        return count

    def image(self, index: int = 0, raw: bool = False) -> Any:
        """The pixels as bytes: a NumPy array (height, width[, 3 or 4 of RGBA]), or Pixels without NumPy.

        With `raw`, the stored values of all channels in their own type, as a NumPy array; 0 outside of the domain. They
        go through a temporary file.
        """
        if raw:
            return self._extract(_data.raw_image, index, self.object_count)
        channels = self.channel_count(index)
        if channels not in (1, 3, 4):
            raise QuovelError(f"an image of {channels} channels has no colors; image(raw=True) returns its values")
        return self._extract(_data.image, index)

    def domain(self, index: int = 0) -> Any:
        """Where an image is defined: a NumPy array (height, width) of bool."""
        description = self.summary if self.object_count == 1 else None
        return self._extract(_data.domain, index, self.channel_count(index), description)

    def _pixels(self, index: int) -> _data.Pixels:
        pixels: _data.Pixels = self._extract(_data.pixels, index)
        return pixels

    def points(self, index: int = 0) -> Any:
        """The rows and columns of a contour's or polygon's points, (n, 2)."""
        return self._extract(_data.points, index, self.object_class(index) == "xld_poly")

    def parallels(self, index: int = 0) -> Any:
        """The points of the two lines of parallels, each (n, 2)."""
        return self._extract(_data.parallels, index)

    def runs(self, index: int = 0) -> Any:
        """Row, first and last column of each run of a region, (n, 3)."""
        return self._extract(_data.runs, index)

    def save(self, path: Path) -> None:
        self._reader.save(self, path)

    def _extract(self, extract: Any, index: int, *more: Any) -> Any:
        index = self._checked(index)
        return extract(self._reader._check, self._reader._alive(), self._pointer, index, *more)

    def _checked(self, index: int) -> int:
        index = checked_index(index)
        if self.kind == Kind.OBJECT and index >= self.object_count:
            raise IndexError(f"no object at index {index}: the node has {self.object_count}")
        return index

    # ---- Display

    def __repr__(self) -> str:
        try:
            return f"<Node {self.place} {self.type}: {self.summary}>"
        except QuovelError as reason:
            return f"<Node: {reason}>"

    def _repr_html_(self) -> str:
        return _notebook.html(self)


class Children(Sequence["Node"]):
    """The children of a node."""

    def __init__(self, node: Node) -> None:
        self._node = node

    def __len__(self) -> int:
        return len(self._node)

    @overload
    def __getitem__(self, index: int) -> Node: ...

    @overload
    def __getitem__(self, index: slice) -> list[Node]: ...

    def __getitem__(self, index: int | slice) -> Node | list[Node]:
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(len(self)))]
        count = len(self)
        position = index + count if index < 0 else index
        if not 0 <= position < count:
            raise IndexError(f"no child at index {index}: the node has {count}")
        return Node(self._node._reader, library.qv_node_child_at(self._node._pointer, position), self._node)
