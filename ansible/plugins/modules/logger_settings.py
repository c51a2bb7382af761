#!/usr/bin/python
"""Changes or restores the settings of the log-monitoring agent of a host."""

DOCUMENTATION = """
---
module: logger_settings
short_description: Change or restore the settings of the log-monitoring agent
version_added: 34.1.0
description:
  - Changes the settings of the host's log-monitoring agent by way of C(loggerctl), and restarts the
    agent when something has changed. What is so already is left alone, and so is the agent then.
  - Both settings files are kept before each change. I(state=restored) puts them back.
  - All that can be found wrong is found before the agent is stopped. A failure says what state the
    host is in and which commands mend it.
author:
  - the maintainers (@veltaro)
requirements:
  - the package kzm-logger-provider on the host
  - the rights of root on the host
extends_documentation_fragment:
  - veltaro.kzm.settings
options:
  state:
    description:
      - C(present) gives the settings in I(settings) their values.
      - C(restored) puts both settings files back as they are in the copy I(history_id).
    type: str
    choices: [present, restored]
    default: present
  history_id:
    description:
      - The ID of a copy in the host's history, for example C(20261121-083000-001).
      - Required with I(state=restored), and with it alone.
    type: str
  service:
    description:
      - C(started) also starts an agent that does not run, where nothing else is to be changed. The
        device description must have a line C(ServiceStatus) for it.
      - C(unmanaged) leaves such an agent as it is. One that is restarted by a change runs all the same.
    type: str
    choices: [started, unmanaged]
    default: started
  wait:
    description: How many seconds to wait for other changes of the same host.
    type: int
    default: 60
  executable:
    description: The tool on the host.
    type: path
    default: /opt/veltaro/kzm/bin/loggerctl
notes:
  - Supports C(check_mode). Rights and room on the host's disk are then not looked at.
  - Supports C(--diff), with the unified difference of both settings files.
seealso:
  - module: veltaro.kzm.logger_settings_info
  - module: veltaro.kzm.logger_settings_wbem
"""

EXAMPLES = """
- name: Alert earlier, and watch /srv
  veltaro.kzm.logger_settings:
    settings:
      usage_monitor_conf_cpu:
        threshold: 75
      fs_usage_monitor_conf:
        fs_threshold_conf_list:
          - volume_name: /srv
            threshold: 90
            vol_monitoring_enable: true
    skip_unmounted: true
  register: changed_settings

- name: Take the change back
  veltaro.kzm.logger_settings:
    state: restored
    history_id: "{{ changed_settings.history_id }}"
  when: changed_settings is changed
"""

RETURN = """
changes:
  description: The settings that have other values now, or would have; not with I(state=restored).
  returned: success
  type: list
  elements: dict
  sample: [{"key": "cpu.threshold", "old": 90, "new": 75}]
history_id:
  description: The copy of both files as they were before; null when there was no change.
  returned: success
  type: str
  sample: 20261121-083000-001
service_restarted:
  description: The agent was restarted, or started where it did not run.
  returned: success
  type: bool
service:
  description: Whether the agent runs, C(running), C(stopped) or C(unknown).
  returned: success
  type: str
error:
  description: The failure in the tool's own words, with the C(code) and C(name) of its kind.
  returned: when the tool failed
  type: dict
  sample: {"code": 7, "name": "busy", "message": "Nothing was changed.", "reasons": []}
stage:
  description: How far a change had come.
  returned: when a change had begun and failed
  type: str
  sample: stop-failed
host_state:
  description: The state that the host is left in, with C(service), C(files) and C(difference).
  returned: when a change had begun and failed
  type: dict
recover_with:
  description: The commands that mend the host.
  returned: when a change had begun and failed
  type: list
  elements: str
  sample: ["loggerctl restore 20261121-083000-001"]
"""

import re

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.veltaro.kzm.plugins.module_utils import loggerctl, settings
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure

# What the history gives as an ID. Its numbers are no IDs here: they mean another copy after each change.
HISTORY_ID = re.compile(r"[0-9]{8}-[0-9]{6}-[0-9]{3,}")


def run(tool, module):
    """Does what the options ask for, and gives the module's result."""
    document = change_settings(tool, module)
    result = {
        "changed": document["changed"],
        "history_id": document["history_id"],
        "service_restarted": document["changed"],
        "service": "running",
        "diff": {"prepared": document["difference"]},
    }
    if "settings" in document:
        result["changes"] = document["settings"]
    if not document["changed"]:
        result.update(leave_running(tool, module))
    return result


def change_settings(tool, module):
    """The answer of the tool to the change, or to its rehearsal."""
    options = module.params
    words = ["--force"] if options["force"] else []
    words += ["--dry-run"] if module.check_mode else ["--wait", str(options["wait"])]
    record = None
    if options["state"] == "restored":
        words = ["restore"] + words + [options["history_id"]]
    else:
        words = ["set"] + words + ["--json", "-"]
        words += ["--skip-unmounted"] if options["skip_unmounted"] else []
        record = settings.to_record(options["settings"])
    document = tool.run(*words, record=record)
    if document.get("needs_force") and not options["force"]:
        raise Failure("The change needs the option force; the warnings say why.",
                      diff={"prepared": document["difference"]})
    return document


def leave_running(tool, module):
    """Starts an agent that does not run, if that is wanted, where the settings are right already."""
    state = tool.service_state()
    starts = state == "stopped" and module.params["service"] == "started"
    if starts and not module.check_mode:
        state = tool.run("service", "--wait", str(module.params["wait"]), "start")["state"]
    return {"changed": starts, "service_restarted": starts, "service": state}


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec={
            "settings": settings.argument_spec(),
            "skip_unmounted": {"type": "bool", "default": False},
            "force": {"type": "bool", "default": False},
            "state": {"choices": ["present", "restored"], "default": "present"},
            "history_id": {},
            "service": {"choices": ["started", "unmanaged"], "default": "started"},
            "wait": {"type": "int", "default": 60},
            "executable": {"type": "path", "default": loggerctl.PROGRAM},
        },
        required_if=[("state", "present", ["settings"]), ("state", "restored", ["history_id"])],
        mutually_exclusive=[("settings", "history_id")],
        supports_check_mode=True)
    history_id = module.params["history_id"]
    if history_id is not None and not HISTORY_ID.fullmatch(history_id):
        module.fail_json(msg=f"history_id: '{history_id}' is no ID of a copy, such as "
                             "20261121-083000-001. logger_settings_info tells the host's.")
    try:
        module.exit_json(**run(loggerctl.Loggerctl(module), module))
    except Failure as failure:
        module.fail_json(msg=str(failure), **failure.details)


if __name__ == "__main__":
    main()
