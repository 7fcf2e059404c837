"""Tokens: the text between pairs of a delimiter."""

from __future__ import annotations

import ctypes
import os
from collections.abc import Iterator
from typing import Any

from orla._errors import InvalidValue, TokenNotFound
from orla._library import Text, call, encoded, within

__all__ = ["count_delimited_tokens_in_string", "get_delimited_token_in_string",
           "get_first_delimited_token_in_string", "tokens"]


def _delimiter(delimiter: Text) -> bytes:
    data = encoded(delimiter)
    if len(data) != 1:
        raise InvalidValue("a delimiter is one byte")
    return data


def _token(name: str, text: Text, out_size: int | None, *between: Any) -> tuple[str, str]:
    data = ctypes.create_string_buffer(encoded(text))
    size = len(data) if out_size is None else within("a size", out_size, 0, 0x7FFFFFFF)
    out = ctypes.create_string_buffer(max(size, 1))
    rest = call(name, ctypes.cast(data, ctypes.c_char_p), *between, out, size)
    if rest is None:
        raise TokenNotFound("there is no such token, or it does not fit")
    return os.fsdecode(out.value), os.fsdecode(data.raw[rest - ctypes.addressof(data):-1])


def get_first_delimited_token_in_string(text: Text, delimiter: Text = '"',
                                        out_size: int | None = None) -> tuple[str, str]:
    """The first token of a text, and the rest of the text. TokenNotFound when there is none, or
    when it has more than out_size - 1 bytes."""
    return _token("get_first_delimited_token_in_string", text, out_size, _delimiter(delimiter))


def get_delimited_token_in_string(text: Text, index: int, delimiter: Text = '"',
                                  out_size: int | None = None) -> tuple[str, str]:
    """The token at an index, and the rest of the text. Found only when all tokens before it are
    empty."""
    return _token("get_delimited_token_in_string", text, out_size,
                  within("an index", index, -0x8000, 0x7FFF), _delimiter(delimiter))


def count_delimited_tokens_in_string(text: Text, delimiter: Text = '"') -> int:
    """The number of tokens, counted in 16 bits."""
    return int(call("count_delimited_tokens_in_string", encoded(text), _delimiter(delimiter)))


def tokens(text: Text, delimiter: Text = '"') -> Iterator[str]:
    """All tokens of a text; each search starts after the token before."""
    rest: Text = text
    while True:
        try:
            token, rest = get_first_delimited_token_in_string(rest, delimiter)
        except TokenNotFound:
            return
        yield token
