"""What a change makes of a record."""

import copy
import unittest

from ansible_collections.veltaro.kzm.plugins.module_utils import wanted
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure

USAGE = {"MonitoringEnable": True, "SamplingInterval": 60, "SamplingCount": 5, "Threshold": 90}
PRESENT = {
    "SyslogOutputConf": {"SyslogOutput": True, "InformationAlert": False, "WarningAlert": True,
                         "ObstacleAlert": True},
    "UsageMonitorConfCpu": USAGE,
    "UsageMonitorConfMemory": USAGE,
    "FsUsageMonitorConf": {
        "MonitoringEnable": True, "SamplingInterval": 300, "SamplingCount": 2, "FsThresholdConfList": [
            {"VolumeName": "/", "Threshold": 85, "VolMonitoringEnable": True},
            {"VolumeName": "/srv", "Threshold": 80, "VolMonitoringEnable": False},
            {"VolumeNameBytes": "2fff", "Threshold": 80, "VolMonitoringEnable": False}]},
}


def of_cpu(**members):
    """A part of a record."""
    return {"UsageMonitorConfCpu": members}


def of_volume(name, **members):
    """A part of a record."""
    return {"FsUsageMonitorConf": {"FsThresholdConfList": [{"VolumeName": name, **members}]}}


class Changes(unittest.TestCase):
    """What changes."""

    def test_changes(self):
        rows = [
            ({}, []),
            (of_cpu(Threshold=90), []),
            (of_cpu(Threshold=75), [("cpu.threshold", 90, 75)]),
            ({"SyslogOutputConf": {"InformationAlert": True}}, [("syslog.information", False, True)]),
            (of_volume("/", Threshold=85), []),
            (of_volume("/srv", VolMonitoringEnable=True), [("fs:/srv.enable", False, True)]),
            (of_volume("/srv", Threshold=0), []),
            (of_volume("/", Threshold=0), [("fs:/.threshold", 85, 80)]),
            ({"FsUsageMonitorConf": {"FsThresholdConfList": [
                {"VolumeNameBytes": "2FFF", "Threshold": 3}]}}, [("fs:/\\xff.threshold", 80, 3)]),
            ({"FsUsageMonitorConf": {"MonitoringEnable": False}},
             [("fs.enable", True, False), ("fs:/.enable", True, False)]),
        ]
        for given, changes in rows:
            with self.subTest(given):
                present = copy.deepcopy(PRESENT)
                change = wanted.Change(present, given)
                self.assertEqual([{"key": key, "old": old, "new": new} for key, old, new in changes],
                                 change.changes())
                self.assertEqual(PRESENT, present)

    def test_doubts(self):
        rows = [
            (of_cpu(Threshold=75), ""),
            (of_cpu(Threshold=100, SamplingInterval=2147483647), ""),
            (of_cpu(Threshold=101), "cpu.threshold: 101 is no percentage"),
            (of_cpu(Threshold=0), "cpu.threshold: 0 is no percentage"),
            (of_cpu(SamplingInterval=0), "cpu.interval: 0 gives the agent nothing"),
            (of_cpu(SamplingCount=2147483648), "cpu.count: 2147483648 would stand"),
            (of_volume("/", Threshold=0), "fs:/.threshold: 0 is no percentage"),
            ({"FsUsageMonitorConf": {"MonitoringEnable": False}}, "own switch is turned off.*: /[.]"),
        ]
        for given, doubt in rows:
            with self.subTest(given):
                doubts = wanted.Change(PRESENT, given).doubts
                self.assertEqual(1 if doubt else 0, len(doubts))
                self.assertRegex("".join(doubts), doubt or "^$")

    def test_file_systems_that_are_not_mounted(self):
        change = wanted.Change(PRESENT, of_volume("/gone", Threshold=3))
        self.assertEqual(["/gone"], change.unmounted)
        self.assertEqual([], change.changes())

    def test_refusals(self):
        twice = of_volume("/")
        twice["FsUsageMonitorConf"]["FsThresholdConfList"] *= 2
        rows = [(of_cpu(SamplingCount=-1), "UsageMonitorConfCpu.SamplingCount must be a whole number from 0"),
                (of_cpu(Threshold=2**31), "from -2147483648 to 2147483647, not 2147483648"),
                (of_volume("/srv", Threshold=2**31), "/srv: Threshold must be"),
                (twice, "given twice")]
        for given, message in rows:
            with self.subTest(given), self.assertRaisesRegex(Failure, message):
                wanted.Change(PRESENT, given)


if __name__ == "__main__":
    unittest.main()
