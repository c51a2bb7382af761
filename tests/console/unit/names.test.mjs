// Mount points as they are shown, and as a command line spells them.

import assert from "node:assert/strict";
import { test } from "node:test";

import { nameOf, printable, spelled, volumeKey } from "../../../cockpit/model/names.js";

test("what could move the cursor or turn the text is shown as bytes", () => {
    const rows = [
        ["/srv/data", "/srv/data"],
        ["/a b", "/a b"],
        ["/<img src=x onerror=alert(1)>", "/<img src=x onerror=alert(1)>"],
        ["/new\nline", "/new\\x0Aline"],
        ["/tab\t", "/tab\\x09"],
        ["/back\\slash", "/back\\\\slash"],
        ["/\u202Egnp.exe", "/\\xE2\\x80\\xAEgnp.exe"],
        ["/\u2066x\u2069", "/\\xE2\\x81\\xA6x\\xE2\\x81\\xA9"],
        ["/\u0085\u007F", "/\\xC2\\x85\\x7F"],
        ["/\u05E9\u05DC\u05D5\u05DD", "/\u05E9\u05DC\u05D5\u05DD"],
        ["/\u{1F4A9}", "/\u{1F4A9}"],
    ];
    for (const [text, shown] of rows)
        assert.equal(printable(text), shown);
});

test("a name that is not UTF-8 has its bytes escaped, and the rest as text", () => {
    const rows = [
        ["2F626164FF", "/bad\\xFF"],
        ["2FC3BCFF", "/\u00FC\\xFF"],
        ["2FF09F92A9C3", "/\u{1F4A9}\\xC3"],
        ["2F5CFF", "/\\\\\\xFF"],
        ["2FE280AEFF", "/\\xE2\\x80\\xAE\\xFF"],
        ["EFBBBFFF", "\uFEFF\\xFF"],
    ];
    for (const [VolumeNameBytes, text] of rows)
        assert.deepEqual(nameOf({ VolumeName: null, VolumeNameBytes }), { text, isText: false });
    assert.deepEqual(nameOf({ VolumeName: "/srv" }), { text: "/srv", isText: true });
});

test("no name is spelled as a pattern", () => {
    const rows = [
        [{ text: "/srv", isText: true }, "/srv"],
        [{ text: "/back\\slash", isText: true }, "/back\\slash"],
        [{ text: "/star*", isText: true }, "/star\\x2A"],
        [{ text: "/q?[x]", isText: true }, "/q\\x3F\\x5Bx]"],
        [{ text: "/back\\*", isText: true }, "/back\\\\\\x2A"],
        [{ text: "/bad\\xFF*", isText: false }, "/bad\\xFF\\x2A"],
        [{ text: "/bad\\xFF", isText: false }, "/bad\\xFF"],
    ];
    for (const [name, text] of rows)
        assert.equal(spelled(name), text);
    assert.equal(volumeKey("/srv", "threshold"), "fs:/srv.threshold");
});
