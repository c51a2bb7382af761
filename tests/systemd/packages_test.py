#!/usr/bin/env python3
"""What is in the packages: for lintian, for whoever builds them again, or has RPM.

installed_host.py says how this is run. The packages for RPM, and what belongs to a build, stand in the
packages' folder, too.
"""

import os
import pathlib
import re
import shutil
import stat
import subprocess
import tempfile
import unittest

import container
import installed_host

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
RPM_DATABASE = "/var/lib/rpm"
# What each kind of package, and its tool, has for itself.
DEBIAN_ONLY = ("/usr/share/doc/", "/usr/share/lintian/", "/var/lib/dpkg/", "/var/lib/systemd/",
               "/var/opt/veltaro/kzm/wbemd/made-accounts")


def output(*command, **options) -> str:
    """What a command that must succeed prints."""
    done = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def files_in(root: pathlib.Path) -> dict:
    """Mode and owner of all below a root, and where links lead."""
    found = {}
    for folder, folders, names in os.walk(root):
        if folder == str(root):
            folders.remove("proc")
        for name in folders + names:
            path = pathlib.Path(folder) / name
            status = path.lstat()
            target = os.readlink(path) if path.is_symlink() else ""
            found["/" + str(path.relative_to(root))] = (
                stat.filemode(status.st_mode), status.st_uid, status.st_gid, target)
    return found


class Packages(unittest.TestCase):
    """The packages as files, and installed in roots that do not run."""

    folder: pathlib.Path
    packages: list
    base: dict

    @classmethod
    def setUpClass(cls) -> None:
        cls.folder = installed_host.PACKAGES[0].parent
        cls.packages = sorted(cls.folder.glob("*.deb"))
        cls.base = files_in(installed_host.FOLDER / "base")

    def make_root(self, name: str) -> container.Container:
        """A root of its own, to install in."""
        root = container.Container(installed_host.FOLDER / "base", installed_host.FOLDER / name)
        self.addCleanup(root.end)
        # Programs find their own folder through it, and with it their libraries.
        subprocess.run(["mount", "--bind", "/proc", root.root / "proc"], check=True)
        return root

    def install_debian(self, root: container.Container) -> None:
        """Installs what users install; the debug symbols are left out, and Cockpit is not there."""
        shutil.copytree(self.folder, root.root / "packages",
                        ignore=lambda _, names: [n for n in names if not re.search(r"^[^_]*[^m]_.*deb$", n)])
        root.run("sh", "-c", "dpkg --install --force-depends /packages/*.deb && rm -r /packages")

    def added(self, root: container.Container) -> dict:
        """What is in a root beside the base."""
        return {path: what for path, what in files_in(root.root).items()
                if path not in self.base and not path.startswith((RPM_DATABASE, *DEBIAN_ONLY))}

    def test_lintian_finds_nothing(self) -> None:
        """No errors and no warnings but those that are overridden, and no override is for nothing."""
        said = output("lintian", "--allow-root", "--tag-display-limit", "0", "--fail-on",
                      "error,warning", "--display-info", *self.folder.glob("*.changes"))
        self.assertEqual([line for line in said.splitlines()
                          if line.startswith(("E:", "W:")) or "unused-override" in line], [])

    def test_built_again_they_are_the_same(self) -> None:
        """Elsewhere, from another check-out, with another umask, time zone and language, byte for byte."""
        with tempfile.TemporaryDirectory(prefix="another-folder-") as again:
            parts = [path for path in SOURCE.iterdir() if path.name not in ("build", ".git")]
            subprocess.run(["cp", "-R", *parts, again], check=True)
            log = self.folder / "source/debian/changelog"
            time = output("dpkg-parsechangelog", "-l", log, "-S", "Timestamp").strip()
            output("sh", "-c", "umask 077 && exec packaging/build_deb.sh built", cwd=again,
                   env={**os.environ, "SOURCE_DATE_EPOCH": time, "TZ": "Pacific/Chatham",
                        "LC_ALL": "C.UTF-8"})
            for package in self.packages:
                built = pathlib.Path(again) / "built" / package.name
                self.assertEqual(built.read_bytes(), package.read_bytes(), package.name)

    def test_tool_is_where_people_look(self) -> None:
        """On the path, in the manual, and in what shells complete."""
        root = self.make_root("host")
        self.install_debian(root)
        self.assertEqual(root.output("sh", "-c", "command -v loggerctl"), "/usr/sbin/loggerctl")
        self.assertIn("loggerctl", root.output("loggerctl", "--version"))
        page = output("man", "-M", root.root / "usr/share/man", "-w", "8", "loggerctl").strip()
        self.assertEqual(page, str(root.root / "usr/share/man/man8/loggerctl.8.gz"))
        for path in ("bash-completion/completions/loggerctl", "zsh/vendor-completions/_loggerctl",
                     "fish/vendor_completions.d/loggerctl.fish"):
            self.assertTrue((root.root / "usr/share" / path).is_file(), path)

    def test_first_certificate_is_made_where_there_is_none(self) -> None:
        """What is there already, or named in the configuration, is left alone."""
        root = self.make_root("host")
        self.install_debian(root)
        folder = root.root / installed_host.CONFIGURATION
        key, certificate, conf = (folder / name for name in ("wbemd-key.pem", "wbemd-cert.pem",
                                                             "wbemd.conf"))
        make = ("sh", "-c", "umask 000 && exec /opt/veltaro/kzm/bin/kzmwbemd-certificate")
        conf.write_text("Certificate=/etc/ssl/other.pem\n", encoding="ascii")
        root.run(*make)
        self.assertEqual(sorted(path.name for path in folder.iterdir()), ["providerd.conf", "wbemd.conf"])
        conf.write_text("", encoding="ascii")
        certificate.write_text("mine", encoding="ascii")
        root.run(*make)
        self.assertFalse(key.exists())
        certificate.unlink()
        root.run(*make)
        self.assertEqual(root.output("stat", "-c", "%a %U:%G", *(f"/{path.relative_to(root.root)}"
                                                                 for path in (certificate, key))),
                         "644 root:root\n640 root:kzmwbem")
        first = certificate.read_bytes(), key.read_bytes()
        root.run(*make)
        self.assertEqual((certificate.read_bytes(), key.read_bytes()), first)
        certificate.unlink()
        root.run(*make)
        self.assertEqual(key.read_bytes(), first[1])
        self.assertNotEqual(certificate.read_bytes(), first[0])
        text = output("openssl", "x509", "-in", certificate, "-noout", "-checkhost", "localhost", "-pubkey")
        self.assertIn("does match", text)
        self.assertIn(output("openssl", "pkey", "-in", key, "-pubout"), text)

    def test_rpm_installs_the_same(self) -> None:
        """Paths, modes and owners are the same, and removing leaves what removing leaves in Debian."""
        debian = self.make_root("debian")
        self.install_debian(debian)
        rpm = self.make_root("rpm")
        packages = [str(path) for path in self.folder.glob("*.rpm")]
        self.assertEqual(len(packages), 4)
        # The other packages of this root are not in its RPM database.
        self.rpm(rpm, "--install", "--nodeps", *packages)
        self.assertEqual(self.added(rpm), self.added(debian))
        self.assertIn("loggerctl", rpm.output("loggerctl", "--version"))
        self.assertEqual(self.rpm(rpm, "--verify", "--nodeps", "--all"), "")
        conf = rpm.root / installed_host.CONFIGURATION / "providerd.conf"
        conf.write_text("ChangingGroups=operators\n", encoding="ascii")
        self.rpm(rpm, "--upgrade", "--nodeps", "--replacepkgs", *packages)
        self.assertEqual(conf.read_text(encoding="ascii"), "ChangingGroups=operators\n")
        self.rpm(rpm, "--erase", "--nodeps", "kzm-wbemd", "cockpit-kzm-logger", "kzm-dev",
                 "kzm-logger-provider")
        self.assertEqual(conf.with_suffix(".conf.rpmsave").read_text(encoding="ascii"),
                         "ChangingGroups=operators\n")
        self.assertFalse((rpm.root / "opt/veltaro").exists())
        self.assertFalse((rpm.root / "usr/share/cockpit/kzm-logger").exists())

    @staticmethod
    def rpm(root: container.Container, *arguments: str) -> str:
        """What rpm says of a root."""
        return output("rpm", "--root", root.root, "--dbpath", RPM_DATABASE, *arguments)


if __name__ == "__main__":
    installed_host.main()
