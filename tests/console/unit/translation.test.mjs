// The way of the page's texts into other languages.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { runInNewContext } from "node:vm";

import { toScript } from "../../../cockpit/po/po2js.mjs";

const folder = fileURLToPath(new URL("../../../cockpit/po/", import.meta.url));

test("the template has every text of the page", () => {
    const now = execFileSync(`${folder}template.sh`, { encoding: "utf8" });
    assert.equal(readFileSync(`${folder}kzm-logger.pot`, "utf8"), now,
                 "Write it anew: cockpit/po/template.sh > cockpit/po/kzm-logger.pot");
});

const SAMPLE = `msgid ""
msgstr ""
"Language: de\\n"
"Plural-Forms: nplurals=2; plural=(n != 1);\\n"

msgid "Apply"
msgstr "Anwenden"

#, fuzzy
msgid "Cancel"
msgstr "vielleicht"

msgid "Discard"
msgstr ""

msgid "$0 change"
msgid_plural "$0 changes"
msgstr[0] "$0 \\"Änderung\\""
msgstr[1] "$0 "
"Änderungen"
`;

test("a translation becomes what Cockpit loads", () => {
    let loaded = null;
    runInNewContext(toScript(SAMPLE), { cockpit: { locale: given => { loaded = given } } });
    assert.equal(loaded[""].language, "de");
    assert.deepEqual([1, 2].map(n => Number(loaded[""]["plural-forms"](n))), [0, 1]);
    delete loaded[""];
    assert.deepEqual(JSON.parse(JSON.stringify(loaded)),
                     { Apply: [null, "Anwenden"], "$0 change": [null, "$0 \"Änderung\"", "$0 Änderungen"] });
});

test("a translation brings no program along", () => {
    const bad = SAMPLE.replace("(n != 1)", "alert(1)");
    assert.throws(() => toScript(bad), /Plural-Forms/);
});
