"""The settings of the log-monitoring agent, as options of a module and as the tool's record.

An option has the name of its property in the class definitions, in snake_case. What follows from a
name is in no table: the tables below hold the properties and their types alone.
"""

import re

# Properties and their CIM types; those of a record in another table, by its name.
SYSLOG = (
    ("SyslogOutput", "boolean"),
    ("InformationAlert", "boolean"),
    ("WarningAlert", "boolean"),
    ("ObstacleAlert", "boolean"),
)
SAMPLING = (
    ("MonitoringEnable", "boolean"),
    ("SamplingInterval", "uint32"),
    ("SamplingCount", "uint32"),
)
USAGE = SAMPLING + (("Threshold", "sint32"),)
VOLUME = (
    ("Threshold", "sint32"),
    ("VolMonitoringEnable", "boolean"),
)
PARTS = (
    ("SyslogOutputConf", SYSLOG),
    ("UsageMonitorConfCpu", USAGE),
    ("UsageMonitorConfMemory", USAGE),
    ("FsUsageMonitorConf", SAMPLING),
)
FILE_SYSTEMS = "FsUsageMonitorConf"
VOLUMES = "FsThresholdConfList"  # of FILE_SYSTEMS
NAME = "VolumeName"
NAME_BYTES = "VolumeNameBytes"  # in hexadecimal, where the name is not UTF-8

RANGES = {"uint32": (0, 2**32 - 1), "sint32": (-2**31, 2**31 - 1)}


def snake(name):
    """A property's name as that of an option."""
    return re.sub(r"(?<!^)([A-Z])", r"_\1", name).lower()


def argument_spec():
    """The option `settings`."""
    parts = {snake(part): {"type": "dict", "options": _members(members)} for part, members in PARTS}
    volume = _members(VOLUME)
    names = (snake(NAME), snake(NAME_BYTES))
    volume.update((name, {"type": "str"}) for name in names)
    parts[snake(FILE_SYSTEMS)]["options"][snake(VOLUMES)] = {
        "type": "list", "elements": "dict", "options": volume,
        "mutually_exclusive": [names], "required_one_of": [names]}
    return {"type": "dict", "options": parts}


def _members(members):
    return {snake(name): {"type": "bool" if kind == "boolean" else "int"} for name, kind in members}


def to_record(settings):
    """What was given of the option `settings`, as the record that the tool reads."""
    return _renamed(settings, _CIM_NAMES)


def from_record(record):
    """A record that the tool prints, as the option `settings` takes it."""
    return _renamed(record, _OPTION_NAMES)


def _renamed(value, names):
    if isinstance(value, dict):
        return {names[key]: _renamed(member, names) for key, member in value.items()
                if member is not None}
    if isinstance(value, list):
        return [_renamed(element, names) for element in value]
    return value


def _all_names():
    names = {NAME, NAME_BYTES, VOLUMES}
    for part, members in PARTS + ((VOLUMES, VOLUME),):
        names.update([part], (name for name, _kind in members))
    return names


_OPTION_NAMES = {name: snake(name) for name in _all_names()}
_CIM_NAMES = {option: name for name, option in _OPTION_NAMES.items()}
