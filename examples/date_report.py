#!/usr/bin/env python3
"""Dates, tokens and names from Python, by the package in python/ (Debian: python3-orla)."""

import orla

print(f"today is {orla.Date.today()} to {orla.orla_get_user_name()}")
print(f"ten days after 12/25/2007 is {orla.Date.parse('12/25/2007') + 10}")
tokens = list(orla.tokens('"alpha" "two words"'))
print(f"{len(tokens)} tokens")
