"""Worker processes. A file that crashes its worker, hangs it or exhausts its memory costs that file's row, not the run."""

from __future__ import annotations

import contextlib
import multiprocessing
import multiprocessing.connection
import os
import shutil
import signal
import sys
import tempfile
import threading
import time
from collections.abc import Iterable, Iterator
from typing import Any, NamedTuple

from .files import File, Part, failed

BATCH = 64  # files
MESSAGE = 4096  # nodes


class Limits(NamedTuple):
    timeout: float  # seconds for one file
    memory: int  # bytes of a worker's address space; 0: no limit


def _limit_memory(memory: int) -> None:
    if memory and sys.platform != "win32":
        import resource

        resource.setrlimit(resource.RLIMIT_AS, (memory, memory))


def _watch_parent(parent: int, scratch: str) -> None:
    """Ends a worker whose parent was killed, also while it opens a file. No pipe tells: each worker has copies of the parent's
    ends."""
    while os.getppid() == parent:
        time.sleep(0.5)
    shutil.rmtree(scratch, ignore_errors=True)
    os._exit(1)


def _work(connection: Any, progress: Any, memory: int, scratch: str, parent: int) -> None:
    """The main function of a worker: batches of files come in, lists of parts go out, None after each batch.

    progress[0] is 1 + the position of the file in work, 0 between batches; progress[1] is when it was begun.
    """
    signal.signal(signal.SIGINT, signal.SIG_IGN)  # the parent ends its workers
    sys.modules.setdefault("numpy", None)  # type: ignore[arg-type]  # it is not needed, and takes longer to load than all else
    if sys.platform != "win32":  # which copies no pipes, and gives the same answer after the parent's end
        threading.Thread(target=_watch_parent, args=(parent, scratch), daemon=True).start()
    try:
        _limit_memory(memory)
        from .rows import Opener

        opener = Opener(scratch)
    except Exception as failure:
        connection.send(f"{type(failure).__name__}: {failure}".strip(": "))
        return
    while True:
        try:
            batch = connection.recv()
        except EOFError:
            return
        if batch is None:
            return
        parts: list[Part] = []
        waiting = 0
        for position, file in enumerate(batch):
            progress[1] = time.monotonic()
            progress[0] = position + 1
            unfinished = False  # the parent has a part of the file
            try:
                for part in opener.rows(file):
                    parts.append(part)
                    waiting += len(part.nodes)
                    if waiting > MESSAGE or unfinished:
                        connection.send(parts)
                        parts, waiting, unfinished = [], 0, True
            except MemoryError:
                parts.append(failed(file, "memory is exhausted"))
        progress[0] = 0
        connection.send(parts)
        connection.send(None)


class _Worker:
    def __init__(self, limits: Limits, scratch: str) -> None:
        context: Any = multiprocessing.get_context("spawn" if sys.platform == "win32" else "fork")
        self._limits = limits
        self.progress: Any = context.RawArray("d", 2)
        self.connection, theirs = context.Pipe()
        arguments = (theirs, self.progress, limits.memory, scratch, os.getpid())
        self._process = context.Process(target=_work, args=arguments, daemon=True)
        self._process.start()
        theirs.close()
        self.batch: list[File] = []
        self.done: set[int] = set()

    def give(self, batch: list[File]) -> None:
        self.batch, self.done = batch, set()
        self.progress[0] = 0
        self.connection.send(batch)

    def overdue(self) -> bool:
        return bool(self.progress[0] > 0) and float(self.progress[1]) + self._limits.timeout < time.monotonic()

    def current(self) -> File | None:
        position = int(self.progress[0])
        return self.batch[position - 1] if 0 < position <= len(self.batch) else None

    def kill(self) -> None:
        self._process.kill()

    def end(self) -> str:
        """Ends the process; how it had ended by itself."""
        self._process.join(0.5)
        code = self._process.exitcode
        if code is None:
            self._process.kill()
            self._process.join()
        self.connection.close()
        if code is not None and code < 0:
            return f"the worker was ended by {signal.Signals(-code).name}"
        return f"the worker ended with code {code}"


def run(batches: Iterable[list[File]], jobs: int, limits: Limits) -> Iterator[Part]:
    """The parts of all files, each file once. A part of a file that failed later is followed by its row with an error: nodes
    that came before are void."""
    in_memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(prefix="qv_catalog-", dir=in_memory) as scratch:
        yield from _run(batches, jobs, limits, scratch)


def _run(batches: Iterable[list[File]], jobs: int, limits: Limits, scratch: str) -> Iterator[Part]:
    source = iter(batches)
    again: list[list[File]] = []
    idle: list[_Worker] = []
    busy: dict[Any, _Worker] = {}
    try:
        while True:
            while len(busy) < jobs:
                batch = again.pop() if again else next(source, [])
                if not batch:
                    break
                worker = idle.pop() if idle else _Worker(limits, scratch)
                worker.give(batch)
                busy[worker.connection] = worker
            if not busy:
                return
            for connection in multiprocessing.connection.wait(list(busy), 0.2):
                yield from _receive(busy, busy[connection], idle, again)
            for worker in [worker for worker in busy.values() if worker.overdue()]:
                worker.kill()
                text = f"timed out after {limits.timeout:g} s"
                yield from _lost(busy, worker, again, text)
    finally:
        for worker in busy.values():
            worker.kill()
        for worker in idle:
            with contextlib.suppress(OSError):  # it may have ended
                worker.connection.send(None)
        for worker in [*idle, *busy.values()]:
            worker.end()


def _receive(busy: dict[Any, _Worker], worker: _Worker, idle: list[_Worker], again: list[list[File]]) -> Iterator[Part]:
    try:
        parts = worker.connection.recv()
    except (EOFError, OSError):
        yield from _lost(busy, worker, again, None)
        return
    if isinstance(parts, str):
        raise ValueError(f"a worker could not start ({parts})")
    if parts is None:
        del busy[worker.connection]
        idle.append(worker)
        return
    for part in parts:
        if part.file is not None:
            worker.done.add(part.id)
        yield part


def _lost(busy: dict[Any, _Worker], worker: _Worker, again: list[list[File]], error: str | None) -> Iterator[Part]:
    del busy[worker.connection]
    culprit = worker.current()
    how = worker.end()
    left = [file for file in worker.batch if file.id not in worker.done]
    if culprit is None and len(left) == len(worker.batch):
        raise ValueError(f"a worker could not start ({how})")
    for file in left:
        if culprit is not None and file.id == culprit.id:
            yield failed(file, error or how, time.monotonic() - worker.progress[1])
    rest = [file for file in left if culprit is None or file.id != culprit.id]
    if rest:
        again.append(rest)
