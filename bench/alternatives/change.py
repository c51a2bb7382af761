#!/usr/bin/env python3
"""Load, change and save with regular expressions: the script that an administrator would write.

    change.py AGENT.CFG ALERT.CFG
"""

import re
import sys

SWITCH = re.compile(r"^(SyslogOutput|InformationAlert|WarningAlert|ObstacleAlert)\s*=\s*(True|False)")
MONITOR = re.compile(r"^(CPU|MEMORY|FILESYSTEM)=\(([^)]*)\)")
VOLUME = re.compile(r'^(#KZM# \t)?FSNAME="([^"]*)"\s*\((\d+)\)')


def load(path):
    with open(path, encoding="utf-8") as file:
        return file.read().splitlines()


def parse(agent, alert):
    switches = {found[1]: found[2] for line in agent if (found := SWITCH.match(line))}
    monitors = {}
    volumes = {}
    for line in alert:
        if found := MONITOR.match(line):
            monitors[found[1]] = [field.strip() for field in found[2].split(",")]
        elif found := VOLUME.match(line):
            volumes[found[2]] = (found[1] is None, int(found[3]))
    return switches, monitors, volumes


def change(switches, monitors, volumes):
    switches["SyslogOutput"] = "False"
    monitors["CPU"][0] = "False"
    monitors["CPU"][3] = "85"
    for name in volumes:
        volumes[name] = (True, 85)


def agent_line(line, switches):
    found = SWITCH.match(line)
    return line[: found.start(2)] + switches[found[1]] + line[found.end(2) :] if found else line


def alert_line(line, monitors, volumes):
    if found := MONITOR.match(line):
        return f"{found[1]}=({', '.join(monitors[found[1]])})" + line[found.end() :]
    if found := VOLUME.match(line):
        enabled, threshold = volumes[found[2]]
        return ("" if enabled else "#KZM# \t") + f'FSNAME="{found[2]}"   ({threshold})'
    return line


def save(path, lines):
    with open(path, "w", encoding="utf-8") as file:
        file.writelines(line + "\n" for line in lines)


def main(agent_path, alert_path):
    agent = load(agent_path)
    alert = load(alert_path)
    switches, monitors, volumes = parse(agent, alert)
    change(switches, monitors, volumes)
    save(agent_path, [agent_line(line, switches) for line in agent])
    save(alert_path, [alert_line(line, monitors, volumes) for line in alert])


main(*sys.argv[1:])
