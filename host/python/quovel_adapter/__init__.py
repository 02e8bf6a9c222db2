"""HALCON data files as trees of Python objects.

    import quovel_adapter as qv

    with qv.open("parts.hdict") as reader:
        print(reader.root.tree())
        pixels = reader.root["image"].image()        # a NumPy array if NumPy is installed
        runs = reader.root["washers"].runs(2)        # row, first and last column of each run
        areas = reader.root["measured"]["areas"].elements

The nodes of a tree are valid until their Reader is closed or opens another file. Errors raise QuovelError with the text
of the library; where the system explains them, they are FileNotFoundError or PermissionError too.
The library is searched beside this package, in the build folder of its repository, and where the system looks; the
environment variable QUOVEL_ADAPTER_LIBRARY overrides this.
"""

from ._data import Pixels
from ._errors import PrecisionWarning, QuovelError, QuovelFileNotFoundError, QuovelPermissionError
from ._library import halcon_version
from ._tree import Kind, Node, Reader, open

__version__ = "0.1.0"

__all__ = [
    "Kind",
    "Node",
    "Pixels",
    "PrecisionWarning",
    "QuovelError",
    "QuovelFileNotFoundError",
    "QuovelPermissionError",
    "Reader",
    "__version__",
    "halcon_version",
    "open",
]
