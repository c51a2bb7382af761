#!/usr/bin/env python3
"""A host in a container with Cockpit and the packages, as an administrator finds it in a browser.

Test programs are run as: PROGRAM FOLDER PACKAGE...
They work in FOLDER, where the container's system must stand in "base", and need root, and network and
mounts of their own: `unshare --net --mount`. KZM_CONSOLE_TESTS=PATTERN chooses tests by their names.

Run by itself as console_host.py BASE FOLDER, makes the root of the container's system in FOLDER of that
of the systemd tests (tests/systemd/container.py), unless it is there; this needs the network.
"""

import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "systemd"))
import installed_host # pylint: disable=wrong-import-position

PACKAGES = "cockpit-bridge cockpit-system cockpit-ws sudo"
# An administrator becomes root by sudo; root itself is refused by Cockpit.
ADMINISTRATOR = "alice"
ORDINARY_USER = "bob"
DOCUMENTS = pathlib.Path(__file__).resolve().parent.parent.parent / "docs"
# What pictures.py makes for the documents.
PICTURES = (DOCUMENTS / "console.png", DOCUMENTS / "console-review.png")
# The entry of the sample that is for no file system of the container.
UNMOUNTED = 'FSNAME="/srv/backup"'
HOST_NAME = "sample"
DESCRIPTION = """CheckInstall=/bin/true
ServiceStop=/bin/systemctl stop agent.service
ServiceStart=/bin/systemctl start agent.service
ServiceStatus=/bin/systemctl is-active --quiet agent.service
TimeoutSeconds=20
"""
# A service command that tells that it was asked, and goes on when it is let.
GATE = """#!/bin/sh
echo asked >/run/gate/asked
read -r _ </run/gate/let
exec systemctl "$1" agent.service
"""
PORT = 9090
PROGRAM = pathlib.Path(sys.argv[0]).stem
# What a busy machine may need for anything that is waited for.
PATIENCE_SECONDS = 60


def make_base(plain: pathlib.Path, folder: pathlib.Path) -> None:
    """Makes the root of the container's system, unless it is there with these packages."""
    made = folder.with_suffix(".packages")
    wanted = plain.with_suffix(".packages").read_text(encoding="ascii") + " " + PACKAGES
    if folder.exists() and made.exists() and made.read_text(encoding="ascii") == wanted:
        return
    unfinished = folder.with_suffix(".unfinished")
    for old in (folder, unfinished):
        shutil.rmtree(old, ignore_errors=True)
    folder.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(["cp", "-a", plain, unfinished], check=True)
    install = f"apt-get install -qq --yes --no-install-recommends {PACKAGES}"
    subprocess.run(["chroot", unfinished, "sh", "-c", f"apt-get update -qq && {install}"], check=True,
                   env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8",
                        "DEBIAN_FRONTEND": "noninteractive"}, stdout=subprocess.DEVNULL)
    unfinished.rename(folder)
    made.write_text(wanted, encoding="ascii")


def wait_until(condition, what: str):
    """What the condition gives as soon as it gives something."""
    deadline = time.monotonic() + PATIENCE_SECONDS
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise AssertionError(f"did not come: {what}")


class ConsoleHost(installed_host.InstalledHost):
    """One host with Cockpit, whose agent is described and runs."""

    samples: dict = {}

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.bring("new", installed_host.PACKAGES)
        cls.install("new")
        cls.describe()
        for user, groups in ((ADMINISTRATOR, "sudo"), (ORDINARY_USER, "")):
            cls.host.run("useradd", "--create-home", "--shell", "/bin/bash", "--groups", groups, user)
            cls.host.run("chpasswd", text=f"{user}:{cls.password_of(user)}\n")
            # Mounts what the user's sessions would mount and unmount in the midst of the tests.
            cls.host.run("loginctl", "enable-linger", user)
            cls.host.run("systemctl", "start", f"user@{cls.host.output('id', '-u', user)}")

    @classmethod
    def describe(cls, description: str = DESCRIPTION) -> None:
        """Writes the device description."""
        (cls.host.root / installed_host.DEVICE).write_text(description, encoding="ascii")

    @staticmethod
    def password_of(user: str) -> str:
        """What the user logs in with."""
        return f"of-{user}"

    @classmethod
    def _lay_out_agent(cls) -> None:
        super()._lay_out_agent()
        (cls.host.root / "etc/hostname").write_text(HOST_NAME + "\n", encoding="ascii")
        alert = cls.host.root / installed_host.SETTINGS / "alert.cfg"
        lines = alert.read_text(encoding="ascii").splitlines(keepends=True)
        alert.write_text("".join(line for line in lines if not line.startswith(UNMOUNTED)), encoding="ascii")
        for name in installed_host.FILES:
            cls.samples[name] = (cls.host.root / installed_host.SETTINGS / name).read_bytes()

    def write(self, name: str, content: bytes) -> None:
        """Puts another settings file in the place of the one that is there, as editors do."""
        path = f"/{installed_host.SETTINGS}/{name}"
        (self.host.root / (path + ".new")[1:]).write_bytes(content)
        self.host.run("mv", path + ".new", path)

    def edit(self, name: str, old: str, new: str) -> None:
        """Exchanges words of a settings file, as somebody does in an editor."""
        text = self.file(name)
        self.assertIn(old, text)
        self.write(name, text.replace(old, new).encode())

    def file(self, name: str) -> str:
        """A settings file as it is."""
        return (self.host.root / installed_host.SETTINGS / name).read_text(encoding="utf-8")

    def agent_process(self) -> str:
        """The process of the agent; it is another one after a restart."""
        return self.process_of("agent.service")

    @contextlib.contextmanager
    def gate(self, step: str):
        """While it lasts, the service's Start or Stop waits to be let: a call of what is given lets it.

        Wait first, by `asked`, until the command was asked.
        """
        script = self.host.root / "usr/local/bin/gate"
        script.write_text(GATE, encoding="ascii")
        script.chmod(0o755)
        self.host.run("sh", "-c", "mkdir /run/gate && mkfifo /run/gate/asked /run/gate/let")
        verb = step.lower()
        self.describe(DESCRIPTION.replace(f"/bin/systemctl {verb} agent.service", f"/usr/local/bin/gate {verb}")
                      .replace("TimeoutSeconds=20", "TimeoutSeconds=100"))
        try:
            yield lambda: self.host.run("sh", "-c", "echo now >/run/gate/let")
        finally:
            self.describe()
            # Whoever has not been let, for a test has failed, finds no gate any more.
            self.host.run("sh", "-c", "echo now 1<>/run/gate/let; rm -r /run/gate")

    def asked(self) -> None:
        """Waits until the gate's command was asked."""
        self.host.run("timeout", str(PATIENCE_SECONDS), "cat", "/run/gate/asked")

    @classmethod
    def mount(cls, name: str, percent: int = 0) -> None:
        """Mounts a small file system, and fills it so far."""
        cls.host.run("sh", "-c", 'mkdir -p -- "$1" && mount -t tmpfs -o size=400k none "$1" && '
                                  'head -c "$2" /dev/zero >"$1/filling"', "sh", name, str(4096 * percent))

    def unmount(self, name: str) -> None:
        """Takes a file system away, with all that is mounted below it."""
        self.host.run("umount", "--lazy", "--", name)

    def get(self, key: str) -> str:
        """A setting as the tool tells it."""
        return self.host.output("loggerctl", "get", key)


class WithPictures(unittest.TextTestResult):
    """Keeps what a browser shows, and what it has been told, when a test fails."""

    def addError(self, test, err) -> None: # pylint: disable=invalid-name
        self._keep(test)
        super().addError(test, err)

    def addFailure(self, test, err) -> None: # pylint: disable=invalid-name
        self._keep(test)
        super().addFailure(test, err)

    @staticmethod
    def _keep(test) -> None:
        if hasattr(test, "browser"):
            kept = installed_host.FOLDER / f"{PROGRAM}-{test.id().split('.')[2]}"
            test.browser.keep(kept.with_suffix(".png"))
            test.browser.keep_words(kept.with_suffix(".txt"))


def main() -> None:
    """Runs the tests of the program that calls this."""
    installed_host.FOLDER = pathlib.Path(sys.argv[1]).resolve()
    installed_host.PACKAGES = [pathlib.Path(name).resolve() for name in sys.argv[2:]]
    for kept in installed_host.FOLDER.glob(f"{PROGRAM}-*"):
        kept.unlink()
    unittest.defaultTestLoader.testNamePatterns = [f"*{os.environ.get('KZM_CONSOLE_TESTS', '')}*"]
    unittest.main(argv=sys.argv[:1], testLoader=unittest.defaultTestLoader, verbosity=2,
                  testRunner=unittest.TextTestRunner(resultclass=WithPictures, verbosity=2))


if __name__ == "__main__":
    make_base(*(pathlib.Path(name).resolve() for name in sys.argv[1:]))
