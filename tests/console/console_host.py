#!/usr/bin/env python3
"""A host in a container with Cockpit and the packages, as an administrator finds it in a browser.

Test programs are run as: PROGRAM FOLDER PACKAGE...
They work in FOLDER, where the container's system must stand in "base", and need root, and network and
mounts of their own: `unshare --net --mount`. KZM_CONSOLE_TESTS=PATTERN chooses tests by their names.

Run by itself as console_host.py BASE FOLDER, makes the root of the container's system in FOLDER of that
of the systemd tests (tests/systemd/container.py), unless it is there; this needs the network.
"""

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
DESCRIPTION = """CheckInstall=/bin/true
ServiceStop=/bin/systemctl stop agent.service
ServiceStart=/bin/systemctl start agent.service
ServiceStatus=/bin/systemctl is-active --quiet agent.service
TimeoutSeconds=20
"""
PORT = 9090
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

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.bring("new", installed_host.PACKAGES)
        cls.install("new")
        cls.describe()
        for user, groups in ((ADMINISTRATOR, "sudo"), (ORDINARY_USER, "")):
            cls.host.run("useradd", "--create-home", "--shell", "/bin/bash", "--groups", groups, user)
            cls.host.run("chpasswd", text=f"{user}:{cls.password_of(user)}\n")

    @classmethod
    def describe(cls, description: str = DESCRIPTION) -> None:
        """Writes the device description."""
        (cls.host.root / installed_host.DEVICE).write_text(description, encoding="ascii")

    @staticmethod
    def password_of(user: str) -> str:
        """What the user logs in with."""
        return f"of-{user}"

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
            test.browser.keep(installed_host.FOLDER / f"{test.id().rsplit('.', 1)[-1]}.png")


def main() -> None:
    """Runs the tests of the program that calls this."""
    installed_host.FOLDER = pathlib.Path(sys.argv[1]).resolve()
    installed_host.PACKAGES = [pathlib.Path(name).resolve() for name in sys.argv[2:]]
    for picture in installed_host.FOLDER.glob("*.png"):
        picture.unlink()
    unittest.defaultTestLoader.testNamePatterns = [f"*{os.environ.get('KZM_CONSOLE_TESTS', '')}*"]
    unittest.main(argv=sys.argv[:1], testLoader=unittest.defaultTestLoader, verbosity=2,
                  testRunner=unittest.TextTestRunner(resultclass=WithPictures, verbosity=2))


if __name__ == "__main__":
    make_base(*(pathlib.Path(name).resolve() for name in sys.argv[1:]))
