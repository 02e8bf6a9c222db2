"""HALCON data files as trees of Python objects.

    import quovel_adapter as qv

    with qv.open("parts.hdict") as reader:
        print(reader.root.tree())
        pixels = reader.root["image"].image()        # a NumPy array if NumPy is installed
        runs = reader.root["washers"].runs(2)        # row, first and last column of each run
        areas = reader.root["measured"]["areas"].values

The nodes of a tree are valid until their Reader is closed or opens another file. Errors raise QuovelError with the text
of the library. The library is searched beside this package, in the build folder of its repository, and where the system
looks; the environment variable QUOVEL_ADAPTER_LIBRARY overrides this.
"""

from ._data import Pixels
from ._library import QuovelError, halcon_version
from ._tree import Kind, Node, Reader, open

__all__ = ["Kind", "Node", "Pixels", "QuovelError", "Reader", "halcon_version", "open"]
