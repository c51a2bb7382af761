// What the tool says of values that were typed. Pure.

import { printable } from "./names.js";

// Which of the keys a failed dry run speaks of: the texts, by key. None where it speaks of no key.
export function blame(failure, keys) {
    const texts = new Map();
    for (const sentence of [failure.message, ...failure.reasons]) {
        for (const key of keys) {
            const text = speaksOf(sentence, printable(key));
            if (text !== null)
                texts.set(key, text);
        }
    }
    return texts;
}

// What stands behind the key; a sentence that goes on about it stays whole.
function speaksOf(sentence, key) {
    if (sentence.startsWith(`${key}: `))
        return sentence.slice(key.length + 2);
    return sentence.startsWith(`${key} `) ? sentence : null;
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
