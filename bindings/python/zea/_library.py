# SPDX-License-Identifier: Apache-2.0
"""libzeac, as ctypes sees it."""

from __future__ import annotations

import ctypes
import os
from ctypes import POINTER, c_char_p, c_double, c_int32, c_int64, c_size_t, c_uint32, c_uint64, c_void_p

NAME = "libzeac.so.0.1"


class Text(ctypes.Structure):
    """Bytes with their length."""

    _fields_ = [("data", c_char_p), ("size", c_size_t)]


class TextOut(ctypes.Structure):
    """The same as a result, whose bytes may hold NUL."""

    _fields_ = [("data", c_void_p), ("size", c_size_t)]


SetDocument = ctypes.CFUNCTYPE(c_int32, c_void_p, TextOut)
GetDocument = ctypes.CFUNCTYPE(c_int32, c_void_p, c_void_p)
AddEntry = ctypes.CFUNCTYPE(c_int32, c_void_p, c_int32, TextOut)
GetEntries = ctypes.CFUNCTYPE(c_int32, c_void_p, c_int32, c_void_p)
Localizer = ctypes.CFUNCTYPE(c_int32, c_void_p, c_char_p, c_void_p, c_size_t)


class MemoryFunctions(ctypes.Structure):
    _fields_ = [
        ("record_size", c_size_t),
        ("context", c_void_p),
        ("set_structure_document", SetDocument),
        ("structure_document", GetDocument),
        ("add_entry", AddEntry),
        ("entries", GetEntries),
    ]


class AssistantOptions(ctypes.Structure):
    _fields_ = [
        ("record_size", c_size_t),
        ("provider", c_uint32),
        ("key", Text),
        ("host", Text),
        ("memory", c_void_p),
        ("cancel", c_void_p),
    ]


class HttpSettings(ctypes.Structure):
    _fields_ = [
        ("record_size", c_size_t),
        ("connect_timeout_ms", c_int64),
        ("request_timeout_ms", c_int64),
        ("has_no_time_limit", c_int32),
        ("max_response_bytes", c_uint64),
        ("proxy_url", Text),
        ("proxy_bypass", Text),
        ("ca_file", Text),
        ("user_agent", Text),
    ]


_PLACE = POINTER(c_void_p)
_PROTOTYPES = {
    "zeac_version": (c_uint32, []),
    "zeac_version_text": (c_char_p, []),
    "zeac_string_text": (TextOut, [c_void_p]),
    "zeac_string_free": (None, [c_void_p]),
    "zeac_strings_count": (c_size_t, [c_void_p]),
    "zeac_strings_at": (TextOut, [c_void_p, c_size_t]),
    "zeac_strings_free": (None, [c_void_p]),
    "zeac_cancel_create": (c_int32, [_PLACE]),
    "zeac_cancel_now": (None, [c_void_p]),
    "zeac_cancel_free": (None, [c_void_p]),
    "zeac_memory_create": (c_int32, [POINTER(MemoryFunctions), _PLACE]),
    "zeac_memory_free": (None, [c_void_p]),
    "zeac_sink_text": (c_int32, [c_void_p, Text]),
    "zeac_sink_entry": (c_int32, [c_void_p, c_int32, Text]),
    "zeac_assistant_create": (c_int32, [POINTER(AssistantOptions), _PLACE, _PLACE]),
    "zeac_assistant_free": (None, [c_void_p]),
    "zeac_assistant_set_text": (c_int32, [c_void_p, Text, Text, _PLACE]),
    "zeac_assistant_set_integer": (c_int32, [c_void_p, Text, c_int32, _PLACE]),
    "zeac_assistant_set_number": (c_int32, [c_void_p, Text, c_double, _PLACE]),
    "zeac_assistant_set_instruction": (c_int32, [c_void_p, Text, Text, _PLACE]),
    "zeac_assistant_text": (c_int32, [c_void_p, Text, _PLACE, _PLACE]),
    "zeac_assistant_endpoint": (c_int32, [c_void_p, _PLACE, _PLACE]),
    "zeac_assistant_ask": (c_int32, [c_void_p, Text, _PLACE, _PLACE]),
    "zeac_assistant_models": (c_int32, [c_void_p, _PLACE, _PLACE]),
    "zeac_assistant_last_status": (c_int32, [c_void_p]),
    "zeac_set_http_settings": (c_int32, [POINTER(HttpSettings)]),
    "zeac_set_localizer": (None, [Localizer, c_void_p]),
    "zeac_mask_secret": (c_int32, [Text, Text, _PLACE]),
    "zeac_estimate_tokens": (c_size_t, [Text]),
    "zeac_fit": (c_int32, [Text, Text, c_size_t, _PLACE, _PLACE]),
    "zeac_first_statement": (c_int32, [Text, _PLACE]),
    "zeac_sqlite_structure": (c_int32, [Text, _PLACE, _PLACE, _PLACE]),
    "zeac_sqlite_runner_open": (c_int32, [Text, _PLACE, _PLACE]),
    "zeac_runner_free": (None, [c_void_p]),
    "zeac_runner_run": (c_int32, [c_void_p, Text, c_size_t, c_int64, _PLACE, _PLACE]),
    "zeac_runner_cancel": (None, [c_void_p]),
    "zeac_rows_count": (c_size_t, [c_void_p]),
    "zeac_rows_column_count": (c_size_t, [c_void_p]),
    "zeac_rows_column": (TextOut, [c_void_p, c_size_t]),
    "zeac_rows_cell": (TextOut, [c_void_p, c_size_t, c_size_t, POINTER(c_uint32)]),
    "zeac_rows_are_cut": (c_int32, [c_void_p]),
    "zeac_rows_free": (None, [c_void_p]),
}


def _load() -> ctypes.CDLL:
    """The library that ZEA_LIBRARY names, or the installed one."""
    library = ctypes.CDLL(os.environ.get("ZEA_LIBRARY", NAME))
    for name, (result, arguments) in _PROTOTYPES.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return library


library = _load()


def text(value: str | bytes | None) -> Text:
    """A text to hand in. A lone surrogate, which no UTF-8 has, becomes a question mark."""
    if value is None:
        return Text(None, 0)
    data = value if isinstance(value, bytes) else value.encode("utf-8", "replace")
    return Text(data, len(data))


def from_text(value: TextOut) -> str:
    """A text that was handed out; what is no UTF-8 in it becomes U+FFFD."""
    return ctypes.string_at(value.data, value.size).decode("utf-8", "replace") if value.size else ""


def take_string(place: c_void_p) -> str:
    """The text of a string, which is freed."""
    try:
        return from_text(library.zeac_string_text(place))
    finally:
        library.zeac_string_free(place)


def take_strings(place: c_void_p) -> list[str]:
    """The texts of a list, which is freed."""
    try:
        return [from_text(library.zeac_strings_at(place, i)) for i in range(library.zeac_strings_count(place))]
    finally:
        library.zeac_strings_free(place)
