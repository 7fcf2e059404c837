#!/usr/bin/env python3
"""Three families from Python, through ctypes: calendar, tokens and names.

    date_report.py [LIBRARY]        by default liborla.so.1, where the system finds it
"""

import ctypes
import sys

orla = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else "liborla.so.1")
orla.wek_date_stamp.restype = ctypes.c_uint16
orla.count_delimited_tokens_in_string.restype = ctypes.c_short
orla.count_delimited_tokens_in_string.argtypes = [ctypes.c_char_p, ctypes.c_char]


def date_text(number):
    text = ctypes.create_string_buffer(30)
    orla.date_to_string(text, ctypes.c_uint16(number))
    return text.value.decode()


def date_number(text):
    number = ctypes.c_uint16()
    if orla.string_to_date(text.encode(), ctypes.byref(number)) == 0:
        raise ValueError(f"{text} is not a date")
    return number.value


def user_name():
    name = ctypes.create_string_buffer(32)
    orla.orla_get_user_name(name)
    return name.value.decode(errors="replace")


print(f"today is {date_text(orla.wek_date_stamp())} to {user_name()}")
print(f"ten days after 12/25/2007 is {date_text(date_number('12/25/2007') + 10)}")
tokens = orla.count_delimited_tokens_in_string(b'"alpha" "two words"', b'"')
print(f"{tokens} tokens")
