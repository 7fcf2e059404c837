#!/usr/bin/env python3
"""Three families from Python: calendar, tokens and names. The module orla.py stands beside this file."""

import orla

print(f"today is {orla.date_to_string(orla.wek_date_stamp())} to {orla.orla_get_user_name()}")
print(f"ten days after 12/25/2007 is {orla.date_to_string(orla.string_to_date('12/25/2007') + 10)}")
tokens = list(orla.tokens('"alpha" "two words"'))
print(f"{len(tokens)} tokens")
