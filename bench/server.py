#!/usr/bin/env python3
"""Measures the management server beside what it stands on.

    server.py BUILD-FOLDER [--long]

Everything runs on loopback addresses, bounded in count and time. Prints a table, and says whether the
promises are kept (exit status 1 when not). With --long, a million reads of the class and 100,000 of
the settings show whether memory, descriptors and processes stay flat.
"""

import base64
import contextlib
import getpass
import http.client
import json
import os
import pathlib
import re
import socket
import ssl
import statistics
import subprocess
import sys
import tempfile
import time
import typing

SOURCES = pathlib.Path(__file__).resolve().parent
USER, PASSWORD = getpass.getuser(), "demonstration"
AUTHORIZATION = "Basic " + base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
CLASS = "VELTARO_ToolServiceLogger"
NAMESPACE = ('<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="cimv2"/>'
             "</LOCALNAMESPACEPATH>")
ENVELOPE = ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
            '<MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>%s</SIMPLEREQ></MESSAGE></CIM>')
# Each request is the name of its method, the object that it is for, and its body.
GET_CLASS = "GetClass", "root/cimv2", ENVELOPE % (
    f'<IMETHODCALL NAME="GetClass">{NAMESPACE}<IPARAMVALUE NAME="ClassName">'
    f'<CLASSNAME NAME="{CLASS}"/></IPARAMVALUE></IMETHODCALL>')
GET_PARAMETER = "GetParameter", f"root/cimv2:{CLASS}", ENVELOPE % (
    f'<METHODCALL NAME="GetParameter"><LOCALCLASSPATH>{NAMESPACE}<CLASSNAME NAME="{CLASS}"/>'
    "</LOCALCLASSPATH></METHODCALL>")
SECONDS = 5
IDLE_SECONDS = 60
LUA = """wrk.method = "POST"
wrk.path = "/cimom"
wrk.body = %s
wrk.headers["Content-Type"] = "application/xml; charset=utf-8"
wrk.headers["CIMOperation"] = "MethodCall"
wrk.headers["CIMMethod"] = %s
wrk.headers["CIMObject"] = %s
wrk.headers["Authorization"] = %s
function done(summary, latency, requests)
  io.write(string.format("RESULT %%d %%d %%d %%.3f %%.3f %%.3f\\n", summary.requests,
           summary.duration, summary.errors.status + summary.errors.read + summary.errors.timeout,
           latency:percentile(50) / 1000, latency:percentile(99) / 1000, latency.max / 1000))
end
"""


class Load(typing.NamedTuple):
    """Requests a second; the median, the 99th percentile and the longest, in milliseconds."""

    rate: float
    median: float
    p99: float
    longest: float


class Server:
    """Both daemons on a sample host with so many file systems."""

    def __init__(self, build, file_systems):
        self.build = build
        self.root = build / "root"
        # With the library that stands in front of PAM here: the mount command loads it, too.
        self.direct = float(self._output("env", "LD_PRELOAD=libpam_wrapper.so",
                                         build / "bench/direct_call", str(file_systems), "40"))
        subprocess.run(["cmake", "--install", build], check=True, stdout=subprocess.DEVNULL)
        script = ('. "$1/server.sh"; server_layout "$2"; '
                  'echo MaxConnectionsPerPeer=256 >>"$2/etc/opt/veltaro/kzm/wbemd.conf"; '
                  'server_start "$2"; '
                  'echo "$server_port $server_plain_port $server_back $server_front"; '
                  "read -r _ || true; server_stop")
        path = f"{self.root}/opt/veltaro/kzm/bin:{os.environ['PATH']}"
        self._shell = subprocess.Popen(
            ["sh", "-eu", "-c", script, "sh", SOURCES.parent / "demo", self.root],
            env=dict(os.environ, PATH=path), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            text=True)
        words = self._shell.stdout.readline().split()
        self.port, self.plain_port, self.back, self.front = map(int, words)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._shell.communicate("end\n")

    def processes(self):
        """Both daemons and what they have started."""
        found = [self.back, self.front]
        for process in found:
            children = pathlib.Path(f"/proc/{process}/task/{process}/children")
            found += map(int, children.read_text(encoding="ascii").split())
        return found

    def resident(self, name="VmRSS"):
        """Resident memory of the daemons and the worker together, in MB."""
        return sum(int(field(process, name).split()[0]) for process in self.processes()) / 1024

    def wake_ups(self):
        """How often the threads of the daemons and the worker gave way so far."""
        total = 0
        for process in self.processes():
            for thread in pathlib.Path(f"/proc/{process}/task").iterdir():
                total += int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)",
                                       (thread / "status").read_text(), re.M)[1])
        return total

    def descriptors(self):
        """How many descriptors they have open."""
        return sum(len(os.listdir(f"/proc/{process}/fd")) for process in self.processes())

    def connect(self, plain=False, source=None):
        """A connection for http.client."""
        if plain:
            return http.client.HTTPConnection("127.0.0.1", self.plain_port, timeout=60,
                                              source_address=source)
        return http.client.HTTPSConnection("127.0.0.1", self.port, timeout=60,
                                           context=ssl._create_unverified_context(),
                                           source_address=source)

    @staticmethod
    def _output(*command):
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def field(process, name):
    status = pathlib.Path(f"/proc/{process}/status").read_text(encoding="ascii")
    return re.search(rf"^{name}:\s*(.*)", status, re.M)[1]


def call(connection, request):
    """One request; its answer. Anything but success ends the measurement."""
    method, what, body = request
    connection.request("POST", "/cimom", body, {
        "Content-Type": "application/xml; charset=utf-8", "CIMOperation": "MethodCall",
        "CIMMethod": method, "CIMObject": what, "Authorization": AUTHORIZATION})
    answer = connection.getresponse()
    text = answer.read()
    if answer.status != 200 or b"<ERROR" in text:
        sys.exit(f"{answer.status}: {text[:500]!r}")
    return text


def wrk(url, request, connections=1, seconds=SECONDS):
    """What a load of one request brings."""
    with tempfile.NamedTemporaryFile("w", suffix=".lua") as script:
        method, what, body = map(json.dumps, request)
        script.write(LUA % (body, method, what, json.dumps(AUTHORIZATION)))
        script.flush()
        output = subprocess.run(["wrk", "-t1", f"-c{connections}", f"-d{seconds}s", "--latency",
                                 "-s", script.name, url], check=True, capture_output=True,
                                text=True).stdout
    requests, microseconds, errors, *times = re.search(r"RESULT(( [\d.]+)+)", output)[1].split()
    if int(errors) or not int(requests):
        sys.exit(f"{url}: {errors} errors in {requests} requests")
    return Load(int(requests) / int(microseconds) * 1e6, *map(float, times))


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@contextlib.contextmanager
def beside(*command, port):
    """A program that listens at the port, while the block runs."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               stdin=subprocess.DEVNULL)
    try:
        for _ in range(100):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port)):
                break
            time.sleep(0.05)
        yield
    finally:
        process.terminate()
        process.wait()


def get_class(server):
    """GetClass beside the HTTP library's fixed bytes, in turns."""
    port = free_port()
    ours, fixed = [], []
    with beside(server.build / "bench/fixed_answer", str(port), port=port):
        for _ in range(3):
            ours.append(wrk(f"http://127.0.0.1:{server.plain_port}", GET_CLASS))
            fixed.append(wrk(f"http://127.0.0.1:{port}", GET_CLASS))
    rate = statistics.median(load.rate for load in ours)
    return [("GetClass a second, http, 1 client", rate, ">=", 7000),
            ("of fixed bytes by the same HTTP library",
             rate / statistics.median(load.rate for load in fixed), ">=", 0.5),
            ("GetClass, 99th percentile, ms", statistics.median(load.p99 for load in ours),
             "<=", 1)]


def connections_of(port):
    """How many new TLS 1.3 connections a second a client gets at this port, one after the other."""
    output = subprocess.run(["openssl", "s_time", "-new", "-time", str(SECONDS), "-connect",
                             f"127.0.0.1:{port}"], check=True, capture_output=True,
                            text=True).stdout
    return int(re.search(r"(\d+) connections in", output)[1]) / SECONDS


def handshakes(server):
    """New TLS connections beside those of openssl s_server, in turns."""
    port = free_port()
    folder = server.root / "etc/opt/veltaro/kzm"
    ours, theirs = [], []
    with beside("openssl", "s_server", "-quiet", "-accept", str(port), "-cert",
                folder / "wbemd-cert.pem", "-key", folder / "wbemd-key.pem", port=port):
        for _ in range(3):
            ours.append(connections_of(server.port))
            theirs.append(connections_of(port))
    rate = statistics.median(ours)
    return [("new TLS connections a second", rate, ">=", 600),
            ("of those of openssl s_server", rate / statistics.median(theirs), ">=", 0.8)]


def median_call(server, rounds=40):
    connection = server.connect()
    call(connection, GET_PARAMETER)
    times = []
    for _ in range(rounds):
        begin = time.monotonic()
        call(connection, GET_PARAMETER)
        times.append((time.monotonic() - begin) * 1000)
    return statistics.median(times)


def get_parameter(server):
    """GetParameter over HTTPS beside the direct call, alone and a hundred at once."""
    url = f"https://127.0.0.1:{server.port}"
    one = wrk(url, GET_PARAMETER)
    hundred = wrk(url, GET_PARAMETER, connections=100)
    return [("GetParameter over HTTPS at 20, ms above the direct call",
             one.median - server.direct, "<=", 1),
            ("100 clients at once, the longest times one call", hundred.longest / one.median,
             "<=", 4)]


def many_file_systems(build):
    with Server(build, 10000) as server:
        one = median_call(server, 9)
        return [("GetParameter at 10,000, ms above the direct call", one - server.direct,
                 "<=", 150),
                ("peak memory of the daemons there, MB", server.resident("VmHWM"), "<=", 250)]


def idle(server):
    """Memory and wake-ups of both daemons before anything was asked."""
    time.sleep(2)
    before = server.wake_ups()
    time.sleep(IDLE_SECONDS)
    return [("both daemons idle, MB", server.resident(), "<=", 20),
            (f"wake-ups of them in {IDLE_SECONDS} s", server.wake_ups() - before, "<=", 0)]


def silent_connections(server, count=10000):
    """Connections that say nothing, from many loopback addresses, and one that behaves."""
    before = server.resident()
    silent = []
    worst = 0.0
    for number in range(count):
        address = f"127.0.{1 + number // 200 % 200}.{1 + number % 200}"
        client = socket.socket()
        client.setblocking(False)
        client.bind((address, 0))
        with contextlib.suppress(BlockingIOError):
            client.connect(("127.0.0.1", server.plain_port if number % 2 else server.port))
        silent.append(client)
        if len(silent) > 200:  # fewer than the limit, so that a client that behaves finds room
            silent.pop(0).close()
        if number % 500 == 499:
            begin = time.monotonic()
            connection = server.connect(plain=True)
            call(connection, GET_CLASS)
            connection.close()
            worst = max(worst, (time.monotonic() - begin) * 1000)
    grown = server.resident() - before
    for client in silent:
        client.close()
    return [(f"a client beside {count} silent connections, worst ms", worst, "<=", 100),
            ("memory that they take, MB", grown, "<=", 40)]


def flat(server):
    """Whether memory, descriptors and processes stay as they are under load."""
    wrk(f"http://127.0.0.1:{server.plain_port}", GET_CLASS, connections=4, seconds=10)
    before = server.resident(), server.descriptors(), len(server.processes())
    done = 0
    while done < 1_000_000:
        done += 20 * wrk(f"http://127.0.0.1:{server.plain_port}", GET_CLASS, connections=4,
                         seconds=20).rate
    done = 0
    while done < 100_000:
        done += 20 * wrk(f"http://127.0.0.1:{server.plain_port}", GET_PARAMETER, connections=16,
                         seconds=20).rate
    time.sleep(20)  # the connections of the load are closed by then
    after = server.resident(), server.descriptors(), len(server.processes())
    return [("memory grown by 1,100,000 requests, MB", after[0] - before[0], "<=", 5),
            ("descriptors", after[1] - before[1], "<=", 8),
            ("processes", after[2] - before[2], "<=", 1)]


def main(build, long):
    figures = []
    with Server(build, 20) as server:
        figures += idle(server)
        figures += get_class(server) + handshakes(server) + get_parameter(server)
        figures += silent_connections(server)
        if long:
            figures += flat(server)
    figures += many_file_systems(build)
    kept = True
    print("| the management server | measured | promised | |\n|---|---:|---:|---|")
    for name, value, relation, bound in figures:
        good = value >= bound if relation == ">=" else value <= bound
        kept = kept and good
        print(f"| {name} | {value:,.2f} | {relation} {bound:,} | {'kept' if good else 'MISSED'} |")
    return 0 if kept else 1


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[2:] not in ([], ["--long"]):
        sys.exit(__doc__)
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), "--long" in sys.argv))
