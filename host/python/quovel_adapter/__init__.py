"""HALCON data files as trees of Python objects.

    import quovel_adapter as qv

    with qv.open("parts.hdict") as reader:
        print(reader.root.tree())
        pixels = reader.root["image"].image()        # a NumPy array where NumPy is there
        runs = reader.root["washers"].runs(2)        # row, first and last column of each run
        areas = reader.root["measured"]["areas"].values

The nodes of a tree live until their Reader is closed or opens another file. Failures are QuovelError, with the text of
the library. The library is found beside this package, in the build folder of its repository, or by the system; the
environment variable QUOVEL_ADAPTER_LIBRARY names another.
"""

from ._data import Pixels
from ._library import QuovelError, halcon_version
from ._tree import Kind, Node, Reader, open

__all__ = ["Kind", "Node", "Pixels", "QuovelError", "Reader", "halcon_version", "open"]
