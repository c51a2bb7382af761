#!/usr/bin/env python3
"""The Ansible collection on a fleet of 20 hosts, over ssh.

Usage: fleet_test.py FOLDER BUILD [--times]

BUILD is the build folder of the product as it is shipped. What Ansible says is left in FOLDER. With
--times the runs are measured instead. Needs root; makes namespaces of its own and leaves nothing.
"""

import contextlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import typing
import unittest

import fleet
from fleet import HERE, REPOSITORY

COUNT = 20
NOT_INSTALLED = "host04"
DAMAGED = "host08"
LOCKED = "host11"
FULL = "host15"
DYING = "host18"
BAD = (NOT_INSTALLED, DAMAGED, LOCKED, FULL, DYING)
SERVER = "host06"
WITHOUT_DATA = ("host02", "host03", "host09")  # /srv/data is not mounted there

WANTED = {
    "syslog_output_conf": {"information_alert": True},
    "usage_monitor_conf_cpu": {"threshold": 75},
    "fs_usage_monitor_conf": {"fs_threshold_conf_list": [
        {"volume_name": "/srv/data", "threshold": 85, "vol_monitoring_enable": True}]},
}

FOLDER = pathlib.Path()
BUILD = pathlib.Path()
WORK = pathlib.Path()  # empty and in memory, with a short path: the names of sockets stand in it


class Run(typing.NamedTuple):
    """What became of a run of a playbook."""

    code: int
    output: str
    results: typing.List[dict]

    def outcomes(self, task: str = "") -> typing.Dict[str, str]:
        """The outcome of each host, of the last task or of this one."""
        return {line["host"]: line["outcome"] for line in self.results
                if task in ("", line["task"])}

    def with_outcome(self, *outcomes: str) -> typing.List[str]:
        """The hosts with one of these outcomes."""
        return sorted(host for host, outcome in self.outcomes().items() if outcome in outcomes)

    def of(self, host: str) -> dict:
        """The last result of a host."""
        return [line["result"] for line in self.results if line["host"] == host][-1]


class Controller:
    """Where Ansible runs: its inventory, its settings and the collection as it is shipped."""

    def __init__(self, work: pathlib.Path) -> None:
        self._work = work
        self._inventory = work / "inventory"
        self._runs = 0
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", work / "key"],
                       check=True)
        self.key = (work / "key.pub").read_text(encoding="ascii")
        self._install_collection()

    def _install_collection(self) -> None:
        for command in (["build", REPOSITORY / "ansible", "--output-path", self._work],
                        ["install", "--offline", "--collections-path", self._work / "collections"]):
            if command[0] == "install":
                command += self._work.glob("*.tar.gz")
            subprocess.run(["ansible-galaxy", "collection", *command], check=True,
                           env=self._environment(), stdout=subprocess.DEVNULL)

    def know(self, hosts: typing.List[fleet.Host]) -> None:
        """Writes the inventory."""
        lines = [f"{host.name} ansible_host={host.address}" for host in hosts]
        self._inventory.write_text("\n".join([*lines, "[all:vars]",
                                              "ansible_python_interpreter=/usr/bin/python3",
                                              f"ansible_ssh_private_key_file={self._work}/key",
                                              ""]), encoding="ascii")
        (self._work / "known_hosts").write_text("".join(host.host_key() for host in hosts),
                                                encoding="ascii")

    def _environment(self) -> typing.Dict[str, str]:
        return {
            "PATH": "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
            "LC_ALL": "C.UTF-8",
            "HOME": str(self._work),
            "ANSIBLE_HOME": str(self._work / "ansible"),
            "ANSIBLE_COLLECTIONS_PATH": str(self._work / "collections"),
            "ANSIBLE_CALLBACK_PLUGINS": str(HERE / "plugins"),
            "ANSIBLE_CALLBACKS_ENABLED": "results",
            "ANSIBLE_FORKS": str(COUNT),
            "ANSIBLE_PIPELINING": "1",
            "ANSIBLE_RETRY_FILES_ENABLED": "1",
            "ANSIBLE_RETRY_FILES_SAVE_PATH": str(self._work),
            "ANSIBLE_SSH_ARGS": "-o ControlMaster=auto -o ControlPersist=60s "
                                f"-o UserKnownHostsFile={self._work}/known_hosts",
            "ANSIBLE_TIMEOUT": str(fleet.PATIENCE),
            "FLEET_RESULTS": str(self._work / "results"),
        }

    def ansible(self, *words: str) -> Run:
        """A run of `ansible`, or of `ansible-playbook` where the first word is a playbook."""
        self._runs += 1
        results = self._work / "results"
        results.unlink(missing_ok=True)
        program = "ansible" if words[0] == "all" else "ansible-playbook"
        done = subprocess.run([program, "--inventory", self._inventory, *words], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              stdin=subprocess.DEVNULL, env=self._environment())
        log = FOLDER / f"run{self._runs:02}.log"
        log.write_text(f"{program} {' '.join(words)}\n{done.stdout}", encoding="utf-8")
        lines = results.read_text(encoding="ascii").splitlines() if results.exists() else []
        return Run(done.returncode, done.stdout, [json.loads(line) for line in lines])

    def change(self, *words: str, **variables: typing.Any) -> Run:
        """A run of the collection's playbook of a change."""
        return self.ansible("veltaro.kzm.change", "--extra-vars",
                            json.dumps({"logger_settings": WANTED, "skip_unmounted": True,
                                        "wait": 0, "batches": ["100%"], "most_failures": 100,
                                        **variables}), *words)

    def retry_file(self) -> typing.List[str]:
        """The hosts that the last playbook's retry file names."""
        return sorted((self._work / "change.retry").read_text(encoding="ascii").split())

    @property
    def retry_path(self) -> pathlib.Path:
        """The retry file."""
        return self._work / "change.retry"


class Fleet:
    """All hosts and the controller."""

    def __init__(self, work: pathlib.Path) -> None:
        self.controller = Controller(work)
        product = work / "product"
        subprocess.run(["cmake", "--install", BUILD, "--strip"], check=True,
                       env={**os.environ, "DESTDIR": str(product)}, stdout=subprocess.DEVNULL)
        self.hosts = {f"host{number:02}": fleet.Host(f"host{number:02}", number, work)
                      for number in range(1, COUNT + 1)}
        for host in self.hosts.values():
            host.lay_out(product, self.controller.key)
            if host.name not in WITHOUT_DATA:
                host.mount("/srv/data")
        self.hosts[SERVER].add_server()
        self.controller.know(list(self.hosts.values()))

    def start(self) -> None:
        """Starts all hosts."""
        for host in self.hosts.values():
            host.start()
        for host in self.hosts.values():
            host.await_port(fleet.SSH)
        self.hosts[SERVER].await_port(fleet.HTTPS)


def mend(host: fleet.Host) -> None:
    """Does to a damaged file what an administrator would."""
    alert = host.path(f"{fleet.SETTINGS}/alert.cfg")
    alert.write_text((HERE / "alert.cfg").read_text(encoding="ascii"), encoding="ascii")


def fill(folder: pathlib.Path) -> pathlib.Path:
    """Leaves no room on a file system; gives the file that takes it."""
    path = folder / "full"
    with open(path, "wb", buffering=0) as file:
        with contextlib.suppress(OSError):
            while True:
                file.write(bytes(4096))
    return path


class Rollout(unittest.TestCase):
    """One fleet's life; the tests run in the order of their names."""

    maxDiff = None
    fleet: Fleet
    lock: fleet.HeldLock
    full: pathlib.Path
    before: str
    first: Run
    planned: Run

    @classmethod
    def setUpClass(cls) -> None:
        cls.fleet = Fleet(WORK)
        cls._make_bad()
        cls.before = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
        cls.original = {host.name: host.settings() for host in cls.hosts()}
        cls.fleet.start()
        cls.fleet.hosts[DYING].path("opt/agent/dies").touch()  # at its next start

    @classmethod
    def _make_bad(cls) -> None:
        hosts = cls.fleet.hosts
        hosts[NOT_INSTALLED].path("opt/agent/not-installed").touch()
        hosts[DAMAGED].path(f"{fleet.SETTINGS}/alert.cfg").write_text(
            (HERE / "alert.cfg").read_text(encoding="ascii").replace("60, 5, 90", "60, 5"),
            encoding="ascii")
        cls.lock = fleet.HeldLock(hosts[LOCKED])
        folder = hosts[FULL].path(fleet.SETTINGS)
        texts = hosts[FULL].settings()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", folder], check=True)
        for name, text in texts.items():
            (folder / name).write_text(text, encoding="ascii")
        cls.full = fill(folder)

    @classmethod
    def hosts(cls, *but: str) -> typing.List[fleet.Host]:
        """All hosts but these."""
        return [host for host in cls.fleet.hosts.values() if host.name not in but]

    def assert_outcomes(self, run: Run, usual: str, **others: str) -> None:
        """Each host has the usual outcome, but for the others."""
        expected = {name: others.get(name, usual) for name in self.fleet.hosts}
        self.assertEqual(expected, run.outcomes(), run.output)

    def assert_agent_was(self, *events: str, but: typing.Sequence[str] = ()) -> None:
        """What the agents have done so far, on all hosts but these."""
        for host in self.hosts(*but):
            self.assertEqual(list(events), host.agent_log(), host.name)

    # ---- The tests ----

    def test_10_check_mode_says_what_would_change_and_changes_nothing(self) -> None:
        run = self.fleet.controller.change("--check", "--diff")
        type(self).planned = run
        self.assert_outcomes(run, "changed", **{NOT_INSTALLED: "failed", DAMAGED: "failed"})
        for host in self.hosts():
            self.assertEqual(self.original[host.name], host.settings(), host.name)
            self.assertFalse(host.path("var/opt/veltaro/kzm/logger/history").exists())
        self.assert_agent_was("started")
        self.assertIn("-CPU=(True, 60, 5, 90)\n+CPU=(True, 60, 5, 75)\n", run.output)

    def test_20_canaries_that_fail_keep_the_rest_from_the_change(self) -> None:
        run = self.fleet.controller.change("--check", batches=[1, 4, "100%"], most_failures=10)
        self.assertEqual({"host01": "changed", "host02": "changed", "host03": "changed",
                          "host04": "failed", "host05": "changed"}, run.outcomes())
        self.assertNotEqual(0, run.code)

    def test_30_the_first_run_names_exactly_the_bad_ones(self) -> None:
        run = self.fleet.controller.change("--diff")
        type(self).first = run
        outcomes = {name: "unreachable" if name == DYING else "failed" for name in BAD}
        self.assert_outcomes(run, "changed", **outcomes)
        self.assertEqual(sorted(BAD), self.fleet.controller.retry_file())
        self.assert_agent_was("started", "stopped", "started", but=BAD)
        self.assert_agent_was("started", "stopped",
                              but=[host.name for host in self.hosts(DYING)])
        for host in self.hosts(*BAD):
            result = run.of(host.name)
            self.assertEqual(self.planned.of(host.name)["diff"], result["diff"])
            self.assertEqual(self.planned.of(host.name)["changes"], result["changes"])
            self.assertIn({"key": "cpu.threshold", "old": 90, "new": 75}, result["changes"])
            self.assertIs(True, result["service_restarted"])
            self.assertEqual("running", result["service"])
            self.assertRegex(result["history_id"], r"^[0-9]{8}-[0-9]{6}-[0-9]{3}$")
            self.assertEqual(host.name in WITHOUT_DATA, "warnings" in result)

    def test_31_failures_carry_the_words_of_the_tool(self) -> None:
        kinds = {NOT_INSTALLED: (3, "not-installed", "not installed"),
                 DAMAGED: (4, "failure", "alert.cfg, line 2"),
                 LOCKED: (7, "busy", "Nothing was changed."),
                 FULL: (4, "failure", "Nothing was changed.")}
        for name, (code, kind, words) in kinds.items():
            with self.subTest(name):
                result = self.first.of(name)
                self.assertEqual((code, kind), (result["error"]["code"], result["error"]["name"]))
                self.assertIn(words, result["msg"])
                self.assertNotIn("host_state", result)
                host = self.fleet.hosts[name]
                self.assertEqual(self.original[name], host.settings())
                self.assertEqual(["started"], host.agent_log())

    def test_40_a_second_run_brings_the_mended_ones_home(self) -> None:
        hosts = self.fleet.hosts
        hosts[NOT_INSTALLED].path("opt/agent/not-installed").unlink()
        mend(hosts[DAMAGED])
        self.lock.give_back()
        self.full.unlink()
        fleet.await_event(lambda: not hosts[DYING].is_running(), f"{DYING} has gone down")
        hosts[DYING].path("opt/agent/runs").unlink()  # the agent does not come up with its host
        hosts[DYING].start()
        hosts[DYING].await_port(fleet.SSH)
        run = self.fleet.controller.change("--limit", f"@{self.fleet.controller.retry_path}")
        self.assertEqual(dict.fromkeys(BAD, "changed"), run.outcomes(), run.output)
        self.assertEqual([], run.of(DYING)["changes"])
        self.assertIs(True, run.of(DYING)["service_restarted"])

    def test_50_a_run_on_a_fleet_that_is_right_touches_nothing(self) -> None:
        for words in ([], ["--check"]):
            run = self.fleet.controller.change("--diff", *words)
            self.assert_outcomes(run, "ok")
            self.assertEqual(0, run.code)
            self.assert_agent_was("started", "stopped", "started")
            for host in self.hosts():
                self.assertEqual("", run.of(host.name)["diff"]["prepared"])

    def test_60_what_is_told_can_be_set(self) -> None:
        run = self.fleet.controller.ansible(str(HERE / "pattern.yml"))
        self.assert_outcomes(run, "ok")

    def test_70_a_failed_start_says_how_to_mend_the_host(self) -> None:
        host = self.fleet.hosts["host05"]
        host.path("opt/agent/fails").touch()
        run = self.fleet.controller.change("--limit", host.name, logger_settings={
            "usage_monitor_conf_memory": {"threshold": 70}})
        result = run.of(host.name)
        self.assertEqual("start-failed", result["stage"])
        self.assertEqual("stopped", result["host_state"]["service"])
        self.assertEqual("changed", result["host_state"]["files"])
        self.assertIn("+MEMORY=(True, 60, 5, 70)", result["host_state"]["difference"])
        self.assertRegex(result["recover_with"][0], "^loggerctl restore [-0-9]*$")
        self.assertEqual("loggerctl service start", result["recover_with"][1])
        self.assertIn("ServiceStart", result["msg"])
        host.path("opt/agent/fails").unlink()

    def test_71_a_host_without_ssh_is_changed_through_its_server(self) -> None:
        host = self.fleet.hosts[SERVER]
        told = self.fleet.controller.ansible(str(HERE / "pattern.yml"), "--limit", SERVER)
        before, log = host.settings(), host.agent_log()
        wanted = {"usage_monitor_conf_cpu": {"threshold": 65}, "fs_usage_monitor_conf": {
            "fs_threshold_conf_list": [{"volume_name": "/srv/data", "threshold": 50},
                                       {"volume_name": "/gone", "threshold": 5}]}}
        changes = [{"key": "cpu.threshold", "old": 75, "new": 65},
                   {"key": "fs:/srv/data.threshold", "old": 85, "new": 50}]
        read = self._through_server()
        self.assertEqual(("ok", []), (read.outcomes()[SERVER], read.of(SERVER)["changes"]))
        self.assertEqual(told.results[0]["result"]["settings"], read.of(SERVER)["settings"])
        for words, outcome in ((["--check"], "changed"), ([], "changed"), ([], "ok")):
            with self.subTest(words, outcome=outcome):
                run = self._through_server(*words, "--diff", wanted=wanted)
                self.assertEqual(outcome, run.outcomes()[SERVER], run.output)
                self.assertEqual(changes if outcome == "changed" else [], run.of(SERVER)["changes"])
                self.assertEqual(before["alert.cfg"] == host.settings()["alert.cfg"], words != [])
                self.assertIn("'/gone' is not mounted", run.of(SERVER)["warnings"][0])
        self.assertEqual(log + ["stopped", "started"], host.agent_log())
        self.assertEqual(before["alert.cfg"].replace("5, 75", "5, 65").replace("(85)", "(50)"),
                         host.settings()["alert.cfg"])

    def test_72_a_server_that_refuses(self) -> None:
        host = self.fleet.hosts[SERVER]
        before = host.settings()
        wanted = {"usage_monitor_conf_cpu": {"threshold": 60}}
        run = self._through_server(wanted=wanted, password="of-nobody")
        self.assertEqual(401, run.of(SERVER)["status"])
        self.assertNotIn("of-nobody", run.output)
        run = self._through_server(wanted=wanted, is_known=False)
        self.assertIn("CERTIFICATE_VERIFY_FAILED", run.of(SERVER)["msg"])
        run = self._through_server(wanted={"usage_monitor_conf_cpu": {"threshold": 600}})
        self.assertIn("600 is no percentage", run.of(SERVER)["msg"])
        missing = host.path("opt/agent/not-installed")
        missing.touch()
        run = self._through_server(wanted=wanted)
        missing.unlink()
        self.assertEqual("not-installed", run.of(SERVER)["error"]["name"])
        self.assertEqual(before, host.settings())

    def _through_server(self, *words: str, password: str = "of-root", is_known: bool = True,
                        wanted: typing.Optional[dict] = None) -> Run:
        certificate = self.fleet.hosts[SERVER].path("etc/opt/veltaro/kzm/wbemd-cert.pem")
        variables = {"server_password": password,
                     "server_certificate": str(certificate) if is_known else "",
                     "logger_settings": wanted or {}}
        return self.fleet.controller.ansible(str(HERE / "server.yml"), "-vvv", "--limit", SERVER,
                                             "--extra-vars", json.dumps(variables), *words)

    def test_80_the_fleet_is_rolled_back(self) -> None:
        mended = {**self.original, DAMAGED: self.original[NOT_INSTALLED]}
        run = self.fleet.controller.ansible("veltaro.kzm.rollback", "--check", "--diff",
                                            "--extra-vars", f"before={self.before}")
        self.assert_outcomes(run, "changed")
        run = self.fleet.controller.ansible("veltaro.kzm.rollback", "--diff",
                                            "--extra-vars", f"before={self.before}")
        self.assert_outcomes(run, "changed")
        for host in self.hosts():
            self.assertEqual(mended[host.name], host.settings(), host.name)
        logs = {host.name: host.agent_log() for host in self.hosts()}
        self.assertEqual(["started", "stopped", "started"] + ["stopped", "started"],
                         logs["host01"])
        run = self.fleet.controller.ansible("veltaro.kzm.rollback",
                                            "--extra-vars", f"before={self.before}")
        self.assert_outcomes(run, "ok")
        self.assertEqual(logs, {host.name: host.agent_log() for host in self.hosts()})


def inside() -> None:
    """Tests, or measures, in namespaces of its own."""
    subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", WORK], check=True)
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    unittest.main(argv=sys.argv[:1], verbosity=2)


def main() -> None:
    """Does it all in namespaces of its own, and sees that nothing is left of them."""
    global FOLDER, BUILD, WORK
    FOLDER = pathlib.Path(sys.argv[1]).resolve()
    BUILD = pathlib.Path(sys.argv[2]).resolve()
    FOLDER.mkdir(parents=True, exist_ok=True)
    if len(sys.argv) > 3 and sys.argv[3] == "--inside":
        WORK = pathlib.Path(sys.argv[4])
        sys.argv = sys.argv[:1] + sys.argv[5:]
        inside()
        return
    with tempfile.TemporaryDirectory(prefix="fleet-") as work:
        done = subprocess.run(["unshare", "--mount", "--pid", "--net", "--fork", "--kill-child",
                               "--mount-proc", sys.executable, "-B", *sys.argv[:3], "--inside",
                               work, *sys.argv[3:]])
    sys.exit(done.returncode)


if __name__ == "__main__":
    main()
