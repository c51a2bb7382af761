#!/usr/bin/python
"""Tells the settings of the log-monitoring agent of a host, and the copies that are kept of them."""

DOCUMENTATION = """
---
module: logger_settings_info
short_description: Tell the settings of the log-monitoring agent
version_added: 34.1.0
description:
  - Tells the settings of the host's log-monitoring agent, the copies that are kept of them, and whether
    the agent runs, by way of C(loggerctl). Nothing is changed.
author:
  - the maintainers (@veltaro)
requirements:
  - the package kzm-logger-provider on the host
  - the rights of root on the host
options:
  gather:
    description:
      - What to tell. The history can be told also where the settings cannot be read.
    type: list
    elements: str
    choices: [settings, history, service]
    default: [settings, history, service]
  executable:
    description: The tool on the host.
    type: path
    default: /opt/veltaro/kzm/bin/loggerctl
notes:
  - Supports C(check_mode).
seealso:
  - module: veltaro.kzm.logger_settings
"""

EXAMPLES = """
- name: Read the settings of the host that is the pattern for others
  veltaro.kzm.logger_settings_info:
    gather: [settings]
  delegate_to: pattern.example.com
  run_once: true
  register: pattern

- name: Set all hosts to the same
  veltaro.kzm.logger_settings:
    settings: "{{ pattern.settings }}"
    skip_unmounted: true
"""

RETURN = """
settings:
  description: All settings, as the option I(settings) of M(veltaro.kzm.logger_settings) takes them.
  returned: when asked for
  type: dict
history:
  description: The kept copies, newest first, with C(id), C(time) in UTC, C(reason), C(differs), C(user),
    C(sudo_user), C(from) and C(missing).
  returned: when asked for
  type: list
  elements: dict
service:
  description: Whether the agent runs, C(running), C(stopped) or C(unknown).
  returned: when asked for
  type: str
"""

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.veltaro.kzm.plugins.module_utils import loggerctl, settings
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure

ALL = ["settings", "history", "service"]


def gather(tool, what):
    """What was asked for."""
    result = {}
    if "settings" in what:
        result["settings"] = settings.from_record(tool.run("get"))
    if "history" in what:
        result["history"] = [{settings.snake(name): value for name, value in entry.items()}
                             for entry in tool.run("history")]
    if "service" in what:
        result["service"] = tool.service_state()
    return result


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec={
            "gather": {"type": "list", "elements": "str", "choices": ALL, "default": ALL},
            "executable": {"type": "path", "default": loggerctl.PROGRAM},
        },
        supports_check_mode=True)
    try:
        module.exit_json(changed=False, **gather(loggerctl.Loggerctl(module), module.params["gather"]))
    except Failure as failure:
        module.fail_json(msg=str(failure), **failure.details)


if __name__ == "__main__":
    main()
