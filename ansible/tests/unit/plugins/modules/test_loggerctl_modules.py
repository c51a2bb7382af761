"""The modules that call loggerctl, run as processes, with a tool that notes what it is asked for."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

from ansible_collections.veltaro.kzm.plugins.modules import logger_settings, logger_settings_info

# Prints the document that stands beside it, under the name of the command, and notes what it is given.
TOOL = f"""#!{sys.executable}
import json, pathlib, sys
folder = pathlib.Path(__file__).parent
words = sys.argv[1:]
with open(folder / "calls", "a") as calls:
    record = sys.stdin.read() if "-" in words else ""
    calls.write(json.dumps([words, json.loads(record or "null")]) + "\\n")
answer = json.loads((folder / words[1]).read_text())
sys.stdout.write(answer["text"])
sys.exit(answer["code"])
"""
ID = "20261121-083000-001"
CHANGED = {"changed": True, "dry_run": False, "difference": "--- a\n", "history_id": ID,
           "settings": [{"key": "cpu.threshold", "old": 90, "new": 75}], "service_restarted": True,
           "warnings": []}
SAME = {"changed": False, "dry_run": False, "difference": "", "history_id": None, "settings": [],
        "service_restarted": False, "warnings": []}
RUNS = {"action": "status", "state": "running", "warnings": []}
STOPPED = {"action": "status", "state": "stopped", "warnings": []}
CPU = {"settings": {"usage_monitor_conf_cpu": {"threshold": 75}}}
CPU_RECORD = {"UsageMonitorConfCpu": {"Threshold": 75}}


class ModuleCase(unittest.TestCase):
    """A folder with a tool whose answers a test sets."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.tool = self.folder / "loggerctl"
        self.tool.write_text(TOOL, encoding="ascii")
        self.tool.chmod(0o755)

    def answer(self, command, document, code=0):
        """Sets what the tool answers to a command: a document, or a text."""
        text = document if isinstance(document, str) else json.dumps(document)
        (self.folder / command).write_text(json.dumps({"text": text, "code": code}), encoding="ascii")

    def run_module(self, module, check_mode=False, **options):
        """The module's result."""
        arguments = {"executable": str(self.tool), "_ansible_check_mode": check_mode, **options}
        done = subprocess.run([sys.executable, module.__file__], text=True, capture_output=True,
                              input=json.dumps({"ANSIBLE_MODULE_ARGS": arguments}), check=False)
        self.assertIn("{", done.stdout, done.stderr)
        result = json.loads(done.stdout)
        self.assertEqual(1 if result.get("failed") else 0, done.returncode)
        return result

    def calls(self):
        """What the tool was asked for since this was asked last: words and record."""
        path = self.folder / "calls"
        if not path.exists():
            return []
        lines = path.read_text(encoding="ascii").splitlines()
        path.unlink()
        return [json.loads(line) for line in lines]


class LoggerSettings(ModuleCase):
    """Module logger_settings."""

    def run_settings(self, **options):
        """The result of this module."""
        return self.run_module(logger_settings, **options)

    def test_command_lines(self):
        restore = {"state": "restored", "history_id": ID}
        rows = [
            (CPU, ["set", "--wait", "60", "--json", "-"], CPU_RECORD),
            ({**CPU, "wait": 0}, ["set", "--wait", "0", "--json", "-"], CPU_RECORD),
            ({**CPU, "force": True}, ["set", "--force", "--wait", "60", "--json", "-"], CPU_RECORD),
            ({**CPU, "skip_unmounted": True},
             ["set", "--wait", "60", "--json", "-", "--skip-unmounted"], CPU_RECORD),
            ({**CPU, "check_mode": True}, ["set", "--dry-run", "--json", "-"], CPU_RECORD),
            ({"settings": {}}, ["set", "--wait", "60", "--json", "-"], {}),
            (restore, ["restore", "--wait", "60", ID], None),
            ({**restore, "force": True}, ["restore", "--force", "--wait", "60", ID], None),
            ({**restore, "check_mode": True}, ["restore", "--dry-run", ID], None),
        ]
        self.answer("set", CHANGED)
        self.answer("restore", {**CHANGED, "restored": ID})
        for options, words, record in rows:
            with self.subTest(options):
                self.assertIs(True, self.run_settings(**options)["changed"])
                self.assertEqual([[["--format=json"] + words, record]], self.calls())

    def test_refused_options(self):
        rows = [
            ({}, "state is present but all of the following are missing: settings"),
            ({"state": "restored"}, "all of the following are missing: history_id"),
            ({"state": "absent"}, "value of state must be one of: present, restored"),
            ({**CPU, "history_id": ID}, "mutually exclusive: settings|history_id"),
            ({**CPU, "service": "stopped"}, "value of service must be one of: started, unmanaged"),
            ({"settings": {"cpu": {}}}, "Unsupported parameters"),
            ({"settings": {"usage_monitor_conf_cpu": {"threshold": "many"}}}, "unable to convert to int"),
            ({"settings": {"syslog_output_conf": {"syslog_output": 7}}}, "not a valid boolean"),
            ({"settings": {"fs_usage_monitor_conf": {"fs_threshold_conf_list": [{"threshold": 3}]}}},
             "one of the following is required: volume_name, volume_name_bytes"),
            ({"state": "restored", "history_id": "1"}, "'1' is no ID of a copy"),
            ({"state": "restored", "history_id": "--force"}, "'--force' is no ID of a copy"),
        ]
        for options, message in rows:
            with self.subTest(options):
                result = self.run_settings(**options)
                self.assertIs(True, result["failed"])
                self.assertIn(message, result["msg"])
                self.assertEqual([], self.calls())

    def test_the_result_of_a_change(self):
        self.answer("set", {**CHANGED, "warnings": ["Note: something."]})
        result = self.run_settings(**CPU)
        self.assertEqual(CHANGED["settings"], result["changes"])
        self.assertEqual({"prepared": "--- a\n"}, result["diff"])
        self.assertEqual(ID, result["history_id"])
        self.assertIs(True, result["service_restarted"])
        self.assertEqual("running", result["service"])
        self.assertEqual(["Note: something."], result["warnings"])

    def test_an_agent_that_does_not_run(self):
        start, status = ["service", "--wait", "60", "start"], ["service", "status"]
        rows = [  # options, status, its exit code; changed, state, what is asked for
            ({}, RUNS, 0, False, "running", [status]),
            ({"check_mode": True}, STOPPED, 9, True, "stopped", [status]),
            ({"service": "unmanaged"}, STOPPED, 9, False, "stopped", [status]),
            ({}, STOPPED, 9, True, "stopped", [status, start]),  # the tool below starts nothing
            ({}, {"error": {"code": 4, "name": "failure", "message": "?", "reasons": []}}, 4, False,
             "unknown", [status]),
        ]
        for options, document, code, changed, state, asked in rows:
            with self.subTest(options, code=code):
                self.answer("set", SAME)
                self.answer("service", document, 0 if start in asked else code)
                result = self.run_settings(**CPU, **options)
                self.assertEqual((changed, changed, state), (result["changed"],
                                                             result["service_restarted"],
                                                             result["service"]))
                self.assertEqual(asked, [words[1:] for words, _record in self.calls()][1:])

    def test_a_failure_has_what_the_tool_says(self):
        error = {"code": 4, "name": "failure", "message": "It failed.", "reasons": ["This.", "That."]}
        state = {"stage": "stop-failed", "recover_with": ["loggerctl service start"],
                 "host_state": {"service": "stopped", "files": "unchanged", "difference": ""}}
        self.answer("set", {"error": {**error, **state}, "warnings": ["Note."]}, 4)
        result = self.run_settings(**CPU)
        self.assertIs(True, result["failed"])
        self.assertEqual("It failed. This. That.", result["msg"])
        self.assertEqual(error, result["error"])
        self.assertEqual(state, {name: result[name] for name in state})
        self.assertEqual(["Note."], result["warnings"])

    def test_check_mode_fails_where_force_is_missing(self):
        self.answer("set", {**CHANGED, "needs_force": True, "warnings": ["/gone is lost."]})
        result = self.run_settings(check_mode=True, **CPU)
        self.assertIn("needs the option force", result["msg"])
        self.assertEqual(["/gone is lost."], result["warnings"])
        result = self.run_settings(check_mode=True, force=True, **CPU)
        self.assertIs(True, result["changed"])

    def test_a_tool_that_does_not_answer(self):
        rows = [("", 0, "with exit code 0 and without an answer"),
                ("Segmentation", 139, "with exit code 139 and without an answer"),
                ("[]", 4, "with exit code 4 and without an answer")]
        for text, code, message in rows:
            with self.subTest(text):
                self.answer("set", text, code)
                result = self.run_settings(**CPU)
                self.assertIn(message, result["msg"])
                self.assertEqual((code, text), (result["rc"], result["stdout"]))
        self.tool.unlink()
        self.assertIn("Is the package kzm-logger-provider installed", self.run_settings(**CPU)["msg"])


class LoggerSettingsInfo(ModuleCase):
    """Module logger_settings_info."""

    def test_what_is_told(self):
        self.answer("get", {"FsUsageMonitorConf": {"SamplingCount": 2, "FsThresholdConfList": [
            {"VolumeName": "/", "Threshold": 80, "VolMonitoringEnable": True},
            {"VolumeName": None, "VolumeNameBytes": "2fff", "Threshold": 80}]}})
        self.answer("history", [{"Id": ID, "SudoUser": "alice", "Differs": ["alert.cfg"]}])
        self.answer("service", STOPPED, 9)
        result = self.run_module(logger_settings_info)
        self.assertEqual({"fs_usage_monitor_conf": {"sampling_count": 2, "fs_threshold_conf_list": [
            {"volume_name": "/", "threshold": 80, "vol_monitoring_enable": True},
            {"volume_name_bytes": "2fff", "threshold": 80}]}}, result["settings"])
        self.assertEqual([{"id": ID, "sudo_user": "alice", "differs": ["alert.cfg"]}],
                         result["history"])
        self.assertEqual("stopped", result["service"])
        self.assertIs(False, result["changed"])

    def test_only_what_is_asked_for(self):
        self.answer("history", [])
        result = self.run_module(logger_settings_info, gather=["history"])
        self.assertEqual([], result["history"])
        self.assertNotIn("settings", result)
        self.assertEqual([[["--format=json", "history"], None]], self.calls())

    def test_a_failure(self):
        self.answer("get", {"error": {"code": 3, "name": "not-installed", "message": "No.",
                                      "reasons": []}}, 3)
        result = self.run_module(logger_settings_info)
        self.assertEqual(3, result["error"]["code"])
        self.answer("service", {"error": {"code": 8, "name": "no-rights", "message": "No.",
                                          "reasons": []}}, 8)
        self.assertIs(True, self.run_module(logger_settings_info, gather=["service"])["failed"])


if __name__ == "__main__":
    unittest.main()
