"""An Ansible callback for tests: writes each result as a line of JSON into $FLEET_RESULTS."""

import json
import os

from ansible.plugins.callback import CallbackBase

DOCUMENTATION = """
name: results
type: aggregate
short_description: results as lines of JSON
description: Writes each result as a line of JSON into the file that FLEET_RESULTS names.
"""


class CallbackModule(CallbackBase):
    """Takes results as they come."""

    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "aggregate"
    CALLBACK_NAME = "results"

    def _write(self, result, outcome):
        line = {"host": result._host.get_name(), "task": result.task_name, "outcome": outcome,
                "result": result._result}
        with open(os.environ["FLEET_RESULTS"], "a", encoding="ascii") as results:
            results.write(json.dumps(line) + "\n")

    def v2_runner_on_ok(self, result):
        self._write(result, "changed" if result.is_changed() else "ok")

    def v2_runner_on_failed(self, result, ignore_errors=False):
        self._write(result, "failed")

    def v2_runner_on_unreachable(self, result):
        self._write(result, "unreachable")
