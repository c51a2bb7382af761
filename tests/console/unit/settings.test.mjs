// The tool's record as the page uses it.

import assert from "node:assert/strict";
import { test } from "node:test";

import { ABOVE, BELOW, NEAR, NOT_MONITORED, UNKNOWN, attention, matches, readRecord } from "../../../cockpit/model/settings.js";
import { record, volume } from "./samples.mjs";

test("how much a file system needs attention", () => {
    const rows = [
        [true, 80, 80, ABOVE],
        [true, 100, 80, ABOVE],
        [true, 79, 80, NEAR],
        [true, 72, 80, NEAR],
        [true, 71, 80, BELOW],
        [true, 0, 80, BELOW],
        [true, null, 80, UNKNOWN],
        [false, 100, 80, NOT_MONITORED],
        [false, null, 80, NOT_MONITORED],
    ];
    for (const [monitored, inUse, threshold, expected] of rows)
        assert.equal(attention(monitored, inUse, threshold), expected, `${inUse} of ${threshold}`);
});

test("what needs attention comes first, then what is fuller, then by name", () => {
    const { rows } = readRecord(record([
        volume("/off", 80, false, 99), volume("/below", 80, true, 10), volume("/unknown", 80, true, null),
        volume("/near", 80, true, 75), volume("/b", 80, true, 90), volume("/a", 80, true, 90), volume("/full", 80, true, 100),
    ]));
    assert.deepEqual(rows.map(row => row.name), ["/full", "/a", "/b", "/near", "/below", "/unknown", "/off"]);
});

test("while file systems are not monitored at all, none needs attention", () => {
    const off = record([volume("/full", 80, true, 100)]);
    off.FsUsageMonitorConf.MonitoringEnable = false;
    const { rows } = readRecord(off);
    assert.equal(rows[0].attention, NOT_MONITORED);
    assert.equal(rows[0].monitored, true);
});

test("every key has its value and its name", () => {
    const { values, labels } = readRecord(record([volume("/srv", 85, true, 10)]));
    assert.deepEqual(Array.from(values), [
        ["syslog.output", true], ["syslog.information", false], ["syslog.warning", true], ["syslog.obstacle", true],
        ["cpu.enable", true], ["cpu.interval", 60], ["cpu.count", 5], ["cpu.threshold", 90],
        ["memory.enable", false], ["memory.interval", 30], ["memory.count", 3], ["memory.threshold", 85],
        ["fs.enable", true], ["fs.interval", 300], ["fs.count", 2],
        ["fs:/srv.enable", true], ["fs:/srv.threshold", 85],
    ]);
    assert.equal(labels.get("cpu.threshold"), "CPU: threshold in percent");
    assert.equal(labels.get("fs:/srv.enable"), "/srv: monitored");
    assert.deepEqual(Array.from(labels.keys()), Array.from(values.keys()));
});

test("a name that is a pattern is spelled in another way", () => {
    const { spelling } = readRecord(record([volume("/srv", 85, true, 10), volume("/srv/*", 85, true, 10)]));
    assert.deepEqual(Array.from(spelling), [
        ["fs:/srv/*.enable", "fs:/srv/\\x2A.enable"], ["fs:/srv/*.threshold", "fs:/srv/\\x2A.threshold"],
    ]);
});

test("a filter wants all of its words, in any case", () => {
    const row = { shown: "/srv/Data/one" };
    for (const [filter, expected] of [["", true], ["data", true], ["ONE srv", true], ["two", false], ["one two", false]])
        assert.equal(matches(row, filter), expected, filter);
});
