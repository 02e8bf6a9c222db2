"""The same rows from the workers of a Dask cluster. Batches, retries and lost workers are the work of Dask; each task runs the
local command on its batch, so that a file that crashes or hangs costs a row there too."""

from __future__ import annotations

import importlib
import pickle
import subprocess
import sys
from collections.abc import Iterable, Iterator
from typing import Any

from .files import File, Part
from .pool import Limits

BATCH = 500  # files


def rows_of(batch: list[tuple[Any, ...]], limits: tuple[float, int]) -> bytes:
    """Runs on a worker of the cluster, which must have this package and see the same paths."""
    command = [sys.executable, "-m", "quovel_catalog", "rows"]
    return subprocess.run(command, input=pickle.dumps((batch, limits)), stdout=subprocess.PIPE, check=True).stdout


def serve() -> None:
    """The command of `rows_of`: a batch comes in, its parts go out."""
    from . import pool

    batch, limits = pickle.load(sys.stdin.buffer)
    found = list(pool.run([[File(*file) for file in batch]], 1, Limits(*limits)))
    sys.stdout.buffer.write(pickle.dumps(found))


def run(batches: Iterable[list[File]], scheduler: str, limits: Limits) -> Iterator[Part]:
    try:
        distributed: Any = importlib.import_module("distributed")
    except ImportError:
        raise ValueError("--scheduler needs Dask (python3-dask, python3-distributed), which is not installed") from None
    with distributed.Client(scheduler, timeout="10s") as client:
        tasks = [
            client.submit(rows_of, [tuple(file) for file in batch], tuple(limits), pure=False, retries=2) for batch in batches
        ]
        for task in distributed.as_completed(tasks):
            try:
                parts = pickle.loads(task.result())
            except subprocess.CalledProcessError as failure:
                raise ValueError(f"a task failed on the cluster: {failure}") from None
            yield from parts
            task.release()
