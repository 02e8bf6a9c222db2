"""The exceptions of the package."""

from __future__ import annotations

import errno
import os
import stat


class QuovelError(Exception):
    """A call failed. The text is that of the library, if it has one."""

    __module__ = "quovel_adapter"


class _FileError(QuovelError, OSError):
    """A failure that the system explains. The text is that of the library; errno and filename are set."""

    def __init__(self, text: str, number: int, path: str) -> None:
        super().__init__(text)
        self.errno, self.filename, self.strerror = number, path, os.strerror(number)

    def __str__(self) -> str:
        return str(self.args[0])


class QuovelFileNotFoundError(_FileError, FileNotFoundError):
    """The file, or the folder that it is to be written into, does not exist."""

    __module__ = "quovel_adapter"


class QuovelPermissionError(_FileError, PermissionError):
    """The system does not let this process read or write the file."""

    __module__ = "quovel_adapter"


class PrecisionWarning(UserWarning):
    """Reals were read from a text of the library, which has six digits of each."""

    __module__ = "quovel_adapter"


def failed_to_read(text: str, path: str) -> QuovelError:
    try:
        status = os.stat(path)
    except FileNotFoundError:
        return QuovelFileNotFoundError(text, errno.ENOENT, path)
    except PermissionError:
        return QuovelPermissionError(text, errno.EACCES, path)
    except (OSError, ValueError):
        return QuovelError(text)
    if stat.S_ISREG(status.st_mode) and not os.access(path, os.R_OK):
        return QuovelPermissionError(text, errno.EACCES, path)
    return QuovelError(text)


def failed_to_write(text: str, path: str) -> QuovelError:
    folder = os.path.dirname(path) or os.curdir
    if not os.path.isdir(folder):
        return QuovelFileNotFoundError(text, errno.ENOENT, path)
    # A link that leads to no file and a new file need the folder to be writable.
    if not os.access(path if os.path.exists(path) else folder, os.W_OK):
        return QuovelPermissionError(text, errno.EACCES, path)
    return QuovelError(text)
