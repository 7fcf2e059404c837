"""Trace lines."""

from __future__ import annotations

import ctypes

from orla._library import Text, encoded, printing

__all__ = ["TavTrace"]


def TavTrace(message: Text | None) -> None:
    """Writes one trace line while a switch is on; None closes the trace file."""
    printing("TavTrace",
              None if message is None else ctypes.create_string_buffer(encoded(message)))
