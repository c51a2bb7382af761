"""What a change makes of a record of settings, where no tool on the host is asked: the keys, rules and
warnings are those of loggerctl."""

from ansible_collections.veltaro.kzm.plugins.module_utils import settings
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure

DEFAULT_THRESHOLD = 80  # in the place of 0

# What loggerctl calls the parts of a record and their properties.
KEYS = {
    "SyslogOutputConf": ("syslog", {"SyslogOutput": "output", "InformationAlert": "information",
                                    "WarningAlert": "warning", "ObstacleAlert": "obstacle"}),
    "UsageMonitorConfCpu": ("cpu", {}),
    "UsageMonitorConfMemory": ("memory", {}),
    "FsUsageMonitorConf": ("fs", {}),
}
MEMBERS = {"MonitoringEnable": "enable", "VolMonitoringEnable": "enable", "SamplingInterval": "interval",
           "SamplingCount": "count", "Threshold": "threshold"}


class Change:
    """What is asked for of a host that has the `present` record: `given` holds some settings of it."""

    def __init__(self, present, given):
        self.unmounted = []  # the names of file systems that the host does not have
        self.doubts = []  # what wants the option force
        self._present = present
        self._given = given
        self.record = self._merged()
        self._find_doubts()
        self._normalise()

    def changes(self):
        """Each setting that is another one, as loggerctl tells it."""
        old = values(self._present)
        return [{"key": key, "old": old[key], "new": value}
                for key, value in values(self.record).items() if old[key] != value]

    def _merged(self):
        record = {}
        for part, members in settings.PARTS:
            given = self._given.get(part, {})
            record[part] = dict(self._present[part])
            record[part].update((name, check(f"{part}.{name}", kind, given[name]))
                                for name, kind in members if name in given)
        file_systems = self._given.get(settings.FILE_SYSTEMS, {})
        volumes = {identity(volume): dict(volume)
                   for volume in record[settings.FILE_SYSTEMS][settings.VOLUMES]}
        seen = set()
        for volume in file_systems.get(settings.VOLUMES, []):
            if identity(volume) in seen:
                raise Failure(f"The file system '{shown(volume)}' is given twice.")
            seen.add(identity(volume))
            if identity(volume) not in volumes:
                self.unmounted.append(shown(volume))
                continue
            volumes[identity(volume)].update(
                (name, check(f"{shown(volume)}: {name}", kind, volume[name]))
                for name, kind in settings.VOLUME if name in volume)
        record[settings.FILE_SYSTEMS][settings.VOLUMES] = list(volumes.values())
        return record

    def _find_doubts(self):
        is_monitored = self.record[settings.FILE_SYSTEMS]["MonitoringEnable"]
        asked = dict(values(self._given))
        for key, value in asked.items():
            doubt = _doubt(key, value)
            if doubt:
                self.doubts.append(f"{key}: {doubt}")
            if value is True and key.startswith("fs:") and not is_monitored:
                self.doubts.append(f"{key}: true has no effect while fs.enable is false: no file system "
                                   "is monitored then.")
        switched_on = [shown(volume) for volume in self._volumes() if volume["VolMonitoringEnable"]]
        if switched_on and not is_monitored:
            self.doubts.append("While fs.enable is false every file system's own switch is turned off, "
                               "and fs.enable does not turn it on again: " + ", ".join(switched_on) + ".")

    def _normalise(self):
        """Does what SetParameter does with what it is given."""
        for volume in self._volumes():
            if not self.record[settings.FILE_SYSTEMS]["MonitoringEnable"]:
                volume["VolMonitoringEnable"] = False
            if volume["Threshold"] == 0:
                volume["Threshold"] = DEFAULT_THRESHOLD

    def _volumes(self):
        return self.record[settings.FILE_SYSTEMS][settings.VOLUMES]


def values(record):
    """The settings of a record, or of a part of one, by their keys."""
    found = {}
    for part, members in settings.PARTS:
        group, names = KEYS[part]
        for name, _kind in members:
            if name in record.get(part, {}):
                found[f"{group}.{names.get(name) or MEMBERS[name]}"] = record[part][name]
    for volume in record.get(settings.FILE_SYSTEMS, {}).get(settings.VOLUMES, []):
        for name in ("VolMonitoringEnable", "Threshold"):
            if name in volume:
                found[f"fs:{shown(volume)}.{MEMBERS[name]}"] = volume[name]
    return found


def identity(volume):
    """A file system's name as bytes."""
    if settings.NAME in volume:
        return volume[settings.NAME].encode("utf-8")
    return bytes.fromhex(volume[settings.NAME_BYTES])


def shown(volume):
    """A file system's name as a person reads it."""
    return identity(volume).decode("utf-8", "backslashreplace")


def check(name, kind, value):
    """The value; a Failure where its type cannot hold it."""
    if kind in settings.RANGES:
        least, greatest = settings.RANGES[kind]
        if not least <= value <= greatest:
            raise Failure(f"{name} must be a whole number from {least} to {greatest}, not {value}.")
    return value


def _doubt(key, value):
    if key.endswith(".threshold") and not 1 <= value <= 100:
        return f"{value} is no percentage from 1 to 100."
    if key.endswith((".interval", ".count")) and value == 0:
        return "0 gives the agent nothing to sample by."
    if key.endswith((".interval", ".count")) and value > settings.RANGES["sint32"][1]:
        return f"{value} would stand in the agent's file as a negative number."
    return ""
