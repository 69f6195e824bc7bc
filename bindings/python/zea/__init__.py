# SPDX-License-Identifier: Apache-2.0
"""Talk with a chat model about a database.

    import os, zea

    structure = zea.sqlite_structure("shop.db")
    with zea.Assistant("openai", key=os.environ["OPENAI_API_KEY"], model="gpt-4o") as assistant:
        assistant.describe(structure)
        answer = assistant.ask("Which orders are open?")
        print(answer)
        with zea.Runner("shop.db") as runner:
            print(runner.run(zea.first_statement(answer)).rows)

An assistant and its memory belong to one thread at a time; `Assistant.cancel` may be called from any. Ctrl-C ends a
question that the main thread asks with KeyboardInterrupt. What fails raises `zea.Error`.
"""

from __future__ import annotations

import ctypes
import os
import signal
import socket
import threading
from ctypes import byref, c_uint32, c_void_p
from dataclasses import dataclass
from enum import IntEnum
from typing import Callable, Protocol

from . import _library as _c

__all__ = ["Assistant", "Error", "Memory", "Provider", "Role", "Rows", "Runner", "Structure", "estimate_tokens",
           "first_statement", "fit", "mask_secret", "set_http_settings", "set_localizer", "sqlite_structure", "version"]

_lib = _c.library
_OK, _HOST_FAILED = 0, 4


class Provider(IntEnum):
    """The services that an assistant speaks to."""

    OPENAI = 0
    GOOGLE = 1
    DEEPSEEK = 2
    OLLAMA = 3
    X = 4
    ANTHROPIC = 5
    ALIBABA = 6
    BYTEDANCE = 7
    MOONSHOT = 8


class Role(IntEnum):
    """Who said a turn."""

    USER = 0
    ASSISTANT = 1


class Error(Exception):
    """A failure, with a sentence for the user.

    `code` is that of the C interface, `status` how the request ended: an HTTP status from 100 on, otherwise what became
    of the connection, 0 where there was none.
    """

    def __init__(self, sentence: str, code: int, status: int = 0) -> None:
        super().__init__(sentence)
        self.code = code
        self.status = status


class Memory(Protocol):
    """A conversation that the program keeps. What a method raises leaves `Assistant.ask`."""

    def set_structure_document(self, document: str) -> None: ...

    def structure_document(self) -> str: ...

    def add_entry(self, role: Role, text: str) -> None: ...

    def entries(self, limit: int) -> list[tuple[Role, str]]: ...


@dataclass(frozen=True)
class Structure:
    """A database's structure: the document, and instructions to the model by their names."""

    document: str
    instructions: dict[str, str]


@dataclass(frozen=True)
class Rows:
    """What a statement returned; cells are str, bytes or None. `is_cut`: there are more."""

    columns: list[str]
    rows: list[tuple[str | bytes | None, ...]]
    is_cut: bool


def _check(code: int, sentence: c_void_p | None = None, status: int = 0) -> None:
    if code == _OK:
        return
    text = _c.take_string(sentence) if sentence else ""
    raise Error(text or "The call failed.", code, status)


def _call(function: str, *arguments: object) -> c_void_p:
    """Calls what gives one result and a sentence."""
    place, sentence = c_void_p(), c_void_p()
    _check(getattr(_lib, function)(*arguments, byref(place), byref(sentence)), sentence)
    return place


class _Memory:
    """A memory in Python, as functions for the library. What its methods raise is kept for the caller of `ask`."""

    def __init__(self, memory: Memory) -> None:
        self.memory = memory
        self.failure: BaseException | None = None
        self._functions = _c.MemoryFunctions(
            ctypes.sizeof(_c.MemoryFunctions), None, _c.SetDocument(self._set_document),
            _c.GetDocument(self._get_document), _c.AddEntry(self._add_entry), _c.GetEntries(self._get_entries))
        self.handle = c_void_p()
        _check(_lib.zeac_memory_create(byref(self._functions), byref(self.handle)))

    def _run(self, step) -> int:
        try:
            step()
            return 0
        except BaseException as failure:  # it crosses C as a code and is raised again behind it
            self.failure = failure
            return 1

    def _set_document(self, _, document: _c.TextOut) -> int:
        return self._run(lambda: self.memory.set_structure_document(_c.from_text(document)))

    def _get_document(self, _, sink: int) -> int:
        return self._run(lambda: _check(_lib.zeac_sink_text(sink, _c.text(self.memory.structure_document()))))

    def _add_entry(self, _, role: int, text: _c.TextOut) -> int:
        return self._run(lambda: self.memory.add_entry(Role(role), _c.from_text(text)))

    def _get_entries(self, _, limit: int, sink: int) -> int:
        def give() -> None:
            for role, text in self.memory.entries(limit):
                _check(_lib.zeac_sink_entry(sink, int(role), _c.text(text)))

        return self._run(give)

    def close(self) -> None:
        _lib.zeac_memory_free(self.handle)
        self.handle = c_void_p()


class _Interrupts:
    """Ends what runs in the library when Ctrl-C comes.

    Python calls its handler for a signal between steps of its own only, which a question is one of. But it writes the
    signal's number to a descriptor at once: a thread reads that and cancels, the question returns, and Python raises
    KeyboardInterrupt.
    """

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._cancel = None
        self._process = 0

    def _prepare(self) -> None:
        self._reader, self._writer = socket.socketpair()
        self._writer.setblocking(False)
        self._process = os.getpid()  # a child of a fork has no such thread
        threading.Thread(target=self._watch, args=(self._reader,), name="zea", daemon=True).start()

    def _watch(self, reader: socket.socket) -> None:
        while numbers := reader.recv(64):
            with self._lock:
                if signal.SIGINT in numbers and self._cancel:
                    self._cancel()

    def call(self, cancel, function, *arguments):
        """The result of the function; `cancel` is called for a Ctrl-C meanwhile, in the main thread, unless somebody
        else handles signals."""
        if (threading.current_thread() is not threading.main_thread()
                or signal.getsignal(signal.SIGINT) is not signal.default_int_handler):
            return function(*arguments)
        if self._process != os.getpid():
            self._prepare()
        former = signal.set_wakeup_fd(self._writer.fileno(), warn_on_full_buffer=False)
        if former != -1:
            signal.set_wakeup_fd(former)  # an event loop's, which has its own ways
        with self._lock:
            self._cancel = cancel
        try:
            return function(*arguments)
        finally:
            with self._lock:
                self._cancel = None
            if former == -1:
                signal.set_wakeup_fd(-1)


_interrupts = _Interrupts()


class Assistant:
    """A conversation with a model. To be used in a `with`, or closed."""

    def __init__(self, provider: Provider | str, *, key: str = "", host: str = "", model: str = "",
                 memory: Memory | None = None) -> None:
        number = Provider[provider.upper()] if isinstance(provider, str) else provider
        self._handle, self._cancel, self._memory = c_void_p(), c_void_p(), None
        _check(_lib.zeac_cancel_create(byref(self._cancel)))
        self._memory = _Memory(memory) if memory is not None else None
        options = _c.AssistantOptions(ctypes.sizeof(_c.AssistantOptions), number, _c.text(key), _c.text(host),
                                      self._memory.handle if self._memory else None, self._cancel)
        try:
            self._handle = _call("zeac_assistant_create", byref(options))
            if model:
                self.set("model", model)
        except BaseException:
            self.close()
            raise

    def __enter__(self) -> Assistant:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Frees it. Closing twice does nothing."""
        _lib.zeac_assistant_free(self._handle)
        if self._memory:
            self._memory.close()
        _lib.zeac_cancel_free(self._cancel)
        self._handle, self._cancel, self._memory = c_void_p(), c_void_p(), None

    __del__ = close

    def _do(self, function: str, *arguments: object) -> c_void_p:
        """Calls what gives a result, and raises what the memory has raised meanwhile."""
        place, sentence = c_void_p(), c_void_p()
        code = getattr(_lib, function)(self._handle, *arguments, byref(place), byref(sentence))
        self._finish(code, sentence)
        return place

    def _finish(self, code: int, sentence: c_void_p) -> None:
        failure = self._memory.failure if self._memory else None
        if self._memory:
            self._memory.failure = None
        if failure is not None and code == _HOST_FAILED:
            _lib.zeac_string_free(sentence)
            raise failure
        _check(code, sentence, _lib.zeac_assistant_last_status(self._handle))

    def set(self, name: str, value: str | int | float) -> None:
        """Sets a property, such as "model", "temperature" or "max_tokens"."""
        kind = {str: "text", int: "integer", bool: "integer", float: "number"}[type(value)]
        given = _c.text(value) if isinstance(value, str) else value
        sentence = c_void_p()
        code = getattr(_lib, f"zeac_assistant_set_{kind}")(self._handle, _c.text(name), given, byref(sentence))
        self._finish(code, sentence)

    def get(self, name: str) -> str:
        """A property as a text; empty where it is none."""
        return _c.take_string(self._do("zeac_assistant_text", _c.text(name)))

    def describe(self, structure: Structure) -> None:
        """Tells the model of a database."""
        self.set("db_structure", structure.document)
        for name, text in structure.instructions.items():
            sentence = c_void_p()
            code = _lib.zeac_assistant_set_instruction(self._handle, _c.text(name), _c.text(text), byref(sentence))
            self._finish(code, sentence)

    @property
    def endpoint(self) -> str:
        """The URL of the provider's chat operation, to be shown."""
        return _c.take_string(self._do("zeac_assistant_endpoint"))

    def models(self) -> list[str]:
        """The models that the provider offers."""
        return _c.take_strings(_interrupts.call(self.cancel, self._do, "zeac_assistant_models"))

    def ask(self, question: str) -> str:
        """The model's reply. The sentence of an `Error` may hold the key, where a server repeats it: `mask_secret`."""
        return _c.take_string(_interrupts.call(self.cancel, self._do, "zeac_assistant_ask", _c.text(question)))

    def cancel(self) -> None:
        """Ends the question that is running; any thread."""
        _lib.zeac_cancel_now(self._cancel)


class Runner:
    """Runs statements that only read over an SQLite file; others raise `Error`."""

    def __init__(self, file: str) -> None:
        self._handle = c_void_p()
        self._handle = _call("zeac_sqlite_runner_open", _c.text(file))

    def __enter__(self) -> Runner:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Frees it. Closing twice does nothing."""
        _lib.zeac_runner_free(self._handle)
        self._handle = c_void_p()

    __del__ = close

    def run(self, sql: str, *, rows: int = 1000, seconds: float = 30.0) -> Rows:
        """The rows of a statement, of which there are at most so many."""
        result, sentence = c_void_p(), c_void_p()
        code = _lib.zeac_runner_run(self._handle, _c.text(sql), rows, int(seconds * 1000), byref(result), byref(sentence))
        _check(code, sentence)
        try:
            columns = [_c.from_text(_lib.zeac_rows_column(result, i))
                       for i in range(_lib.zeac_rows_column_count(result))]
            cells = [tuple(self._cell(result, row, column) for column in range(len(columns)))
                     for row in range(_lib.zeac_rows_count(result))]
            return Rows(columns, cells, bool(_lib.zeac_rows_are_cut(result)))
        finally:
            _lib.zeac_rows_free(result)

    @staticmethod
    def _cell(result: c_void_p, row: int, column: int) -> str | bytes | None:
        kind = c_uint32()
        value = _lib.zeac_rows_cell(result, row, column, byref(kind))
        if kind.value == 0:
            return None
        return ctypes.string_at(value.data, value.size) if kind.value == 2 else _c.from_text(value)

    def cancel(self) -> None:
        """Ends the statement that is running; any thread."""
        _lib.zeac_runner_cancel(self._handle)


def version() -> str:
    """The library's version."""
    return _lib.zeac_version_text().decode()


def estimate_tokens(text: str) -> int:
    """About how many tokens a text takes."""
    return _lib.zeac_estimate_tokens(_c.text(text))


def first_statement(reply: str) -> str:
    """The first statement of a reply; empty without one."""
    place = c_void_p()
    _check(_lib.zeac_first_statement(_c.text(reply), byref(place)))
    return _c.take_string(place)


def mask_secret(text: str, secret: str) -> str:
    """The text with the secret masked wherever it stands."""
    place = c_void_p()
    _check(_lib.zeac_mask_secret(_c.text(text), _c.text(secret), byref(place)))
    return _c.take_string(place)


def fit(document: str, question: str, budget: int = 8000) -> str:
    """Of a structure document, what a question needs within so many tokens."""
    return _c.take_string(_call("zeac_fit", _c.text(document), _c.text(question), budget))


def sqlite_structure(file: str) -> Structure:
    """The structure of an SQLite file, which is only read."""
    document, instructions, sentence = c_void_p(), c_void_p(), c_void_p()
    code = _lib.zeac_sqlite_structure(_c.text(file), byref(document), byref(instructions), byref(sentence))
    _check(code, sentence)
    pairs = _c.take_strings(instructions)
    return Structure(_c.take_string(document), dict(zip(pairs[::2], pairs[1::2])))


def set_http_settings(*, connect_timeout: float = 0, request_timeout: float | None = 0, proxy: str = "",
                      proxy_bypass: str = "", ca_file: str = "", user_agent: str = "") -> None:
    """Settings of all requests of the process; not while one is running. Times in seconds; 0: the usual one; None: no
    limit."""
    settings = _c.HttpSettings(
        ctypes.sizeof(_c.HttpSettings), int(connect_timeout * 1000), int((request_timeout or 0) * 1000),
        request_timeout is None, 0, _c.text(proxy), _c.text(proxy_bypass), _c.text(ca_file), _c.text(user_agent))
    _check(_lib.zeac_set_http_settings(byref(settings)))


_localizer = None  # the library calls it as long as it is set


def set_localizer(localize: Callable[[str], str | None] | None) -> None:
    """Translates the library's own texts: `localize` takes an English one and returns the user's, or None to leave it.

    Called on the thread of the failing operation; what it raises leaves the text in English. None removes it. To be set
    while no question is running.
    """
    global _localizer

    def call(_: int | None, english: bytes, place: int, capacity: int) -> int:
        try:
            translated = localize(english.decode())
        except Exception:
            return 0
        if translated is None:
            return 0
        data = translated.encode("utf-8", "replace")[:capacity - 1]
        data = data.decode("utf-8", "ignore").encode()  # no character is cut in two
        ctypes.memmove(place, data + b"\0", len(data) + 1)
        return 1

    kept = _c.Localizer(call) if localize is not None else _c.Localizer()
    _lib.zeac_set_localizer(kept, None)
    _localizer = kept
