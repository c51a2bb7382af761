// What the tool says of values that were typed. Pure.

import { printable } from "./names.js";

// Which of the typed values a failed dry run speaks of, besides those that are known to be wrong: what
// it says, by key. None where it speaks of none.
export function blame(failure, edits, known) {
    const texts = new Map();
    for (const sentence of [failure.message, ...failure.reasons]) {
        for (const key of edits.typed.keys()) {
            const text = known.has(key) ? null : speaksOf(sentence, printable(edits.spelled(key)), key);
            if (text !== null)
                texts.set(key, text);
        }
    }
    return texts;
}

// What stands behind the key; a sentence that goes on about it, or about its file system, stays whole.
function speaksOf(sentence, shown, key) {
    if (sentence.startsWith(`${shown}: `))
        return sentence.slice(shown.length + 2);
    const name = /^fs:(.*)\.[a-z]+$/su.exec(key);
    const isNamed = name !== null && [name[1], printable(name[1])].some(text => sentence.includes(`'${text}'`));
    return isNamed || sentence.startsWith(`${shown} `) ? sentence : null;
}

// What a dry run says besides: a headline, and a sentence for each detail. What would be lost comes
// first, without a headline: the tool's speaks of its command line.
export function readNotes(verdict) {
    const losses = verdict.losses || [];
    const others = verdict.warnings.map(readWarning).filter(({ details }) => losses.length === 0 || !isSameList(details, losses));
    return losses.length === 0 ? others : [{ headline: "", details: losses }, ...others];
}

function readWarning(warning) {
    const [headline, ...details] = warning.split("\n");
    return { headline, details: details.map(line => line.trim()) };
}

function isSameList(one, other) {
    return JSON.stringify(one) === JSON.stringify(other);
}

// Whether two dry runs would do the same to the host.
export function isSame(one, other) {
    return one.difference === other.difference &&
        one.needs_force === other.needs_force &&
        JSON.stringify(one.settings || []) === JSON.stringify(other.settings || []);
}
