#!/usr/bin/env python3
"""Measures the management server beside what it stands on.

Everything runs on loopback addresses, bounded in count and time. Prints the tables of
docs/performance.md, and says whether the promises are kept (exit status 1 when not).
"""

import argparse
import base64
import contextlib
import getpass
import http.client
import json
import os
import pathlib
import re
import selectors
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
        subprocess.run([build / "bench/direct_call", "lay-out", str(file_systems)], check=True)
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

    def direct_call(self, calls=40):
        """What a call costs without the server, in milliseconds. It is made in the environment of
        the server's worker: what that loads, the mount command loads, too."""
        words = pathlib.Path(f"/proc/{self.worker()}/environ").read_bytes().split(b"\0")
        output = subprocess.run([self.build / "bench/direct_call", "measure", str(calls)],
                                env=dict(word.split(b"=", 1) for word in words if word),
                                check=True, capture_output=True, text=True).stdout
        return float(output)

    def processes(self):
        """Both daemons and what they have started."""
        found = [self.back, self.front]
        for process in found:
            for thread in pathlib.Path(f"/proc/{process}/task").iterdir():
                found += map(int, (thread / "children").read_text(encoding="ascii").split())
        return found

    def worker(self):
        """The process that makes the calls. It starts with the first, and anew now and then."""
        while True:
            call(self.connect(), GET_PARAMETER)
            for process in self.processes()[2:]:
                return process

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


class Figure(typing.NamedTuple):
    """A row of the table. The note says more about the value."""

    name: str
    value: float
    relation: str
    bound: float
    note: str = ""


def field(process, name):
    status = pathlib.Path(f"/proc/{process}/status").read_text(encoding="ascii")
    return re.search(rf"^{name}:\s*(.*)", status, re.M)[1]


def headers_of(request):
    method, what, _ = request
    return {"Content-Type": "application/xml; charset=utf-8", "CIMOperation": "MethodCall",
            "CIMMethod": method, "CIMObject": what, "Authorization": AUTHORIZATION}


def call(connection, request):
    """One request; its answer. Anything but success ends the measurement."""
    connection.request("POST", "/cimom", request[2], headers_of(request))
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
    return [Figure("GetClass a second, http, 1 client", rate, ">=", 7000),
            Figure("of fixed bytes by the same HTTP library",
                   rate / statistics.median(load.rate for load in fixed), ">=", 0.5),
            Figure("GetClass, 99th percentile, ms", statistics.median(load.p99 for load in ours),
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
    return [Figure("new TLS connections a second", rate, ">=", 600),
            Figure("of those of openssl s_server", rate / statistics.median(theirs), ">=", 0.8)]


class Caller:
    """A client that has connected, and that asks without waiting for the answer. Until it has that
    it does as little as it can: it runs on the processors that the server needs."""

    END = b"</CIM>\n"

    def __init__(self, server):
        connection = server.connect()
        connection.connect()
        self.socket = connection.sock
        self.socket.setblocking(False)
        lines = [f"{name}: {value}" for name, value in headers_of(GET_PARAMETER).items()]
        body = GET_PARAMETER[2]
        self._request = "\r\n".join(["POST /cimom HTTP/1.1", "Host: localhost", *lines,
                                     f"Content-Length: {len(body)}", "", body]).encode()
        self._room = bytearray(1 << 16)
        self._known = 0  # bytes of the answer that are in it

    def ask(self):
        self._known = 0
        if self.socket.send(self._request) != len(self._request):
            sys.exit("A request was not taken as a whole.")

    def is_answered(self):
        """Takes what has come; whether that is all of the answer."""
        with contextlib.suppress(ssl.SSLWantReadError):
            while not self._room.endswith(self.END, 0, self._known):
                if self._known == len(self._room):
                    self._room += bytes(self._known)
                came = self.socket.recv_into(memoryview(self._room)[self._known:])
                self._known += came
                if not came:
                    sys.exit(f"The connection ended after {bytes(self._room[:500])!r}")
            return True
        return False

    def check(self):
        """Sees that the answer is one of a call that was made."""
        if not self._room.startswith(b"HTTP/1.1 200 ") or \
                self._room.find(b"<ERROR", 0, self._known) >= 0:
            sys.exit(repr(bytes(self._room[:500])))


def time_of(callers):
    """How long it takes until the last of them has its answer when all ask at once, in ms."""
    with selectors.DefaultSelector() as waiting:
        for caller in callers:
            waiting.register(caller.socket, selectors.EVENT_READ, caller)
        begin = time.monotonic()
        for caller in callers:
            caller.ask()
        while waiting.get_map():
            for key, _ in waiting.select():
                if key.data.is_answered():
                    waiting.unregister(key.fileobj)
        time_taken = (time.monotonic() - begin) * 1000
    for caller in callers:
        caller.check()
    return time_taken


def get_parameter(server):
    """GetParameter over HTTPS beside the direct call, in turns."""
    url = f"https://127.0.0.1:{server.port}"
    ours, direct = [], []
    for _ in range(5):
        direct.append(server.direct_call())
        ours.append(wrk(url, GET_PARAMETER, seconds=2).median)
    call_time, direct_time = statistics.median(ours), statistics.median(direct)
    return [Figure("GetParameter by https, 20 file systems, ms above the direct call",
                   call_time - direct_time, "<=", 1, f"{call_time:.2f} and {direct_time:.2f} ms")]


def together(server, count=100, rounds=20):
    """As many clients as may be, all at once, beside one of them alone, in turns. All are connected
    before; the time ends when the last has read its answer."""
    callers = [Caller(server) for _ in range(count)]
    time_of(callers)
    one, all_of_them = [], []
    for _ in range(rounds):
        one += [time_of(callers[:1]) for _ in range(5)]
        all_of_them.append(time_of(callers))
    for caller in callers:
        caller.socket.close()
    one_time, all_time = statistics.median(one), statistics.median(all_of_them)
    return [Figure(f"GetParameter by {count} clients at once, the last answer, times one call",
                   all_time / one_time, "<=", 4,
                   f"{all_time:.2f} (at most {max(all_of_them):.2f}) and {one_time:.2f} ms")]


def many_file_systems(build):
    with Server(build, 10000) as server:
        caller = Caller(server)
        direct, ours = [], []
        for _ in range(3):
            direct.append(server.direct_call(3))
            ours += [time_of([caller]) for _ in range(3)]
        call_time, direct_time = statistics.median(ours), statistics.median(direct)
        return [Figure("GetParameter by https, 10,000 file systems, ms above the direct call",
                       call_time - direct_time, "<=", 150,
                       f"{call_time:.0f} and {direct_time:.0f} ms"),
                Figure("both daemons and the worker there, peak MB", server.resident("VmHWM"),
                       "<=", 250)]


def idle(server):
    """Memory and wake-ups of both daemons before anything was asked."""
    time.sleep(2)
    before = server.wake_ups()
    time.sleep(IDLE_SECONDS)
    return [Figure("both daemons idle, MB", server.resident(), "<=", 20),
            Figure(f"wake-ups of them in {IDLE_SECONDS} s", server.wake_ups() - before, "<=", 0)]


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
    return [Figure(f"a client beside {count} silent connections, worst ms", worst, "<=", 100),
            Figure("memory that they take, MB", grown, "<=", 40)]


def put_under_load(server, classes, settings):
    """So many GetClass and GetParameter, at least."""
    url = f"http://127.0.0.1:{server.plain_port}"
    for count, request, connections in ((classes, GET_CLASS, 4), (settings, GET_PARAMETER, 16)):
        seconds = 10
        done = 0
        while done < count:
            done += seconds * wrk(url, request, connections, seconds).rate


def at_rest(server):
    """Memory, descriptors and processes once what the load left behind is answered and closed."""
    time.sleep(20)
    return server.resident(), server.descriptors(), len(server.processes())


def flat(server, share):
    """Whether memory, descriptors and processes stay as they are under load."""
    classes, settings = int(1_000_000 * share), int(100_000 * share)
    put_under_load(server, 1, 1)
    # Connections to the other daemon are kept: at least as many as will be needed at one time.
    wrk(f"http://127.0.0.1:{server.plain_port}", GET_PARAMETER, connections=48)
    before = at_rest(server)
    put_under_load(server, classes, settings)
    after = at_rest(server)
    grown = [f"{old:.0f}, then {new:.0f}" for old, new in zip(before, after)]
    what = f"{classes:,} GetClass and {settings:,} GetParameter"
    return [Figure(f"memory after {what}, MB more", after[0] - before[0], "<=", 5, grown[0]),
            Figure("descriptors then, more", after[1] - before[1], "<=", 8, grown[1]),
            Figure("processes then, more", after[2] - before[2], "<=", 1, grown[2])]


# What is measured of one server with 20 file systems.
SECTIONS = {"idle": idle, "get-class": get_class, "handshakes": handshakes,
            "get-parameter": get_parameter, "together": together, "silent": silent_connections}
MANY = "many"  # of one with 10,000


def measure(build, sections, long):
    figures = []
    with Server(build, 20) as server:
        for name, section in SECTIONS.items():
            figures += section(server) if name in sections else []
        figures += flat(server, long) if long else []
    return figures + (many_file_systems(build) if MANY in sections else [])


def show(figures):
    """Prints the table; whether all is kept."""
    words = {"<=": "at most", ">=": "at least"}
    all_kept = True
    print("| promise | measured | promised | |\n|---|---|---|---|")
    for figure in figures:
        is_kept = figure.value <= figure.bound if figure.relation == "<=" \
            else figure.value >= figure.bound
        all_kept = all_kept and is_kept
        value = f"{figure.value:,.2f}" if figure.value < 100 else f"{figure.value:,.0f}"
        print(f"| {figure.name} | {value}{figure.note and f' ({figure.note})'} "
              f"| {words[figure.relation]} {figure.bound:,} | {'kept' if is_kept else 'MISSED'} |")
    return all_kept


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="the folder of the preset bench")
    parser.add_argument("--only", nargs="*", choices=[*SECTIONS, MANY], default=[*SECTIONS, MANY],
                        metavar="SECTION", help=f"measure these alone: {' '.join(SECTIONS)} {MANY}")
    parser.add_argument("--long", nargs="?", type=float, const=1.0, default=0.0, metavar="SHARE",
                        help="show that nothing grows in a million GetClass and 100,000 "
                             "GetParameter, or in this share of them")
    arguments = parser.parse_args()
    return 0 if show(measure(arguments.build.resolve(), arguments.only, arguments.long)) else 1


if __name__ == "__main__":
    sys.exit(main())
