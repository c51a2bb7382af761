#!/usr/bin/env python3
"""The life of the packages on one host: upgraded, broken, downgraded, removed, purged.

installed_host.py says how this is run. The version before is made here, of the packages themselves.
"""

import pathlib
import re
import shutil
import subprocess
import threading
import time
import unittest

import installed_host
from installed_host import CONFIGURATION, DESCRIPTION, DEVICE, SERVICES, SOCKETS

OLD_VERSION = "1.0"
OLD_LINE = "# What the version before had to say.\n"
# Stands in for a service that takes long to stop: tells that it was asked, and ends when it is let.
SLOW_STOP = """#!/bin/sh
echo asked >/run/slow-stop/asked
read -r _ </run/slow-stop/let
exec systemctl stop agent.service
"""
SLOW_DESCRIPTION = """CheckInstall=/bin/true
ServiceStop=/usr/local/bin/slow-stop
ServiceStart=/bin/systemctl start agent.service
TimeoutSeconds=100
"""
STATE = "var/opt/veltaro/kzm"
LOCK = "opt/veltaro/kzm/provider/tmp/Logger"


def field(package: pathlib.Path, name: str) -> str:
    """What a package's control file says."""
    return subprocess.run(["dpkg-deb", "--field", package, name], capture_output=True, text=True,
                          check=True).stdout.strip()


def make_older(package: pathlib.Path, folder: pathlib.Path) -> pathlib.Path:
    """The same package as a version before, with another line in a configuration file."""
    tree = folder / "tree"
    shutil.rmtree(tree, ignore_errors=True)
    subprocess.run(["dpkg-deb", "--raw-extract", package, tree], check=True)
    control = tree / "DEBIAN/control"
    text = control.read_text(encoding="utf-8").replace(field(package, "Version"), OLD_VERSION)
    control.write_text(text, encoding="utf-8")
    shipped = tree / CONFIGURATION / "wbemd.conf"
    if shipped.exists():
        shipped.write_text(OLD_LINE + shipped.read_text(encoding="ascii"), encoding="ascii")
    older = folder / f"{field(package, 'Package')}.deb"
    subprocess.run(["dpkg-deb", "-Znone", "--root-owner-group", "--build", tree, older], check=True,
                   stdout=subprocess.DEVNULL)
    shutil.rmtree(tree)
    return older


def listing(package: pathlib.Path) -> dict:
    """Mode and owner of each path that a package alone has."""
    shown = subprocess.run(["dpkg-deb", "--contents", package], capture_output=True, text=True,
                           check=True).stdout
    paths = {}
    for line in shown.splitlines():
        mode, owner, _, _, _, path = line.split(maxsplit=5)
        path = path.split(" -> ")[0].removeprefix(".").rstrip("/")
        if not mode.startswith("d") or "veltaro" in path:
            paths[path] = (mode, owner.replace("/", ":"))
    return paths


class Lifecycle(installed_host.InstalledHost):
    """One host's life; the tests run in the order of their names."""

    packages: list
    version: str

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        packages = [package for package in installed_host.PACKAGES if "-dbgsym" not in package.name]
        cls.packages = packages
        cls.version = field(packages[0], "Version")
        older = installed_host.FOLDER / "older"
        older.mkdir(exist_ok=True)
        cls.bring("new", packages)
        cls.bring("old", [make_older(package, older) for package in packages])
        shutil.rmtree(older)

    def assert_version(self, version: str) -> None:
        """All packages are installed in this version, whole and with their modes."""
        shown = self.host.output("dpkg-query", "-W", "-f", "${db:Status-Abbrev}${Version}\n", "kzm-*")
        self.assertEqual(set(shown.splitlines()), {f"ii {version}"})
        expected = [f"{mode} {owner} {path}" for package in self.packages
                    for path, (mode, owner) in listing(package).items()]
        paths = [line.split(maxsplit=2)[2] for line in expected]
        found = self.host.output("stat", "-c", "%A %U:%G %n", *paths)
        self.assertEqual(found.splitlines(), expected)

    def state(self) -> dict:
        """All that an administrator and the product have written, with owners and modes."""
        self.host.run("sync")
        written = self.host.output(
            "sh", "-c", f"cd / && find {CONFIGURATION} {DEVICE} {STATE} {installed_host.SETTINGS} "
                        r"etc/pam.d/kzmwbem -type f -printf '%M %u:%g %p\n'")
        files = {}
        for line in written.splitlines():
            path = line.split(maxsplit=2)[2]
            files[line] = (self.host.root / path).read_bytes()
        return files

    def assert_changed(self, before: dict, names: set) -> None:
        """These files differ, and the history has grown; all else is as it was."""
        after = self.state()
        self.assertEqual({line.split("/")[-1] for line in before if after.get(line) != before[line]},
                         names)
        self.assertTrue(all("/history/" in line for line in after.keys() - before.keys()))

    def assert_serves(self, threshold: int) -> None:
        """A client reads this, the tool shows this, and the agent runs."""
        self.assertIn("VELTARO_LoggerConf", self.read())
        self.assertEqual(self.host.output("loggerctl", "get", "cpu.threshold"), str(threshold))
        self.assertEqual(self.state_of("agent.service"), "active")

    def test_01_installed_with_a_closed_umask(self) -> None:
        """Everybody can use it, and nobody has more rights than the package says."""
        self.install("old", "077")
        self.assert_version(OLD_VERSION)
        self.open_server()
        self.assertIn("<VALUE>0</VALUE>", self.change_with_certificate(71))
        self.assertEqual(self.host.output("runuser", "-u", "carol", "--", "loggerctl", "--version"),
                         f"loggerctl {self.version}")
        with open(self.host.root / CONFIGURATION / "providerd.conf", "a", encoding="ascii") as file:
            file.write("ChangingGroups=operators\n")

    def change_with_certificate(self, threshold: int) -> str:
        """A change by a client that knows the certificate: the first call has it made."""
        self.read()
        return self.change(threshold)

    def test_02_upgraded_in_the_middle_of_a_change(self) -> None:
        """The change is finished and answered first; nothing else is different afterwards."""
        before = self.state()
        process = self.process_of("kzm-providerd.service")
        upgrade = threading.Thread(target=self.install, args=("new",))

        def begin_upgrade() -> None:
            upgrade.start()
            self.wait_until(lambda: self.state_of("kzm-providerd.service") == "deactivating")

        answer = self.in_the_middle(lambda: self.change(72), begin_upgrade)
        upgrade.join()
        self.assertIn("<VALUE>0</VALUE>", answer)
        self.assert_version(self.version)
        self.assert_serves(72)
        self.assertNotEqual(self.process_of("kzm-providerd.service"), process)
        self.assert_changed(before, {"alert.cfg", "wbemd.conf"})
        conf = (self.host.root / CONFIGURATION / "wbemd.conf").read_text(encoding="ascii")
        self.assertNotIn(OLD_LINE, conf)

    def in_the_middle(self, change, act):
        """What a change returns in whose middle, while the service stops, something is done."""
        script = self.host.root / "usr/local/bin/slow-stop"
        script.write_text(SLOW_STOP, encoding="ascii")
        script.chmod(0o755)
        self.host.run("sh", "-c", "mkdir /run/slow-stop && cd /run/slow-stop && mkfifo asked let")
        description = self.host.root / DEVICE
        description.write_text(SLOW_DESCRIPTION, encoding="ascii")
        answers: list = []
        client = threading.Thread(target=lambda: answers.append(change()))
        client.start()
        self.host.run("cat", "/run/slow-stop/asked")
        act()
        self.host.run("sh", "-c", "echo now >/run/slow-stop/let")
        client.join()
        description.write_text(DESCRIPTION, encoding="ascii")
        self.host.run("rm", "-r", "/run/slow-stop")
        return answers[0]

    @staticmethod
    def wait_until(condition) -> None:
        """Waits for what another process does."""
        for _ in range(600):
            if condition():
                return
            time.sleep(0.1)
        raise AssertionError("it did not come")

    def test_03_installed_over_a_broken_one(self) -> None:
        """Whatever was deleted is there again, and what was written stays."""
        before = self.state()
        self.host.run("sh", "-c", "rm -r /opt/veltaro/kzm/bin /opt/veltaro/kzm/lib "
                      "/opt/veltaro/kzm/provider/lib /opt/veltaro/kzm/provider/schema "
                      "/opt/veltaro/kzm/provider/tmp /usr/lib/systemd/system/kzm* "
                      "/usr/lib/sysusers.d/kzm* /usr/lib/tmpfiles.d/kzm* /etc/pam.d/kzmwbem "
                      "/usr/sbin/loggerctl")
        self.install("new", "022", "--force-confmiss")
        self.assert_version(self.version)
        self.assertEqual(self.host.output("dpkg", "--verify", "kzm-logger-provider", "kzm-dev"), "")
        self.assert_serves(72)
        self.assertEqual(self.state(), before)

    def test_04_downgraded(self) -> None:
        """A tool at work goes on, and the version before works with what the later one has written."""
        before = self.state()
        self.assertIn("73", self.in_the_middle(
            lambda: self.host.output("loggerctl", "set", "cpu.threshold=73"),
            lambda: self.install("old", "027")))
        self.assert_version(OLD_VERSION)
        self.assert_serves(73)
        self.assert_changed(before, {"alert.cfg", "wbemd.conf"})
        self.host.run("loggerctl", "restore")
        self.assert_serves(72)
        self.install("new", "027")
        self.assert_version(self.version)
        self.assert_serves(72)

    def test_05_removed(self) -> None:
        """The daemons go at once; settings, configuration, history and users stay."""
        before = self.state()
        agent = self.process_of("agent.service")
        self.host.run("dpkg", "--remove", "kzm-wbemd", "kzm-logger-provider", "kzm-dev")
        for unit in SERVICES + SOCKETS:
            self.assertEqual(self.state_of(unit), "inactive", unit)
        self.assertFalse((self.host.root / "opt/veltaro/kzm/bin").exists())
        self.assertFalse((self.host.root / "usr/sbin/loggerctl").is_symlink())
        self.assertEqual(self.state(), before)
        self.assertEqual(self.process_of("agent.service"), agent)
        self.host.run("getent", "passwd", "kzmwbem")

    def test_06_installed_again(self) -> None:
        """It goes on where it was, the sockets as the administrator left them."""
        before = self.state()
        self.install("new")
        self.assertEqual(self.state(), before)
        for socket in SOCKETS:
            self.assertEqual(self.host.output("systemctl", "is-enabled", socket), "enabled")
        self.host.run("systemctl", "start", *SOCKETS)
        self.assert_serves(72)
        self.assertIn("root", self.host.output("loggerctl", "history"))

    def purge(self) -> None:
        """Nobody is there to be asked anything."""
        self.host.run("dpkg", "--purge", "kzm-wbemd", "kzm-logger-provider", "kzm-dev")

    def left(self) -> list:
        """Where the host still knows the product, but for its journal."""
        found = self.host.output(
            "sh", "-c", r"find / -xdev ! -path '/packages*' ! -path '/var/log/*' "
                        r"! -path '/etc/*-' \( -name '*kzm*' -o -name 'loggerctl*' \)")
        known = self.host.run("grep", "-E", "kzm", "/etc/passwd", "/etc/group", "/etc/shadow",
                              check=False).stdout
        return sorted(found.splitlines() + re.findall(r"^[^:]*:[^:]*", known, re.MULTILINE))

    def test_07_purged(self) -> None:
        """What the package made is gone; what the administrator wrote for the agent is not."""
        before = self.settings()
        self.purge()
        self.assertEqual(self.left(), ["/opt/veltaro/kzm"])
        self.assertEqual(self.host.output("find", "/opt/veltaro", "-type", "f"), f"/{DEVICE}")
        self.assertFalse((self.host.root / STATE).exists())
        self.assertEqual(self.settings(), before)
        self.assertEqual(self.state_of("agent.service"), "active")

    def test_08_purged_without_what_others_made(self) -> None:
        """A group and a certificate of somebody else's stay."""
        self.host.run("groupadd", "kzm-readers")
        self.install("new")
        for kind in ("cert", "key"):
            (self.host.root / CONFIGURATION / f"wbemd-{kind}.pem").write_text("mine", encoding="ascii")
        self.host.run("systemctl", "start", "kzmwbemd-certificate.service")
        self.purge()
        self.host.run("getent", "group", "kzm-readers")
        self.assertEqual(sorted(path.name for path in (self.host.root / CONFIGURATION).iterdir()),
                         ["wbemd-cert.pem", "wbemd-key.pem"])
        self.assertNotEqual(self.host.run("getent", "passwd", "kzmwbem", check=False).returncode, 0)

    def test_09_nothing_failed(self) -> None:
        """No unit of the host is left in failure."""
        self.assertEqual(self.host.output("systemctl", "--failed", "--no-legend", "--plain"), "")


if __name__ == "__main__":
    installed_host.main()
