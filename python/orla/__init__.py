"""orla for Python: the types Uuid, Date and Profile, and every function and variable of
liborla.so.1 by its own name.

- A function returns its results: a number, a text, a tuple. Texts are str, in the encoding of file
  names; what takes a text takes bytes too.
- A failure raises an OrlaError; most are a ValueError, LookupError or KeyError as well. What C
  leaves to the caller (a month of 13, a modulus of 0, a record that was freed) is checked.
- Variables are attributes of the object "variables", such as variables.orlalib_verbose = 255.

The library is found where the system finds libraries, or is the file that the environment variable
ORLA_LIBRARY names. Python loads libraries of its own word size only. As in C, calls that share
state need a lock in programs with threads.
"""

from orla._byteorder import *
from orla._date import *
from orla._errors import *
from orla._inventory import *
from orla._loader import *
from orla._names import *
from orla._profile import *
from orla._stream import *
from orla._table import *
from orla._time import *
from orla._token import *
from orla._trace import *
from orla._uuid import *
from orla._variables import *

__version__ = "1.0.0"
__all__ = [name for name in globals() if not name.startswith("_")]  # so that help() shows all of it
