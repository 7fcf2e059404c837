"""Dates."""

from __future__ import annotations

import dataclasses
import datetime
from typing import overload

from orla._errors import InvalidValue
from orla._library import Text
from orla._time import data_to_date, date_to_string, k7_parse_date, wek_date_stamp

__all__ = ["Date"]

_NUMBER_OF_1970 = 59331  # date number of 1970-01-01; date numbers have 16 bits and wrap


@dataclasses.dataclass(frozen=True, order=True)
class Date:
    """A day of the library's calendar, 1970-01-01 to 2149-06-05, in which 2100 is a leap year.
    Made from year, month and day, or by today(), parse(), from_number() or from_date(). str()
    gives "MM/DD/YYYY".

    Dates are in the order of time and can be keys of a dict. A date plus or minus a number of
    days is a date; the difference of two dates is a number of days. Across 2100-02-29 a
    difference is one day more than datetime.date gives, a date plus days one day earlier, and a
    date minus days one day later. InvalidValue for a day that does not exist and for one out of
    this range."""

    year: int
    month: int
    day: int
    number: int = dataclasses.field(init=False, repr=False, compare=False)
    """The date number, 0 to 65535; 0 is 1986-12-28."""

    def __post_init__(self) -> None:
        number = data_to_date(self.year - 1900, self.month, self.day)
        # Years out of range wrap.
        if date_to_string(number) != str(self):
            raise InvalidValue(f"{self} has no date number: these are 01/01/1970 to 06/05/2149")
        object.__setattr__(self, "number", number)

    @classmethod
    def today(cls) -> Date:
        """The local day."""
        return cls.from_number(wek_date_stamp())

    @classmethod
    def parse(cls, text: Text) -> Date:
        """The date in a text, such as "12/31/2007", in the input mode of the process."""
        year, month, day = k7_parse_date(text)
        return cls(year + 1900, month, day)

    @classmethod
    def from_number(cls, number: int) -> Date:
        """The date of a date number."""
        month, day, year = map(int, date_to_string(number).split("/"))
        return cls(year, month, day)

    @classmethod
    def from_date(cls, date: datetime.date) -> Date:
        """The date with the same year, month and day. Of a datetime too: its time of day and its
        zone are dropped, so it is the day that the datetime shows, not the day of UTC."""
        return cls(date.year, date.month, date.day)

    def to_date(self) -> datetime.date:
        """The datetime.date with the same year, month and day. InvalidValue for 02/29/2100, the
        one day that datetime does not have."""
        try:
            return datetime.date(self.year, self.month, self.day)
        except ValueError as error:
            raise InvalidValue(f"datetime has no {self}") from error

    def isoformat(self) -> str:
        """ "YYYY-MM-DD"."""
        return f"{self.year:04}-{self.month:02}-{self.day:02}"

    def __str__(self) -> str:
        return f"{self.month:02}/{self.day:02}/{self.year:04}"

    def __add__(self, days: int) -> Date:
        if not isinstance(days, int):
            return NotImplemented
        since_1970 = self._since_1970() + days
        if not 0 <= since_1970 <= 0xFFFF:
            raise InvalidValue(f"{self} plus {days} days is outside 01/01/1970 to 06/05/2149")
        return Date.from_number((since_1970 + _NUMBER_OF_1970) & 0xFFFF)

    @overload
    def __sub__(self, other: Date) -> int: ...

    @overload
    def __sub__(self, other: int) -> Date: ...

    def __sub__(self, other: Date | int) -> int | Date:
        if isinstance(other, Date):
            return self._since_1970() - other._since_1970()
        return self + -other

    def _since_1970(self) -> int:
        return (self.number - _NUMBER_OF_1970) & 0xFFFF
