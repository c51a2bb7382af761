// What has been typed and not been applied yet, and what the tool says of it.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Checker } from "../../../cockpit/checker.js";
import { Edits } from "../../../cockpit/model/edits.js";
import { blame, isSame, readNotes } from "../../../cockpit/model/verdict.js";

function editsOf(typed, spelling = []) {
    const edits = new Edits();
    edits.rebase({ values: new Map(), spelling: new Map(spelling) });
    typed.forEach(([key, text]) => edits.set(key, text, "saved"));
    return edits;
}

test("typing what is saved takes the change back", () => {
    const edits = new Edits();
    edits.set("cpu.threshold", "75", 90);
    edits.set("cpu.enable", "false", true);
    assert.equal(edits.size, 2);
    edits.set("cpu.threshold", "90", 90);
    edits.set("cpu.enable", "true", true);
    assert.equal(edits.size, 0);
});

test("changes made elsewhere take out what is so already, and what is gone", () => {
    const edits = editsOf([["cpu.threshold", "75"], ["memory.threshold", "70"], ["fs:/gone.threshold", "60"]]);
    const values = new Map([["cpu.threshold", 75], ["memory.threshold", 85]]);
    assert.deepEqual(edits.rebase({ values, spelling: new Map() }), ["fs:/gone.threshold"]);
    assert.deepEqual(edits.arguments(), ["memory.threshold=70"]);
});

test("the command line has each change as the tool takes it", () => {
    const edits = editsOf([["cpu.threshold", "75"], ["fs:/*.threshold", "60"]], [["fs:/*.threshold", "fs:/\\x2A.threshold"]]);
    assert.deepEqual(edits.arguments(), ["cpu.threshold=75", "fs:/\\x2A.threshold=60"]);
    assert.deepEqual(edits.arguments(new Map([["cpu.threshold", ""]])), ["fs:/\\x2A.threshold=60"]);
});

test("the tool's sentences find the values that they speak of", () => {
    const typed = [["cpu.threshold", "x"], ["memory.count", "0"], ["fs:/a\nb.threshold", "y"], ["fs:/*.threshold", "z"],
        ["fs:/quo\"te.enable", "true"], ["fs:/bad\\xFF.threshold", "q"]];
    const edits = editsOf(typed, [["fs:/*.threshold", "fs:/\\x2A.threshold"]]);
    const rows = [
        ["cpu.threshold must be a whole number from 1 to 100, not 'x'.", "cpu.threshold", "cpu.threshold must be a whole number from 1 to 100, not 'x'."],
        ["memory.count: 0 gives the agent nothing to sample by.", "memory.count", "0 gives the agent nothing to sample by."],
        ["fs:/a\\x0Ab.threshold must be more.", "fs:/a\nb.threshold", "fs:/a\\x0Ab.threshold must be more."],
        ["fs:/\\\\x2A.threshold: no.", "fs:/*.threshold", "no."],
        ["alert.cfg cannot hold '/quo\"te'.", "fs:/quo\"te.enable", "alert.cfg cannot hold '/quo\"te'."],
        ["alert.cfg cannot hold '/bad\\xFF'.", "fs:/bad\\xFF.threshold", "alert.cfg cannot hold '/bad\\xFF'."],
        ["The disk is full.", null, null],
        ["cpu.thresholds: no.", null, null],
    ];
    for (const [sentence, key, text] of rows) {
        const expected = key === null ? [] : [[key, text]];
        assert.deepEqual(Array.from(blame({ message: sentence, reasons: [] }, edits, new Map())), expected, sentence);
        assert.deepEqual(Array.from(blame({ message: "", reasons: [sentence] }, edits, new Map())), expected, sentence);
    }
    const known = new Map([["memory.count", "known"]]);
    assert.equal(blame({ message: "memory.count: no.", reasons: [] }, edits, known).size, 0);
});

// A tool that refuses one value after the other, as the real one does.
function refusing(bad, runs = []) {
    return words => {
        runs.push(words);
        const wrong = words.find(word => bad.includes(word));
        return wrong === undefined ? Promise.resolve({})
            : Promise.reject(Object.assign(new Error(`${wrong.split("=")[0]} must be better.`), { reasons: [] }));
    };
}

test("each refused value gets its own answer", async () => {
    const runs = [];
    const checker = new Checker({ rehearse: refusing(["a=1", "c=3"], runs), onResult: () => {} });
    await checker.checkNow(editsOf([["a", "1"], ["b", "2"], ["c", "3"]]));
    assert.deepEqual(Array.from(checker.errors), [["a", "a must be better."], ["c", "c must be better."]]);
    assert.equal(checker.failure, null);
    assert.deepEqual(runs, [["a=1", "b=2", "c=3"], ["b=2", "c=3"], ["b=2"]]);
});

test("a failure that is no value's is kept", async () => {
    const failure = Object.assign(new Error("The disk is full."), { reasons: [] });
    const checker = new Checker({ rehearse: () => Promise.reject(failure), onResult: () => {} });
    await checker.checkNow(editsOf([["a", "1"]]));
    assert.equal(checker.failure, failure);
    assert.equal(checker.errors.size, 0);
});

test("an answer to what has been typed over meanwhile is not heard", async () => {
    let answer = null;
    const checker = new Checker({ rehearse: () => new Promise((resolve, reject) => { answer = reject }), onResult: () => assert.fail() });
    const edits = editsOf([["a", "1"]]);
    const asked = checker.checkNow(edits);
    edits.set("a", "2", "saved");
    checker.forget("a");
    answer(Object.assign(new Error("a must be better."), { reasons: [] }));
    await asked;
    assert.equal(checker.errors.size, 0);
});

test("nothing is asked for when nothing is typed", async () => {
    const checker = new Checker({ rehearse: () => assert.fail(), onResult: () => {} });
    await checker.checkNow(new Edits());
    assert.equal(checker.failure, null);
});

test("what would be lost comes first, once, and in the page's own words", () => {
    const verdict = { losses: ["/gone goes."], warnings: ["Warning: needs --force.\n  /gone goes.", "Note: lines.\n  line 3"] };
    assert.deepEqual(readNotes(verdict), [{ headline: "", details: ["/gone goes."] }, { headline: "Note: lines.", details: ["line 3"] }]);
    assert.deepEqual(readNotes({ warnings: ["Note: x."] }), [{ headline: "Note: x.", details: [] }]);
    assert.deepEqual(readNotes({ warnings: [] }), []);
});

test("two dry runs are the same when they do the same", () => {
    const verdict = { difference: "x", needs_force: false, settings: [{ key: "a", old: 1, new: 2 }] };
    assert.ok(isSame(verdict, { ...verdict, settings: [{ key: "a", old: 1, new: 2 }] }));
    assert.ok(!isSame(verdict, { ...verdict, difference: "y" }));
    assert.ok(!isSame(verdict, { ...verdict, needs_force: true }));
    assert.ok(!isSame(verdict, { ...verdict, settings: [] }));
});
