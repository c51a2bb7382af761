"""Hosts for tests of a fleet: each an sshd of its own on a loopback address, in namespaces of its own.

To be used in a mount, PID and network namespace that belongs to the test: whatever becomes of the test,
the kernel takes down all hosts and all that they have mounted with it.
"""

import fcntl
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time
import typing

SSH = 22
HTTPS = 5989
HERE = pathlib.Path(__file__).resolve().parent
REPOSITORY = HERE.parent.parent
SAMPLES = REPOSITORY / "demo"
SETTINGS = "etc/opt/veltaro/ardenvale"
PRODUCT = "opt/veltaro/kzm"
FOLDERS = ("etc/opt", "opt", "root", "run/sshd", "srv", "tmp", "var/opt")
PATIENCE = 60  # seconds: far more than anything takes that is waited for

DESCRIPTION = {
    "CheckInstall": "/opt/agent/agent.sh installed",
    "ServiceStop": "/opt/agent/agent.sh stop",
    "ServiceStart": "/opt/agent/agent.sh start",
    "ServiceStatus": "/opt/agent/agent.sh status",
    "TimeoutSeconds": "60",
}
SSHD_CONFIG = """HostKey /run/sshd/host_key
AuthorizedKeysFile /run/sshd/authorized_keys
PidFile none
StrictModes no
UsePAM no
PasswordAuthentication no
Subsystem sftp internal-sftp
SetEnv PATH=/opt/veltaro/kzm/bin:/usr/sbin:/usr/bin:/sbin:/bin
"""


def await_event(happened: typing.Callable[[], bool], what: str) -> None:
    """Waits until it has happened."""
    limit = time.monotonic() + PATIENCE
    while not happened():
        if time.monotonic() > limit:
            raise AssertionError(f"waited in vain: {what}")
        time.sleep(0.02)


class Host:
    """A host and its files, which outlive it: it can be started again."""

    def __init__(self, name: str, number: int, work: pathlib.Path) -> None:
        self.name = name
        self.address = f"127.77.0.{number}"
        self.files = work / "hosts" / name
        self._process: typing.Optional[subprocess.Popen] = None

    def lay_out(self, key: str) -> None:
        """Makes the files of a host on which the agent is installed."""
        for folder in FOLDERS:
            (self.files / folder).mkdir(parents=True)
        self._lay_out_agent()
        self._lay_out_sshd(key)
        (self.files / "run/file-systems").touch()

    def add_product(self, product: pathlib.Path) -> None:
        """Gives the host the product, out of the tree that it was installed into."""
        for folder in ("opt", "var/opt"):
            shutil.copytree(product / folder, self.files / folder, dirs_exist_ok=True, symlinks=True)
        device = self.files / PRODUCT / "provider/device"
        device.mkdir(exist_ok=True)
        (device / "Logger.conf").write_text(
            "".join(f"{name}={value}\n" for name, value in DESCRIPTION.items()), encoding="ascii")

    def add_overlay(self) -> None:
        """Gives the host all of the machine's own files, to be changed on the host alone."""
        (self.files / "overlay/etc").mkdir(parents=True)
        shutil.copy(self.files / "etc/shadow", self.files / "overlay/etc")

    def _lay_out_agent(self) -> None:
        agent = self.files / "opt/agent"
        agent.mkdir()
        shutil.copy(HERE / "agent.sh", agent)
        shutil.copy(SAMPLES / "agent.sh", agent / "process.sh")
        (agent / "seconds-to-stop").write_text("0", encoding="ascii")
        (agent / "runs").touch()
        (self.files / SETTINGS).mkdir(parents=True)
        for name in ("agent.cfg", "alert.cfg"):
            shutil.copy(HERE / name, self.files / SETTINGS)

    def _lay_out_sshd(self, key: str) -> None:
        folder = self.files / "run/sshd"
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", folder / "host_key"],
                       check=True)
        (folder / "authorized_keys").write_text(key, encoding="ascii")
        (folder / "config").write_text(SSHD_CONFIG, encoding="ascii")
        (self.files / "etc/shadow").write_text("root:*:19000::::::\n", encoding="ascii")

    def make_certificate(self, folder: pathlib.Path) -> None:
        """Makes certificate and key of the host's management server."""
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                        "ec_paramgen_curve:P-256", "-nodes", "-days", "30", "-subj", "/CN=fleet",
                        "-addext", f"subjectAltName=IP:{self.address}", "-keyout",
                        folder / "wbemd-key.pem", "-out", folder / "wbemd-cert.pem"],
                       check=True, stderr=subprocess.DEVNULL)

    def add_server(self) -> None:
        """Gives the host the management server, for root with the password "of-root"."""
        etc = self.files / "etc/opt/veltaro/kzm"
        pam = self.files / "run/pam"
        for folder in (etc, pam, self.files / "run/kzm"):
            folder.mkdir()
        self.make_certificate(etc)
        (etc / "wbemd.conf").write_text(f"Listen={self.address}:{HTTPS}\n", encoding="ascii")
        (etc / "providerd.conf").write_text("FrontEndUser=root\n", encoding="ascii")
        module = next(pathlib.Path("/usr/lib").glob("*/pam_wrapper/pam_matrix.so"))
        (pam / "kzmwbem").write_text(
            "".join(f"{kind} required {module} passdb=/run/pam/passdb\n"
                    for kind in ("auth", "account")), encoding="ascii")
        (pam / "passdb").write_text("root:of-root:kzmwbem\n", encoding="ascii")

    def mount(self, mount_point: str) -> None:
        """Gives the host a file system of its own, from its next start on."""
        with open(self.files / "run/file-systems", "a", encoding="ascii") as file_systems:
            file_systems.write(mount_point + "\n")

    def host_key(self) -> str:
        """Its line in known_hosts."""
        key = (self.files / "run/sshd/host_key.pub").read_text(encoding="ascii")
        return f"{self.address} {key}"

    def start(self) -> None:
        """Starts the host; `await_port` tells when it can be reached."""
        self._process = subprocess.Popen(
            ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
             HERE / "host.sh", self.files, self.address],
            stdin=subprocess.DEVNULL)

    def await_port(self, port: int) -> None:
        """Waits until the host can be reached there."""
        await_event(lambda: self._listens(port), f"{self.name} can be reached at port {port}")

    def _listens(self, port: int) -> bool:
        assert self._process is not None
        if self._process.poll() is not None:
            raise AssertionError(f"{self.name} ended: {self.sshd_log()}")
        try:
            socket.create_connection((self.address, port), timeout=PATIENCE).close()
        except ConnectionRefusedError:
            return False
        return True

    def sshd_log(self) -> str:
        """What its sshd has said."""
        log = self.files / "run/sshd/log"
        return log.read_text(encoding="utf-8") if log.exists() else ""

    def is_running(self) -> bool:
        """Whether the host has not gone down."""
        return self._process is not None and self._process.poll() is None

    def end(self) -> None:
        """Ends the host, with all its processes and mounts."""
        if self._process is not None:
            self._process.send_signal(signal.SIGKILL)
            self._process.wait()

    def path(self, name: str) -> pathlib.Path:
        """A file of the host, as it is seen from outside."""
        return self.files / name

    def settings(self) -> typing.Dict[str, str]:
        """Both settings files."""
        return {name: self.path(f"{SETTINGS}/{name}").read_text(encoding="ascii")
                for name in ("agent.cfg", "alert.cfg")}

    def agent_log(self) -> typing.List[str]:
        """The starts and stops of its agent, the first start included."""
        log = self.path("opt/agent/log")
        return log.read_text(encoding="ascii").split() if log.exists() else []


class HeldLock:
    """Somebody else's change of a host that does not come to its end."""

    def __init__(self, host: Host) -> None:
        self._file = open(host.path("var/opt/veltaro/kzm/logger/caller.lock"), "ab")
        os.fchmod(self._file.fileno(), 0o600)
        fcntl.flock(self._file, fcntl.LOCK_EX)

    def give_back(self) -> None:
        """Ends it."""
        self._file.close()
