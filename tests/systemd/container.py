#!/usr/bin/env python3
"""A small Debian with its own systemd, in a container, for tests of an installed product.

Usage: container.py FOLDER

Run by itself, makes the root of the container's system in FOLDER, unless it is there; this needs the
network.
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

PACKAGES = ("ca-certificates,dbus,libexpat1,libpam-modules,libpam-runtime,libssl3,libstdc++6,mount,"
            "openssl,procps,systemd,systemd-sysv")


def make_base(folder: pathlib.Path) -> None:
    """Makes the root of the container's system, unless it is there with these packages."""
    made = folder.with_suffix(".packages")
    if folder.exists() and made.exists() and made.read_text(encoding="ascii") == PACKAGES:
        return
    shutil.rmtree(folder, ignore_errors=True)
    folder.parent.mkdir(parents=True, exist_ok=True)
    unfinished = folder.with_suffix(".unfinished")
    shutil.rmtree(unfinished, ignore_errors=True)
    subprocess.run(["debootstrap", "--variant=minbase", f"--include={PACKAGES}", "bookworm",
                    unfinished], check=True, stdout=subprocess.DEVNULL)
    unfinished.rename(folder)
    made.write_text(PACKAGES, encoding="ascii")


class Container:
    """The base with changes of its own, in memory, until `end`. It shares this process's network."""

    def __init__(self, base: pathlib.Path, root: pathlib.Path) -> None:
        self._root = root
        self._changes = root.with_suffix(".changes")
        for folder in (self._changes, root):
            folder.mkdir(exist_ok=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "none", self._changes], check=True)
        for name in ("upper", "work"):
            (self._changes / name).mkdir()
        # With xino the kernel's list of locks names files as their status does.
        subprocess.run(["mount", "-t", "overlay", "none", root, "-o",
                        f"lowerdir={base},upperdir={self._changes}/upper,"
                        f"workdir={self._changes}/work,xino=on"], check=True)
        self._log = open(root.with_suffix(".log"), "wb")
        self._nspawn = None
        self._init = 0

    @property
    def root(self) -> pathlib.Path:
        """Its files."""
        return self._root

    @property
    def process(self) -> str:
        """Its first process, as the host around it counts; for who wants to enter its namespaces."""
        return str(self._init)

    def boot(self) -> None:
        """Starts its systemd and waits until all that belongs to it runs."""
        self._nspawn = subprocess.Popen(
            ["systemd-nspawn", "--quiet", "-D", self._root, "--boot", "--register=no",
             "--keep-unit", "--console=pipe"],
            stdin=subprocess.DEVNULL, stdout=self._log, stderr=subprocess.STDOUT)
        self._init = self._await(self._find_init, "the container's systemd")
        self._await(lambda: self._try("systemctl", "is-system-running") == "running",
                    "the container's services")

    def run(self, *command: str, check: bool = True, text: str = "") -> subprocess.CompletedProcess:
        """Runs a command inside, with this text as its standard input."""
        inside = ["nsenter", "--target", str(self._init), "--all", "--wd=/"] if self._init else [
            "chroot", self._root]
        done = subprocess.run([*inside, *command], input=text, capture_output=True, text=True,
                              env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin",
                                   "LC_ALL": "C.UTF-8", "DEBIAN_FRONTEND": "noninteractive"},
                              timeout=300, check=False)
        if check and done.returncode != 0:
            raise AssertionError(f"{command} ended with {done.returncode}\n"
                                 f"{done.stdout}{done.stderr}")
        return done

    def output(self, *command: str) -> str:
        """What a command that must succeed prints, without the last line end."""
        return self.run(*command).stdout.rstrip("\n")

    def end(self) -> None:
        """Shuts the system down and removes it."""
        if self._nspawn is not None:
            if self._init:
                self.run("systemctl", "poweroff", check=False)
            try:
                self._nspawn.wait(timeout=30)
            except subprocess.TimeoutExpired:
                self._nspawn.send_signal(signal.SIGKILL)
                self._nspawn.wait()
        self._log.close()
        for folder in (self._root, self._changes):
            subprocess.run(["umount", "--lazy", folder], check=True)
            folder.rmdir()

    def _find_init(self) -> int:
        children = pathlib.Path(f"/proc/{self._nspawn.pid}/task/{self._nspawn.pid}/children")
        for child in children.read_text(encoding="ascii").split():
            try:
                if os.readlink(f"/proc/{child}/exe").endswith("/systemd"):
                    return int(child)
            except OSError:
                pass
        return 0

    def _try(self, *command: str) -> str:
        return self.run(*command, check=False).stdout.strip()

    def _await(self, condition, what: str):
        for _ in range(600):
            if self._nspawn.poll() is not None:
                break
            value = condition()
            if value:
                return value
            time.sleep(0.1)
        failed = self.run("systemctl", "list-units", "--failed", "--no-legend", "--plain", check=False).stdout
        raise AssertionError(f"{what} did not come up; {self._log.name} says more\n{failed}")


if __name__ == "__main__":
    make_base(pathlib.Path(sys.argv[1]).resolve())
