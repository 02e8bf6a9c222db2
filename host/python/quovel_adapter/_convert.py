"""Content of nodes as Python values: complete tuples, arrays, dictionaries, data frames."""

from __future__ import annotations

import json
import os
import re
import tempfile
import warnings
from typing import TYPE_CHECKING, Any, Callable, Optional, Union

from ._data import numpy, require_numpy
from ._errors import PrecisionWarning, QuovelError
from ._library import from_units, library, to_units

if TYPE_CHECKING:
    from ._tree import Node

Value = Union[str, int, float]
Default = Optional[Callable[["Node"], Any]]

# The words of JSON that dictionaries have no value for, and the reading option that says what they become.
_WORDS = {True: ("json_true", "true"), False: ("json_false", "false"), None: ("json_null", "null")}


class Document:
    """A dictionary file as JSON, converted when it is first asked for and kept as long as the file is open. It is of no use
    once the file has changed: the tree has the values of before."""

    def __init__(self, path: str) -> None:
        self.path = path
        self._state = self._stat()
        self._content: Any = None
        self._tried = False

    def _stat(self) -> tuple[int, int] | None:
        try:
            status = os.stat(self.path)
        except OSError:
            return None
        return status.st_size, status.st_mtime_ns

    def content(self, reader: int) -> Any:
        """None when there is no such content."""
        if not self._tried:
            self._tried = True
            self._content = self._converted(reader)
        return self._content

    def _converted(self, reader: int) -> Any:
        with tempfile.TemporaryDirectory(prefix="quovel-") as folder:
            target = os.path.join(folder, "all.json")
            if library.qv_reader_convert_dict_file(reader, to_units(self.path), to_units(target), 1) != 1:
                return None
            if self._state is None or self._stat() != self._state:
                return None
            try:
                with open(target, encoding="utf-8", errors="replace") as file:
                    return json.load(file)
            except RecursionError:  # files nest deeper than Python calls may
                return None


def kept_values(pointer: int) -> list[Value]:
    """The typed values that the library keeps: the first 1000."""
    return [_value(pointer, index) for index in range(library.qv_node_value_count(pointer))]


def _value(pointer: int, index: int) -> Value:
    kind: int = library.qv_node_value_type_at(pointer, index)
    if kind == 0:
        return from_units(library.qv_node_value_string_at(pointer, index))
    number: Value = (library.qv_node_value_int_at if kind == 1 else library.qv_node_value_real_at)(pointer, index)
    return number


def all_values(node: Node) -> list[Value]:
    """All values of a value node. More than the library keeps come from the dictionary file, written as JSON."""
    kept = kept_values(node._pointer)
    if not node.truncated:
        return kept
    document = node._reader._document
    if document is not None and not node.type.startswith("integer"):
        found = _from_document(node, document)
        if found is not None and len(found) == node.total_count and found[: len(kept)] == kept:
            return found
    found = _from_text(node.value_text, node.total_count)
    if node.type.startswith("real"):  # with six digits, large ones look like integers
        found = [float(value) for value in found]
    if any(isinstance(value, float) for value in found):
        warnings.warn(
            f"{node.place}: reals after the first {len(kept)} values have six digits: the library keeps no more",
            PrecisionWarning,
            stacklevel=3,
        )
    return kept + found[len(kept) :]


def _from_document(node: Node, document: Document) -> list[Value] | None:
    reader = node._reader
    found = document.content(reader._alive())
    for part in node.place.split("/")[1:]:
        segment = "" if part == "~" else part.replace("~1", "/").replace("~0", "~")
        try:
            found = found[int(segment)] if isinstance(found, list) else found[segment]
        except (LookupError, TypeError, ValueError):
            return None
    if not isinstance(found, list):
        return None
    return [_word(reader._options, value) for value in found]


def _word(options: dict[str, Value], value: Any) -> Any:
    if value is not None and not isinstance(value, bool):
        return value
    option, word = _WORDS[value]
    return options.get(option, word)


_ELEMENT = re.compile(r"'(.*?)'(?=, |$)|([^,\s]+)", re.DOTALL)


def _from_text(text: str, count: int) -> list[Value]:
    """The values of the library's text: "[1, 2.5, 'x']". Strings with quotes cannot be told apart in it."""
    body = text[1:-1]
    found: list[Value] = []
    for match in _ELEMENT.finditer(body):
        string, number = match.groups()
        if number is None:
            found.append(string)
        elif "'" in number:
            break
        else:
            found.append(int(number) if re.fullmatch(r"-?\d+", number) else float(number))
    if body.count("'") != 2 * sum(isinstance(value, str) for value in found):
        raise QuovelError("the text of the values has quotes in strings, and the file cannot be read again")
    if len(found) != count:
        raise QuovelError(f"the text of the values has {len(found)} values instead of {count}")
    if any(isinstance(value, float) for value in found):  # "3" may be a real
        found = [float(value) if isinstance(value, int) else value for value in found]
    return found


# ---- Arrays


def _matrix(node: Node) -> Any:
    rows = [[float(number) for number in line.strip("[] ").split()] for line in node.details]
    if not rows or len({len(row) for row in rows}) > 1:
        raise TypeError(f"the library does not show the elements of the matrix at {node.place}")
    return rows


def _geometry(node: Node, index: int) -> Any:
    name = node.object_class(index)
    if name == "image":
        return node.image(index, raw=True)
    if name == "region":
        return node.runs(index)
    if name in ("xld_cont", "xld_poly"):
        return node.points(index)
    if name == "xld_parallel":
        return node.parallels(index)
    raise _unconverted(node)


def _unconverted(node: Node) -> TypeError:
    return TypeError(f"{node.place} holds {node.type or 'nothing'}, which cannot be converted")


def array(node: Node) -> Any:
    """What numpy.asarray makes of a node."""
    require_numpy("an array")
    if node.kind == node.kind.VALUE:
        if node.type.startswith("<"):
            raise _unconverted(node)
        return numpy.array(all_values(node))
    if node.kind != node.kind.OBJECT:
        raise TypeError(f"{node.place} is a {node.type} with {len(node)} children, not an array; to_dict() returns them")
    if node.type == "matrix":
        return numpy.array(_matrix(node))
    if node.object_count != 1:
        count = f"{node.place} holds {node.object_count} objects"
        raise TypeError(f"{count}; choose one by its index: image(0), points(0), runs(0)")
    if node.object_class(0) == "xld_parallel":
        raise TypeError(f"{node.place} holds two lines; parallels() returns them")
    return numpy.asarray(_geometry(node, 0))


# ---- Dictionaries


def _leaf(node: Node) -> Any:
    if node.kind == node.kind.VALUE:
        if node.type.startswith("<"):
            raise _unconverted(node)
        values = all_values(node)
        return values[0] if len(values) == 1 else values
    if node.type == "matrix":
        return numpy.array(_matrix(node)) if numpy is not None else _matrix(node)
    if not node.object_class().startswith(("image", "region", "xld", "mixed", "empty")):
        raise _unconverted(node)
    objects = [_geometry(node, index) for index in range(node.object_count)]
    return objects[0] if len(objects) == 1 else objects


def _converted_leaf(node: Node, default: Default) -> Any:
    try:
        return _leaf(node)
    except (TypeError, QuovelError):
        if default is None:
            raise
        return default(node)


def to_python(root: Node, default: Default) -> Any:
    """Nested dictionaries and lists; a stack instead of calls, since files nest deeper than Python calls may."""
    top: list[Any] = []
    waiting: list[tuple[Node, Any]] = [(root, top)]
    while waiting:
        node, target = waiting.pop()
        content: Any
        if node.kind == node.kind.DICT:
            content = {}
        elif node.kind == node.kind.ARRAY:
            content = []
        else:
            content = _converted_leaf(node, default)
        if isinstance(target, dict):
            target[node.label] = content
        else:
            target.append(content)
        if node.kind in (node.kind.DICT, node.kind.ARRAY):
            waiting.extend((child, content) for child in reversed(node.children))
            if isinstance(content, dict):
                content.update(dict.fromkeys(node.keys()))  # in the order of the file
    return top[0]


def data_frame(node: Node) -> Any:
    """A pandas DataFrame: a column per entry of a dictionary whose values are tuples of one length."""
    try:
        import pandas
    except ImportError:
        raise ImportError("a DataFrame needs pandas, which is not installed") from None
    if node.kind != node.kind.DICT or len(node) == 0:
        raise TypeError(f"{node.place} holds {node.type}; a DataFrame is made from a dictionary of tuples")
    columns = {}
    for child in node:
        if child.kind != node.kind.VALUE or child.type.startswith("<"):
            raise TypeError(f"{child.place} holds {child.type}; a DataFrame is made from a dictionary of tuples")
        columns[child.label] = all_values(child)
    lengths = {label: len(values) for label, values in columns.items()}
    if len(set(lengths.values())) > 1:
        counts = ", ".join(f"{label!r}: {count}" for label, count in lengths.items())
        raise ValueError(f"the tuples of {node.place} have different lengths ({counts})")
    return pandas.DataFrame(columns)
