#!/usr/bin/python
"""Changes the settings of the log-monitoring agent of a host by way of its management server."""

DOCUMENTATION = """
---
module: logger_settings_wbem
short_description: Change the settings of the log-monitoring agent through the management server
version_added: 34.1.0
description:
  - Changes the settings of a host's log-monitoring agent like M(veltaro.kzm.logger_settings), for hosts
    that can be reached through their management server alone, by CIM-XML over HTTPS. The agent is
    restarted when something has changed.
  - The module runs on the controller, with C(delegate_to=localhost). Nothing but Python is needed there.
  - To read the settings give no I(settings).
author:
  - the maintainers (@veltaro)
requirements:
  - the package kzm-wbemd on the host
extends_documentation_fragment:
  - veltaro.kzm.settings
options:
  url:
    description: Where the server is, for example C(https://host.example.com:5989/cimom).
    type: str
    required: true
  username:
    description: A user of the host whom the server lets change the settings.
    type: str
    required: true
  password:
    description: The user's password on the host.
    type: str
    required: true
  ca_path:
    description: A file with the certificates that the server's one is checked against.
    type: path
  validate_certs:
    description: Check the server's certificate. Without it anybody can read the password.
    type: bool
    default: true
  timeout:
    description: How many seconds to wait for each answer. A change waits for others on the host.
    type: int
    default: 120
notes:
  - Supports C(check_mode) and C(--diff), with the difference of the settings by their keys. The server
    does not tell the files.
  - Between reading and changing the settings others can change them, and their change is then lost.
    M(veltaro.kzm.logger_settings) has no such gap.
  - With I(force) unset, entries of file systems that are not mounted are lost without a warning.
seealso:
  - module: veltaro.kzm.logger_settings
"""

EXAMPLES = """
- name: Alert earlier
  veltaro.kzm.logger_settings_wbem:
    url: "https://{{ inventory_hostname }}:5989/cimom"
    username: operator
    password: "{{ operator_password }}"
    ca_path: /etc/ssl/operations.pem
    settings:
      usage_monitor_conf_cpu:
        threshold: 75
  delegate_to: localhost
"""

RETURN = """
changes:
  description: The settings that have other values now, or would have.
  returned: success
  type: list
  elements: dict
  sample: [{"key": "cpu.threshold", "old": 90, "new": 75}]
settings:
  description: All settings, as the option I(settings) takes them.
  returned: success
  type: dict
service_restarted:
  description: The agent was restarted.
  returned: success
  type: bool
error:
  description: The failure, with its C(code) and C(name).
  returned: when the host answered with a failure
  type: dict
  sample: {"code": 176, "name": "not-installed", "message": "...", "reasons": []}
"""

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.veltaro.kzm.plugins.module_utils import settings, wanted, wbem
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure


def run(server, module):
    """Does what the options ask for, and gives the module's result."""
    present = server.get()
    change = wanted.Change(present, settings.to_record(module.params["settings"] or {}))
    heed(change, module)
    changes = change.changes()
    if changes and not module.check_mode:
        server.set(change.record)
    return {
        "changed": bool(changes),
        "changes": changes,
        "settings": settings.from_record(change.record),
        "service_restarted": bool(changes),
        "diff": {"before": lines(present), "after": lines(change.record)},
    }


def heed(change, module):
    """Refuses what the options do not allow."""
    unmounted = [f"The file system '{name}' is not mounted." for name in change.unmounted]
    if unmounted and not module.params["skip_unmounted"]:
        raise Failure(" ".join(["Nothing was changed."] + unmounted +
                               ["Mount what is missing, or leave it out with skip_unmounted."]))
    if change.doubts and not module.params["force"]:
        raise Failure(" ".join(["Nothing was changed. If this is what you want, set force."] +
                               change.doubts))
    for warning in unmounted + change.doubts:
        module.warn(warning)


def lines(record):
    """The settings of a record for people to compare."""
    return "".join(f"{key}={str(value).lower()}\n" for key, value in wanted.values(record).items())


def main():
    """Runs the module."""
    module = AnsibleModule(
        argument_spec={
            "settings": settings.argument_spec(),
            "skip_unmounted": {"type": "bool", "default": False},
            "force": {"type": "bool", "default": False},
            "url": {"required": True},
            "username": {"required": True},
            "password": {"required": True, "no_log": True},
            "ca_path": {"type": "path"},
            "validate_certs": {"type": "bool", "default": True},
            "timeout": {"type": "int", "default": 120},
        },
        supports_check_mode=True)
    try:
        module.exit_json(**run(wbem.Server(module.params), module))
    except Failure as failure:
        module.fail_json(msg=str(failure), **failure.details)


if __name__ == "__main__":
    main()
