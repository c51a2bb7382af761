// Turns a translation, LANGUAGE.po, into what Cockpit loads for it: po.LANGUAGE.js, to stand beside the
// page. Usage: node po2js.mjs < de.po > ../po.de.js

import { readFileSync } from "node:fs";
import { fileURLToPath } from "node:url";

// The translations by their English texts, as cockpit.locale() takes them.
export function toScript(text) {
    const entries = readEntries(text);
    const header = Object.fromEntries(entries.get("")[0].split("\n").filter(line => line.includes(": "))
            .map(line => line.split(/: (.*)/s).slice(0, 2)));
    entries.delete("");
    const translated = Array.from(entries).filter(([, texts]) => texts.every(each => each !== ""))
            .map(([english, texts]) => `${JSON.stringify(english)}: ${JSON.stringify([null, ...texts])}`);
    const head = `"": {"plural-forms": ${pluralForms(header)}, "language": ${JSON.stringify(header.Language)}}`;
    return `cockpit.locale({\n${[head, ...translated].join(",\n")}\n});\n`;
}

// The rule is a program of the browser's; nothing but arithmetic of n may stand in it.
function pluralForms(header) {
    const rule = /plural=([n0-9 ?:()!=<>&|%]+);?$/.exec(header["Plural-Forms"]);
    if (rule === null)
        throw new Error("Plural-Forms: write nplurals=N; plural=RULE; where RULE is an expression of n.");
    return `(n) => ${rule[1]}`;
}

// By English text: the texts that stand for it, one for each plural form. Fuzzy ones are left out.
function readEntries(text) {
    const entries = new Map();
    for (const block of text.split(/\n\s*\n/)) {
        const fields = readFields(block);
        if (fields.msgid !== undefined && !/^#,.*\bfuzzy\b/m.test(block))
            entries.set(fields.msgid, Object.keys(fields).filter(name => name.startsWith("msgstr")).map(name => fields[name]));
    }
    return entries;
}

function readFields(block) {
    const fields = {};
    let name = null;
    for (const line of block.split("\n").filter(each => each !== "" && !each.startsWith("#"))) {
        const [, keyword, quoted] = /^(?:(msg\S+)\s+)?(".*")\s*$/.exec(line);
        name = keyword || name;
        fields[name] = (fields[name] || "") + JSON.parse(quoted);
    }
    return fields;
}

if (process.argv[1] === fileURLToPath(import.meta.url))
    process.stdout.write(toScript(readFileSync(0, "utf8")));
