// What the page makes of the tool's other answers.

import assert from "node:assert/strict";
import { test } from "node:test";

import * as begun from "../../../cockpit/model/begun.js";
import { wordsOf } from "../../../cockpit/model/commands.js";
import { readDifference } from "../../../cockpit/model/difference.js";
import { faults, holders, watchedPaths } from "../../../cockpit/model/doctor.js";
import { differsOf, reasonOf, whoOf } from "../../../cockpit/model/history.js";
import * as service from "../../../cockpit/model/service.js";
import { count, format } from "../../../cockpit/text.js";
import { Failure, run, runFromAfar } from "../../../cockpit/tool.js";
import * as words from "../../../cockpit/words.js";
import { entry } from "./samples.mjs";

test("how a change ended that nobody has seen the end of", () => {
    const before = [entry("2", "older"), entry("1", "set --force cpu.threshold=75")]; // the same, long ago
    const line = ["set", "--wait", "20", "--force", "cpu.threshold=75"];
    const change = begun.begin(line, new Map([["cpu.threshold", "75"]]), before);
    const kept = [entry("3", "set --force cpu.threshold=75"), ...before];
    const rows = [
        [kept, 75, begun.DONE],
        [kept, 90, begun.HALF],
        [before, 90, begun.NOT_BEGUN],
        [before, 75, begun.DONE],
        [[entry("3", "set cpu.threshold=60"), ...before], 60, begun.NOT_BEGUN],
    ];
    for (const [history, threshold, expected] of rows)
        assert.equal(begun.outcome(change, history, new Map([["cpu.threshold", threshold]])), expected);
    assert.deepEqual(begun.outcome(JSON.parse(JSON.stringify(change)), kept, new Map([["cpu.threshold", 75]])), begun.DONE);
});

test("how a restore ended that nobody has seen the end of", () => {
    const change = begun.begin(["restore", "2"], [], [entry("2", "older")]);
    const kept = entry("3", "before restore of 2");
    const rows = [
        [[kept, entry("2", "older", [])], begun.DONE],
        [[kept, entry("2", "older")], begun.HALF],
        [[entry("2", "older")], begun.NOT_BEGUN],
        [[], begun.NOT_BEGUN],
    ];
    for (const [history, expected] of rows)
        assert.equal(begun.outcome(change, history, new Map()), expected);
});

test("what had not begun can be typed once more", () => {
    const change = begun.begin(["set", "a=1"], new Map([["a", "1"]]), []);
    assert.deepEqual(words.ofUnfinished({ change, outcome: begun.NOT_BEGUN }).typed, [["a", "1"]]);
    assert.equal(words.ofUnfinished({ change, outcome: begun.HALF }).problem.kind, "half");
    assert.equal(words.ofUnfinished({ change, outcome: begun.DONE }).problem, null);
});

test("a button runs plain words of a known program, and nothing that a shell would make more of", () => {
    const rows = [
        ["loggerctl service start", ["loggerctl", "service", "start"]],
        ["loggerctl restore 20261121-083000-001", ["loggerctl", "restore", "20261121-083000-001"]],
        ["install -D -m 0644 /a/b.sample /a/b", ["install", "-D", "-m", "0644", "/a/b.sample", "/a/b"]],
        ["chmod go-w '/a b'", ["chmod", "go-w", "/a b"]],
        ["chmod go-w '/it'\\''s; rm'", ["chmod", "go-w", "/it's; rm"]],
        ["\"${EDITOR:-vi}\" +10 /etc/x", null],
        ["loggerctl $(reboot)", null],
        ["loggerctl service start; reboot", null],
        ["loggerctl service start && reboot", null],
        ["loggerctl `reboot`", null],
        ["loggerctl > /etc/passwd", null],
        ["loggerctl 'open", null],
        ["du -xh \"$(findmnt -n -o TARGET -T /)\" | sort -h | tail", null],
        ["rm -rf /", null],
        ["/tmp/loggerctl x", null],
        ["loggerctl", null],
        ["", null],
        ["loggerctl\nreboot", null],
    ];
    for (const [command, expected] of rows)
        assert.deepEqual(wordsOf(command), expected, command);
});

test("the lines of a difference", () => {
    const text = "--- a/x\n+++ b/x\n@@ -1,2 +1,2 @@\n same\n-old\n+new\n--- looks like a head\n";
    assert.deepEqual(readDifference(text).map(line => line.kind),
                     ["file", "file", "place", "same", "removed", "added", "removed"]);
    assert.deepEqual(readDifference(""), []);
});

const finding = (name, state, mend = null) => ({ name, looked_at: `/${name}`, state, text: `${name}.`, mend });

test("of the doctor's findings the page takes what a change needs", () => {
    const document = { findings: [
        finding("agent.cfg", "wrong", "edit"), finding("alert.cfg", "ok"), finding("history", "ok"), finding("room", "missing"),
        finding("server-user", "missing"), finding("settings-lock", "wrong", "flock --timeout 60 /x true"),
        finding("device-description", "not-looked-at"),
    ] };
    assert.deepEqual(faults(document).map(each => each.name), ["agent.cfg", "room"]);
    assert.deepEqual(holders(document).map(each => each.name), ["settings-lock"]);
    assert.deepEqual(watchedPaths(document), ["/agent.cfg", "/alert.cfg", "/history/", "/device-description"]);
});

test("why the settings cannot be read is said with what mends it", () => {
    const found = [finding("agent.cfg", "wrong", "edit")];
    const failure = new Failure({ name: "failure", message: "No.", reasons: ["why"] });
    assert.equal(words.ofReading(null, []), null);
    assert.equal(words.ofReading(null, found).kind, "doctor");
    assert.deepEqual(words.ofReading(failure, found).details, [{ text: "agent.cfg: agent.cfg.", command: "edit" }]);
    assert.deepEqual(words.ofReading(failure, []).details, [{ text: "why", command: null }]);
    const noRights = new Failure({ name: "no-rights", message: "No.", reasons: ["why"] });
    assert.deepEqual(words.ofReading(noRights, found).actions, [words.ACCESS]);
    assert.deepEqual(words.ofReading(noRights, found).details, [{ text: "why", command: null }]);
});

test("who made a change, and from where", () => {
    const rows = [
        [{}, "root"],
        [{ SudoUser: "alice" }, "alice as root"],
        [{ SudoUser: "alice", From: "192.0.2.7" }, "alice as root from 192.0.2.7"],
        [{ From: "192.0.2.7" }, "root from 192.0.2.7"],
        [{ User: "" }, "unknown"],
    ];
    for (const [more, expected] of rows)
        assert.equal(whoOf(entry("1", "x", [], more)), expected);
    assert.equal(whoOf(entry("1", "x", [], { User: "r\u202Et" })), "r\\xE2\\x80\\xAEt");
    assert.equal(reasonOf(entry("1", "set a=1\nb")), "set a=1\\x0Ab");
    assert.equal(reasonOf(entry("1", "x".repeat(401))), `${"x".repeat(400)} ... (1 characters more)`);
    assert.equal(reasonOf(entry("1", "x".repeat(400))), "x".repeat(400));
    assert.equal(differsOf(entry("1", "x", [])), "as now");
    assert.equal(differsOf(entry("1", "x", ["a", "b"])), "differs now: a, b");
});

test("the state of the service", () => {
    assert.equal(service.ofAnswer({ state: "stopped" }).state, service.STOPPED);
    assert.equal(service.ofFailure(new Failure({ name: "not-installed", message: "" })).state, service.NOT_INSTALLED);
    assert.equal(service.ofFailure(new Failure({ name: "failure", message: "No.", reasons: ["why"] })).text, "No. why");
});

test("texts have their values in their places, whatever the values are", () => {
    assert.equal(format("$1 and $0", "a", "$0"), "$0 and a");
    assert.equal(format("$2", "a"), "$2");
    assert.equal(count("$0 change", "$0 changes", 1), "1 change");
    assert.equal(count("$0 of $1", "$0 of $1 all", 2, 3), "2 of 3 all");
});

// Stands for Cockpit's way to start a program.
function answering(t, output, exception = null) {
    const spawned = [];
    globalThis.cockpit = {
        gettext: text => text,
        spawn: (command, options) => {
            spawned.push({ command, options });
            return { then: (done, failed) => exception === null ? done(output) : failed(exception, output) };
        },
    };
    t.after(() => { delete globalThis.cockpit });
    return spawned;
}

test("the tool's document is the answer, also where the status is not 0", async t => {
    const spawned = answering(t, '{"state": "stopped"}', { problem: null, message: "exited with code 9" });
    assert.deepEqual(await run("service", "status"), { state: "stopped" });
    assert.deepEqual(spawned[0].command, ["loggerctl", "--format=json", "service", "status"]);
    assert.equal(spawned[0].options.superuser, "try");
});

test("a change tells the tool the address behind the log-in, where the host knows it", async t => {
    const rows = [
        [() => Promise.resolve([{ t: "s", v: "192.0.2.7" }]), ["LC_ALL=C.UTF-8", "SSH_CONNECTION=192.0.2.7"]],
        [() => Promise.resolve([{ t: "s", v: "::ffff:192.0.2.7" }]), ["LC_ALL=C.UTF-8", "SSH_CONNECTION=192.0.2.7"]],
        [() => Promise.resolve([{ t: "s", v: "2001:db8::7" }]), ["LC_ALL=C.UTF-8", "SSH_CONNECTION=2001:db8::7"]],
        [() => Promise.resolve([{ t: "s", v: "" }]), ["LC_ALL=C.UTF-8"]],
        [() => Promise.reject(new Error("no log-in manager")), ["LC_ALL=C.UTF-8"]],
    ];
    for (const [call, expected] of rows) {
        const spawned = answering(t, "{}");
        globalThis.cockpit.dbus = () => ({ call });
        await runFromAfar("set", "cpu.threshold=75");
        assert.deepEqual(spawned[0].options.environ, expected);
    }
});

test("every failure has a kind and a message", async t => {
    const rows = [
        ['{"error": {"code": 7, "name": "busy", "message": "No.", "reasons": ["why"]}, "warnings": []}', { message: "x" }, "busy", "No."],
        ["", { problem: "not-found", message: "x" }, "tool-missing", "loggerctl is not installed on this host."],
        ["", { problem: "disconnected", message: "x" }, "disconnected", "The connection to the host is gone."],
        ["", { problem: "terminated", message: "x" }, "disconnected", "The connection to the host is gone."],
        ["Segmentation fault\n", { problem: null, message: "x" }, "unreadable", "loggerctl said nothing that this page understands."],
        ["", null, "unreadable", "loggerctl said nothing that this page understands."],
    ];
    for (const [output, exception, kind, message] of rows) {
        answering(t, output, exception);
        await assert.rejects(run("get"), failure => failure.kind === kind && failure.message === message, kind);
    }
});
