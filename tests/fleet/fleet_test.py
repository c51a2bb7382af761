#!/usr/bin/env python3
"""The Ansible collection on a fleet of 20 hosts, over ssh.

BUILD is the build folder of the product as it is shipped, the packages are those that the role installs.
What Ansible says is left in FOLDER. Needs root; makes namespaces of its own and leaves nothing.
"""

import argparse
import contextlib
import json
import os
import pathlib
import re
import signal
import statistics
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
SOME = "host01,host02,host06"  # where all need not be looked at
WITHOUT_DATA = ("host02", "host03", "host09")  # /srv/data is not mounted there

WANTED = {
    "syslog_output_conf": {"information_alert": True},
    "usage_monitor_conf_cpu": {"threshold": 75},
    "fs_usage_monitor_conf": {"fs_threshold_conf_list": [
        {"volume_name": "/srv/data", "threshold": 85, "vol_monitoring_enable": True}]},
}

FOLDER = pathlib.Path()
BUILD = pathlib.Path()
PACKAGES: typing.List[pathlib.Path] = []
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

    def kinds(self) -> typing.Set[str]:
        """The outcomes of all tasks."""
        return {line["outcome"] for line in self.results}

    def of(self, host: str) -> dict:
        """The last result of a host."""
        return [line["result"] for line in self.results if line["host"] == host][-1]


class Controller:
    """Where Ansible runs: its inventory, its settings and the collection as it is shipped."""

    def __init__(self, work: pathlib.Path) -> None:
        self._work = work
        self._runs = 0
        self._connections = 0  # what those that stand now are kept under
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

    def know(self, hosts: typing.Iterable[fleet.Host], inventory: str = "fleet") -> None:
        """Writes an inventory."""
        lines = [f"{host.name} ansible_host={host.address}" for host in hosts]
        lines += ["[all:vars]", "ansible_python_interpreter=/usr/bin/python3",
                  f"ansible_ssh_private_key_file={self._work}/key", ""]
        (self._work / inventory).write_text("\n".join(lines), encoding="ascii")
        with open(self._work / "known_hosts", "a", encoding="ascii") as known_hosts:
            known_hosts.writelines(host.host_key() for host in hosts)

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
            "ANSIBLE_SSH_CONTROL_PATH_DIR": str(self._work / f"connections{self._connections}"),
            "ANSIBLE_TIMEOUT": str(fleet.PATIENCE),
            "FLEET_RESULTS": str(self._work / "results"),
        }

    def ansible(self, *words: str, inventory: str = "fleet") -> Run:
        """A run of `ansible`, or of `ansible-playbook` where the first word is a playbook."""
        self._runs += 1
        results = self._work / "results"
        results.unlink(missing_ok=True)
        program = "ansible" if words[0] == "all" else "ansible-playbook"
        done = subprocess.run([program, "--inventory", self._work / inventory, *words], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              stdin=subprocess.DEVNULL, env=self._environment())
        log = FOLDER / f"run{self._runs:02}.log"
        log.write_text(f"{program} {' '.join(words)}\n{done.stdout}", encoding="utf-8")
        lines = results.read_text(encoding="ascii").splitlines() if results.exists() else []
        return Run(done.returncode, done.stdout, [json.loads(line) for line in lines])

    def forget_connections(self) -> None:
        """Makes the next run open connections of its own: one to a host that died is still there for
        a moment."""
        self._connections += 1

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
            host.lay_out(self.controller.key)
            host.add_product(product)
            if host.name not in WITHOUT_DATA:
                host.mount("/srv/data")
        self.hosts[SERVER].add_server()
        self.controller.know(self.hosts.values())

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
        self.fleet.controller.forget_connections()
        run = self.fleet.controller.change("--limit", f"@{self.fleet.controller.retry_path}")
        self.assertEqual(dict.fromkeys(BAD, "changed"), run.outcomes(), run.output)
        self.assertEqual([], run.of(DYING)["changes"])
        self.assertIs(True, run.of(DYING)["service_restarted"])

    def test_50_a_run_on_a_fleet_that_is_right_touches_nothing(self) -> None:
        run = self.fleet.controller.change("--diff")
        self.assert_outcomes(run, "ok")
        self.assertEqual(0, run.code)
        for host in self.hosts():
            self.assertEqual("", run.of(host.name)["diff"]["prepared"])
        run = self.fleet.controller.change("--check", "--limit", SOME)
        self.assertEqual(["ok"] * 3, list(run.outcomes().values()))
        self.assert_agent_was("started", "stopped", "started")

    def test_60_what_is_told_can_be_set(self) -> None:
        run = self.fleet.controller.ansible(str(HERE / "pattern.yml"), "--limit", SOME)
        self.assertEqual(["ok"] * 3, list(run.outcomes().values()))

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
        changed = {host.name: host.settings() for host in self.hosts()}
        run = self._roll_back("--check", "--limit", SOME)
        self.assertEqual(["changed"] * 3, list(run.outcomes().values()))
        self.assertEqual(changed, {host.name: host.settings() for host in self.hosts()})
        run = self._roll_back()
        self.assert_outcomes(run, "changed")
        for host in self.hosts():
            self.assertEqual(mended[host.name], host.settings(), host.name)
        logs = {host.name: host.agent_log() for host in self.hosts()}
        self.assertEqual(["started"] + 2 * ["stopped", "started"], logs["host01"])
        run = self._roll_back("--limit", SOME)
        self.assertEqual(["ok"] * 3, list(run.outcomes().values()))
        self.assertEqual(logs, {host.name: host.agent_log() for host in self.hosts()})

    def _roll_back(self, *words: str) -> Run:
        return self.fleet.controller.ansible("veltaro.kzm.rollback", "--extra-vars",
                                             f"before={self.before}", *words)


class Installation(unittest.TestCase):
    """A host on which nothing but the agent is installed."""

    def test_the_role_makes_a_host_that_can_be_changed(self) -> None:
        work = WORK / "installation"
        work.mkdir()
        controller = Controller(work)
        host = fleet.Host("bare", COUNT + 1, work)
        self.addCleanup(host.end)
        host.lay_out(controller.key)
        host.add_overlay()
        host.make_certificate(work)
        controller.know([host])
        host.start()
        host.await_port(fleet.SSH)
        variables = json.dumps({"package_files": [str(path) for path in PACKAGES],
                                "description": {snake(name): value for name, value
                                                in fleet.DESCRIPTION.items()}})
        runs = [controller.ansible(str(HERE / "install.yml"), "--diff", "--extra-vars", variables,
                                   *words) for words in (["--check"], [], [])]
        for run in runs:
            self.assertEqual(0, run.code, run.output)
            self.assertNotIn("PRIVATE KEY", run.output)
        self.assertIn("changed", runs[1].kinds())
        self.assertEqual({"ok"}, runs[2].kinds(), runs[2].output)
        run = controller.change()
        self.assertEqual({"bare": "changed"}, run.outcomes(), run.output)
        self._look_at(host)

    def _look_at(self, host: fleet.Host) -> None:
        etc = host.files / "etc/opt/veltaro/kzm"
        lines = (etc / "providerd.conf").read_text(encoding="ascii").splitlines()
        self.assertEqual(["ReadingGroups=fleet-readers", "ChangingGroups=fleet-operators"],
                         [line for line in lines if line and not line.startswith("#")])
        groups = (host.files / "overlay/etc/group").read_text(encoding="ascii")
        for group in ("fleet-readers", "fleet-operators", "kzmwbem"):
            self.assertRegex(groups, f"(?m)^{group}:")
        key = etc / "wbemd-key.pem"
        self.assertEqual(0o640, key.stat().st_mode & 0o777)
        self.assertRegex(groups, f"(?m)^kzmwbem:.*:{key.stat().st_gid}:")
        wants = list((host.files / "overlay").glob("**/*.wants/kzm*"))
        self.assertEqual([], wants, "something is opened")


def snake(name: str) -> str:
    """A name of the device description as the role has it."""
    return re.sub(r"(?<!^)([A-Z])", r"_\1", name).lower()


# ---- Times ----

ROUNDS = 5


def measure() -> None:
    """Prints how long runs on a fleet take in which nothing is bad."""
    hosts = Fleet(WORK)
    hosts.start()
    controller = hosts.controller
    print(f"ping, with new connections: {timed(controller, 'ping', 0):.1f} s")
    kinds = ("ping", "check run", "first run", "idempotent run", "info", "one host alone")
    load = os.getloadavg()[0]
    rounds = [{kind: timed(controller, kind, number) for kind in kinds}
              for number in range(ROUNDS)]
    print(f"{COUNT} hosts on {os.cpu_count()} cores, load before {load:.1f}, medians of {ROUNDS} "
          "rounds:")
    for kind in kinds:
        seconds = statistics.median(times[kind] for times in rounds)
        ratio = statistics.median(times[kind] / times["ping"] for times in rounds)
        print(f"{kind:15} {seconds:6.1f} s  {ratio:5.2f} of a ping")


def timed(controller: Controller, kind: str, number: int) -> float:
    """How long a run takes, which must succeed, in seconds."""
    threshold = 50 + number
    words = {"check run": ["--check"], "one host alone": ["--limit", "host01"]}.get(kind, [])
    if kind in ("check run", "one host alone"):
        threshold += ROUNDS  # another one than the hosts have
    began = time.monotonic()
    if kind == "ping":
        done = controller.ansible("all", "-m", "ping")
    elif kind == "info":
        done = controller.ansible("all", "-m", "veltaro.kzm.logger_settings_info")
    else:
        done = controller.change(*words, logger_settings={
            "usage_monitor_conf_cpu": {"threshold": threshold}})
    seconds = time.monotonic() - began
    if done.code != 0:
        raise AssertionError(done.output)
    return seconds


# ---- What is left ----


def hold() -> None:
    """Has a host up until it is killed."""
    host = fleet.Host("held", 1, WORK)
    host.lay_out("")
    host.start()
    host.await_port(fleet.SSH)
    print("up", flush=True)
    signal.pause()


class Leftovers:
    """Sees that a run leaves nothing behind on this machine."""

    def __init__(self) -> None:
        self._mounts = self._read_mounts()

    @staticmethod
    def _read_mounts() -> str:
        return pathlib.Path("/proc/self/mountinfo").read_text(encoding="utf-8")

    def await_none(self) -> None:
        """All processes of the run are gone, and so are their mounts."""
        namespace = (FOLDER / "namespace").read_text(encoding="ascii")
        fleet.await_event(lambda: not self._processes(namespace), "all processes of the fleet end")
        if self._read_mounts() != self._mounts:
            raise AssertionError("The fleet has left something mounted.")

    @staticmethod
    def _processes(namespace: str) -> typing.List[str]:
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):  # it may be gone meanwhile
                if os.readlink(process / "ns/net") == namespace:
                    found.append(process.name)
        return found


# ---- The whole ----


def inside(options: argparse.Namespace) -> None:
    """Does what is asked for, in namespaces of its own."""
    (FOLDER / "namespace").write_text(os.readlink("/proc/self/ns/net"), encoding="ascii")
    subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", WORK], check=True)
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    if options.hold:
        hold()
    elif options.times:
        measure()
    else:
        chosen = ["-k", options.tests] if options.tests else []
        unittest.main(argv=[sys.argv[0], *chosen], verbosity=2)


def in_namespaces(work: str, *words: str) -> subprocess.Popen:
    """This program, in namespaces that end with it."""
    return subprocess.Popen(["unshare", "--mount", "--pid", "--net", "--fork", "--kill-child",
                             "--mount-proc", sys.executable, "-B", *sys.argv, "--inside", work,
                             *words], stdout=subprocess.PIPE if words else None)


def main() -> None:
    """Does it all in namespaces of its own, and sees that nothing is left of them."""
    global FOLDER, BUILD, PACKAGES, WORK
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("packages", type=pathlib.Path, nargs="*")
    parser.add_argument("--times", action="store_true", help="measure instead")
    parser.add_argument("--tests", default="", help="the tests with this in their names alone")
    parser.add_argument("--inside", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--hold", action="store_true", help=argparse.SUPPRESS)
    options = parser.parse_args()
    FOLDER = options.folder.resolve()
    BUILD = options.build.resolve()
    PACKAGES = [package.resolve() for package in options.packages]
    FOLDER.mkdir(parents=True, exist_ok=True)
    if options.inside:
        WORK = options.inside
        inside(options)
        return
    left = Leftovers()
    with tempfile.TemporaryDirectory(prefix="fleet-") as work:
        if in_namespaces(work).wait() != 0:
            sys.exit(1)
        left.await_none()
        killed = in_namespaces(work, "--hold")
        if killed.stdout.readline() != b"up\n":
            raise AssertionError("The host that is to be killed did not come up.")
        killed.kill()
        killed.wait()
        left.await_none()
    print("Nothing is left of the fleet.")


if __name__ == "__main__":
    main()
