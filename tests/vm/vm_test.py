#!/usr/bin/env python3
"""The library's answers on virtual machines: processors, memory, disks and clocks that no host here has.

    vm_test.py --report PROGRAM --tool PROGRAM --companion LIBRARY --guest FOLDER [CASE...]

A case is a machine, booted once for all its tests. Exits with 77 where a virtual machine is not to
be had.
"""

import argparse
import datetime
import json
import sys
import unittest

import virtual_machine
from calendar_model import EPOCH, Expected, Zone, fields, uuid_times

SKIPPED = 77
CENTRAL_EUROPE = "CET-1CEST,M3.5.0,M10.5.0/3"
EASTERN = "EST5EDT,M3.2.0,M11.1.0"
SYDNEY = "AEST-10AEDT,M10.1.0,M4.1.0/3"

OPTIONS = None


def utc(text):
    return int((datetime.datetime.fromisoformat(text) - EPOCH).total_seconds())


# Moments that the clock is set to, with the day in central Europe, written down by hand: after
# 2100-02-28 the library, to which 2100 is a leap year, is a day behind; its last local second is
# 2106-02-06 06:28:15, and then it begins again. On a slow host the library is asked up to a minute
# later, which no day here minds.
MOMENTS = {
    utc("2007-12-31T23:30:00"): "01/01/2008",
    utc("2038-01-19T03:14:04"): "01/19/2038",
    utc("2038-01-19T03:14:08"): "01/19/2038",
    utc("2040-01-15T22:30:00"): "01/15/2040",
    utc("2040-02-29T12:00:00"): "02/29/2040",
    utc("2040-03-25T00:59:50"): "03/25/2040",
    utc("2040-03-25T01:00:00"): "03/25/2040",
    utc("2040-07-15T22:30:00"): "07/16/2040",
    utc("2040-10-28T00:59:50"): "10/28/2040",
    utc("2040-10-28T01:00:00"): "10/28/2040",
    utc("2048-01-19T03:14:08"): "01/19/2048",
    utc("2066-01-19T03:14:08"): "01/19/2066",
    utc("2094-01-19T03:14:08"): "01/19/2094",
    utc("2100-02-28T12:00:00"): "02/28/2100",
    utc("2100-03-01T12:00:00"): "02/29/2100",
    utc("2100-07-15T22:30:00"): "07/15/2100",
    utc("2100-12-31T12:00:00"): "12/30/2100",
    utc("2106-02-07T05:20:00"): "02/06/2106",
    utc("2106-02-07T05:28:16"): "01/01/1970",
    utc("2106-02-07T06:28:16"): "01/01/1970",
}


def parse_clock(text):
    seconds, nanoseconds = text.split(".")
    return int(seconds), int(nanoseconds)


class Machine(unittest.TestCase):
    """What holds on every machine. The classes below say what each is, and what holds there alone."""

    maxDiff = None
    chipset = "pc"
    cpu = None
    smp = None
    memory = None  # MiB
    disks = 0
    kernel_parameters = ""
    clock = None  # what its battery-backed clock shows when it is switched on, UTC
    moments = ()  # what its clock is set to later

    @classmethod
    def setUpClass(cls):
        archive = virtual_machine.file_system(OPTIONS.guest, OPTIONS.report, OPTIONS.tool,
                                              OPTIONS.companion, cls.moments)
        cls.bits = 32 if virtual_machine.read(OPTIONS.report)[4] == 1 else 64
        cls.console = virtual_machine.boot(OPTIONS.guest, archive, cls)
        cls.answers = virtual_machine.sections(cls.console)
        if cls.answers is None:
            raise AssertionError(f"the machine did not come to its end:\n{cls.console}")

    def said(self, name):
        """The answers of a section whose questions were all answered."""
        self.assertIn(name, self.answers, self.console)
        section = self.answers[name]
        self.assertEqual(section.get("exit"), "0", self.heard(name))
        self.assertEqual(section["notes"], [], self.heard(name))
        return section

    def heard(self, name):
        return f"[{name}] the machine said: {self.answers.get(name)}"

    def assert_said(self, name, **expected):
        section = self.said(name)
        found = {key: section.get(key) for key in expected}
        self.assertEqual(found, {key: str(value) for key, value in expected.items()}, self.heard(name))

    def assert_processors(self, name, *, threads, kernel, method, count):
        self.assert_said(name, CPUID_is_supported=1, HTSupported=threads, ht_os_cpus=kernel,
                         method=method, count=count, **{"online.status": 0, "config.status": 0},
                         online=count, config=count)

    def assert_right_now(self, name, rule):
        """Holds the figures of a present that moved on while they were read against the kernel's clock."""
        section = self.said(name)
        zone = Zone(rule)
        before, after = (parse_clock(section[key]) for key in ("before", "after"))
        expected = [Expected(second, zone, self.bits) for second in range(before[0], after[0] + 1)]
        stamp = int(section["stamp"]) % 2**32
        with self.subTest(name):
            message = self.heard(name)
            self.assertIn(stamp, [moment.stamp for moment in expected], message)
            self.assertIn(int(section["offset"]), [moment.offset for moment in expected], message)
            self.assertIn(int(section["local"]), [moment.local for moment in expected], message)
            self.assertIn(section["date"], [moment.date for moment in expected], message)
            lines = [f"{moment.date} {moment.time} {section['process']} message" for moment in expected]
            self.assertIn(section["trace"], lines, message)
            self.assertEqual(section["stamp.gmtime"], fields(stamp), message)
            self.assertEqual(section["stamp.localtime"], fields(stamp, zone), message)
            self.assert_uuids(section, before, after, message)

    def assert_uuids(self, section, before, after, message):
        hosts = {"uuid": ".82.0a.00.02.03.00.00.00", "uuid.reserved": ".99.6f.72.6c.61.00.34.12"}
        for key, rest in hosts.items():
            text = section[key]
            self.assertEqual(text[12:], rest, message)
            # The ticks of 4 microseconds within a second that the low digits can stand for.
            ticks = range(int(text[8:12], 16), 250000, 65536)
            moments = [(second, tick) for second in range(before[0], after[0] + 1) for tick in ticks]
            times = [uuid_times(second, 4 * tick) for second, tick in moments
                     if (before[0], before[1] // 4000) <= (second, tick) <= (after[0], after[1] // 4000)]
            self.assertIn(text[:12], times, message)

    def assert_c_library_clock(self, name):
        """On 32 bits the C library must fail past 2038, or the library's own answer is not what is seen."""
        section = self.said(name)
        late = {self.bits == 32 and parse_clock(section[key])[0] >= 2**31 for key in ("before", "after")}
        expected = ["Value too large for defined data type" if fails else "answers" for fails in late]
        for call in ("time", "gettimeofday"):
            self.assertIn(section[f"c_library.{call}"], expected, self.heard(name))

    def test_clock_that_the_machine_was_switched_on_with(self):
        started = utc(self.clock)
        self.assertIn(parse_clock(self.said("now")["before"])[0], range(started, started + 600))
        self.assert_right_now("now", CENTRAL_EUROPE)
        self.assert_c_library_clock("now")

    def test_memory(self):
        section = self.said("host")
        total = int(section["meminfo"]) * 1024
        # The kernel keeps some for itself.
        self.assertGreater(total, (self.memory << 20) * 4 // 5, self.heard("host"))
        self.assertLess(total, self.memory << 20, self.heard("host"))
        # Over 4 GiB a 32-bit program is told pages, which are taken for bytes.
        if self.bits == 32 and total >= 2**32:
            total //= 4096
        self.assert_said("host", **{"memory.status": 0}, memory=total >> 20)

    def test_disks(self):
        self.assert_said("disks", **{"disks.status": 0}, disks=self.disks)
        self.assert_said("disks-as-user", **{"disks.status": 1}, disks=99)

    def test_host_identifier_is_the_address_of_an_interface_but_loopback(self):
        self.assert_said("identity", family=82, host="0a000203")
        section = self.said("identity-of-loopback")
        host = bytes.fromhex(section["host"])
        self.assertEqual(int.from_bytes(host, "little"), int(section["address"], 16))

    def test_names(self):
        self.assert_said("host", node="virtual", user="root", group="root")

    def test_tool_says_the_same(self):
        host = json.loads(self.said("tool")["host"])
        self.assertEqual(host["memory"]["total"], int(self.said("host")["meminfo"]) >> 10)
        self.assert_said("host", method=host["processors"]["method"], count=host["processors"]["count"],
                         ht_os_cpus=host["processors"]["kernel_figure"], memory=host["memory"]["size"])
        self.assert_said("disks", disks=host["disks"]["count"])

    def test_tool_tells_the_time(self):
        now = json.loads(self.said("tool")["now"])
        since = now["stamp"] % 2**32 - utc(self.clock)
        self.assertIn(since, range(600), now)
        expected = Expected(utc(self.clock) + since, Zone(CENTRAL_EUROPE), self.bits)
        self.assertEqual((now["offset"], now["local_stamp"], now["date"]),
                         (expected.offset, expected.local, expected.date))
        # This text reads a stamp past 2038 as one before 1970.
        signed = (expected.stamp ^ 2**31) - 2**31
        self.assertEqual(now["time"], f"{EPOCH + datetime.timedelta(seconds=signed):%c}")

    def test_profile_is_rewritten(self):
        self.assert_said("profile", replaced=1, added=1, int=7, string="h", mode=640, left=0,
                         text="[Main]|Port=7|Host=h||[Other]|A=1|")

    def test_trace_file_is_rotated(self):
        said = self.said("rotation")
        line, limit = int(said["line"]), int(said["limit"])
        self.assert_said("rotation", at_limit=f"{limit} -1", past_limit=f"-1 {limit + line}",
                         rotated=f"{line} {limit + line}")


class HyperThreading(Machine):
    """One package of two threads and three disks, in July 2040."""

    cpu = "qemu64,vendor=GenuineIntel,family=15"
    smp = "2,sockets=1,cores=1,threads=2"
    memory = 512
    disks = 3
    moments = MOMENTS
    clock = "2040-07-15T12:00:00"

    def test_machine_is_what_was_asked_for(self):
        self.assert_said("host", vendor="GenuineIntel", family_field=15, per_package_field=2,
                         siblings="2 2 ")
        self.assert_said("disks", kib="16384 5242880 3221225472 ")

    def test_one_package_is_counted(self):
        self.assert_processors("host", threads=2, kernel=2, method=1, count=1)

    def test_processor_that_is_offline_makes_the_kernels_figure_unusable(self):
        self.assert_processors("host-with-one-offline", threads=2, kernel=1, method=3, count=2)

    def test_release_2_6_means_cpuinfo(self):
        self.assertRegex(self.said("host-2.6")["release"], r"^2\.6\.\d+[-+]")
        self.assertNotRegex(self.said("host")["release"], r"^2\.")
        self.assert_processors("host-2.6", threads=2, kernel=2, method=1, count=1)

    def test_release_2_4_means_the_kernel_log(self):
        self.assert_said("host-2.4", release="2.4.18-3smp")
        self.assert_processors("host-2.4", threads=2, kernel=4, method=3, count=2)

    def test_kernel_log_that_may_not_be_read_ends_the_process(self):
        section = self.answers["host-2.4-as-user"]
        self.assertEqual(section["exit"], "1", self.heard("host-2.4-as-user"))
        self.assertEqual(section["notes"], ["klogctl: Operation not permitted"])
        self.assertNotIn("ht_os_cpus", section)

    def test_disks_count_by_their_names_up_to_y(self):
        self.assert_said("disks-by-other-names", **{"disks.status": 0}, disks=self.disks + 1)

    def test_day_and_offset_in_2040(self):
        self.assert_said("now", date="07/15/2040", offset=-7200)

    def test_every_moment_in_every_zone(self):
        for rule in (CENTRAL_EUROPE, EASTERN, SYDNEY):
            for moment, date in MOMENTS.items():
                name = f"{rule} {moment}"
                since = parse_clock(self.said(name)["before"])[0] - moment
                self.assertIn(since, range(60), self.heard(name))
                self.assert_right_now(name, rule)
                self.assert_c_library_clock(name)
                if rule == CENTRAL_EUROPE:
                    self.assert_said(name, date=date)


class TwoPackages(Machine):
    """Two packages of two threads, in July 2100."""

    cpu = "qemu64,vendor=GenuineIntel,family=15"
    smp = "4,sockets=2,cores=1,threads=2"
    memory = 256
    chipset = "q35"  # the other one has no century in its clock
    clock = "2100-07-15T12:00:00"

    def test_machine_is_what_was_asked_for(self):
        self.assert_said("host", vendor="GenuineIntel", family_field=15, per_package_field=2,
                         siblings="2 2 2 2 ")

    def test_figure_of_one_package_is_not_that_of_the_host(self):
        self.assert_processors("host", threads=2, kernel=2, method=3, count=4)

    def test_kernel_log_that_names_every_processor_counts_packages(self):
        self.assert_processors("host-2.4", threads=2, kernel=4, method=1, count=2)

    def test_day_is_one_behind_in_2100(self):
        self.assert_said("now", date="07/14/2100", offset=-7200)


class HalfAPackage(Machine):
    """A kernel that is to use one thread of two, on the day on which 31 bits no longer hold a stamp."""

    cpu = "qemu64,vendor=GenuineIntel,family=15"
    smp = "2,sockets=1,cores=1,threads=2"
    kernel_parameters = "nr_cpus=1"
    memory = 256
    clock = "2038-01-19T12:00:00"

    def test_machine_is_what_was_asked_for(self):
        self.assert_said("host", vendor="GenuineIntel", family_field=15, per_package_field=2,
                         siblings="1 ")

    def test_single_thread_is_one_processor(self):
        self.assert_processors("host", threads=2, kernel=1, method=3, count=1)

    def test_day_and_offset_in_2038(self):
        self.assert_said("now", date="01/19/2038", offset=-3600)


class OtherVendor(Machine):
    """Two threads that are not Intel's, with more memory than 32 bits count in bytes, in 2007."""

    cpu = "qemu64,vendor=AuthenticAMD,family=15"
    smp = "2,sockets=1,cores=1,threads=2"
    memory = 5120
    clock = "2007-07-15T12:00:00"

    def test_machine_is_what_was_asked_for(self):
        self.assert_said("host", vendor="AuthenticAMD", family_field=15, per_package_field=2)

    def test_threads_are_counted(self):
        self.assert_processors("host", threads=0, kernel=2, method=0, count=2)

    def test_day_and_offset_in_2007(self):
        self.assert_said("now", date="07/15/2007", offset=-7200)


class OtherFamily(Machine):
    """Two cores of two threads each, of Intel but not of family 15, in the winter of 2066."""

    cpu = "Nehalem"
    smp = "4,sockets=1,cores=2,threads=2"
    memory = 256
    clock = "2066-01-19T12:00:00"

    def test_machine_is_what_was_asked_for(self):
        self.assert_said("host", vendor="GenuineIntel", family_field=6, per_package_field=4)

    def test_threads_are_counted(self):
        self.assert_processors("host", threads=0, kernel=4, method=0, count=4)

    def test_day_and_offset_in_2066(self):
        self.assert_said("now", date="01/19/2066", offset=-3600)


def load_tests(loader, _, __):
    """Machine itself is none."""
    cases = (HyperThreading, TwoPackages, HalfAPackage, OtherVendor, OtherFamily)
    return unittest.TestSuite(loader.loadTestsFromTestCase(case) for case in cases)


def main():
    global OPTIONS
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--report", required=True)
    parser.add_argument("--tool", required=True)
    parser.add_argument("--companion", required=True)
    parser.add_argument("--guest", required=True)
    OPTIONS, cases = parser.parse_known_args()
    try:
        virtual_machine.require(OPTIONS.guest)
    except virtual_machine.Missing as missing:
        print(f"Skipped: {missing}")
        sys.exit(SKIPPED)
    unittest.main(argv=[sys.argv[0], *cases])


if __name__ == "__main__":
    main()
