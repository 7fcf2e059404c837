"""What the library should give for a moment, computed in another way: year by year and in 64
bits."""

import datetime
import re

FOLD_YEARS = 28
FOLD_SECONDS = 883612800
DAY = 86400
EPOCH = datetime.datetime(1970, 1, 1)


def leap(year):
    return year % 4 == 0


def civil(days):
    """Year, month and day of a day since 1970-01-01 in a calendar whose every fourth year is a leap year."""
    year = 1970
    while days >= 365 + leap(year):
        days -= 365 + leap(year)
        year += 1
    lengths = [31, 28 + leap(year), 31, 30, 31, 30, 31, 31, 30, 31, 30, 31]
    month = 1
    while days >= lengths[month - 1]:
        days -= lengths[month - 1]
        month += 1
    return year, month, days + 1


def date_text(local_stamp):
    year, month, day = civil(local_stamp // DAY)
    return f"{month:02}/{day:02}/{year:04}"


def fold(stamp):
    """A stamp that 31 bits hold, and the years taken from it."""
    years = 0
    while stamp >= 2**31:
        stamp -= FOLD_SECONDS
        years += FOLD_YEARS
    return stamp, years


class Zone:
    """A zone by its rule, such as CET-1CEST,M3.5.0,M10.5.0/3."""

    def __init__(self, rule):
        self.west = 3600 * int(re.match(r"[A-Z]+([+-]?\d+)", rule)[1])
        self.changes = [(int(m), int(w), int(h or 2))
                        for m, w, h in re.findall(r",M(\d+)\.(\d)\.0(?:/(\d+))?", rule)]

    def _change(self, year, number):
        """The moment of a change of `year`: a Sunday, at an hour of the time that is in force before it."""
        month, week, hour = self.changes[number]
        first = datetime.datetime(year, month, 1)
        sunday = first + datetime.timedelta(days=(6 - first.weekday()) % 7 + 7 * (week - 1))
        if sunday.month != month:
            sunday -= datetime.timedelta(days=7)
        saved = 3600 * number
        return int((sunday - EPOCH).total_seconds()) + 3600 * hour + self.west - saved

    def is_summer(self, moment):
        standard = EPOCH + datetime.timedelta(seconds=moment - self.west)
        start, end = self._change(standard.year, 0), self._change(standard.year, 1)
        return start <= moment < end if start < end else not end <= moment < start


class Expected:
    """The library's figures for a moment of the kernel's clock, seconds since 1970-01-01 00:00:00 UTC.

    Where time_t has 32 bits, the zone's rules are those of the folded year; elsewhere the true
    year's.
    """

    def __init__(self, moment, zone, bits):
        self.stamp = moment % 2**32
        in_force = moment
        if bits == 32:
            in_force = fold(self.stamp)[0]
        self.offset = zone.west - 3600 * zone.is_summer(in_force)
        self.local = (self.stamp - self.offset) % 2**32
        self.date = date_text(self.local)
        hour, rest = divmod(in_force - self.offset, 3600)
        self.time = f"{hour % 24:2}:{rest // 60:02}:{rest % 60:02}"


def fields(stamp, zone=None):
    """The fields of wek_gmtime(), or with a zone of wek_localtime(), as the report prints them."""
    folded, years = fold(stamp)
    summer = zone is not None and zone.is_summer(folded)
    shift = zone.west - 3600 * summer if zone is not None else 0
    moment = EPOCH + datetime.timedelta(seconds=folded - shift)
    return (f"{moment.year + years}-{moment:%m-%d %H:%M:%S} weekday {moment.isoweekday() % 7} "
            f"day {moment.timetuple().tm_yday - 1} dst {summer:d}")


def uuid_times(seconds, microseconds):
    """The digits of a moment in a UUID."""
    since_1980 = (seconds - 315532800) % 2**32
    if since_1980 >= 2**31:
        since_1980 -= 2**32
    tick = microseconds // 4
    ticks = 250000 * since_1980 + tick
    high = abs(ticks) // 65535 * (1 if ticks >= 0 else -1)
    return f"{high % 2**32:08x}{tick % 65536:04x}"
