// Mount points as they are shown and as keys name them. Pure.

// What would move the cursor, break the line or turn the direction of the text: the same characters as
// the tool's tables do not print.
const UNSAFE = /[\u0000-\u001f\u007f-\u009f\u200e\u200f\u202a-\u202e\u2066-\u2069\u2028\u2029]/gu;
const PATTERN_CHARACTERS = /[*?[]/g;

// The text with its unsafe characters as \xHH, byte by byte, as the tool prints it.
export function printable(text) {
    return text.replace(/\\/g, "\\\\").replace(UNSAFE, hexadecimal);
}

// The name of a file system, from its row in the tool's record: as text where it is text, and
// otherwise as the tool's tables print its bytes.
export function nameOf(row) {
    return row.VolumeName === null
        ? { text: escapedBytes(row.VolumeNameBytes), isText: false }
        : { text: row.VolumeName, isText: true };
}

// The name as a command line has it. The tool takes a name as it is, but one with the characters of a
// pattern could come to mean others once it is not mounted any more; so these are written as bytes.
export function spelled(name) {
    if (name.text.search(PATTERN_CHARACTERS) < 0)
        return name.text;
    const text = name.isText ? name.text.replace(/\\/g, "\\\\") : name.text;
    return text.replace(PATTERN_CHARACTERS, hexadecimal);
}

// The key of a file system's setting.
export function volumeKey(name, setting) {
    return `fs:${name}.${setting}`;
}

function hexadecimal(characters) {
    return Array.from(new TextEncoder().encode(characters), escaped).join("");
}

function escaped(byte) {
    return "\\x" + byte.toString(16).toUpperCase().padStart(2, "0");
}

// Bytes given as hexadecimal digits. What is UTF-8 among them stays text.
function escapedBytes(digits) {
    let text = "";
    const bytes = Uint8Array.from(digits.match(/../g), pair => parseInt(pair, 16));
    for (let at = 0; at < bytes.length;) {
        const character = characterAt(bytes, at);
        text += character === null ? escaped(bytes[at]) : printable(character);
        at += character === null ? 1 : new TextEncoder().encode(character).length;
    }
    return text;
}

// The one character that begins there; null where no UTF-8 does.
function characterAt(bytes, at) {
    for (let length = 1; length <= 4 && at + length <= bytes.length; ++length) {
        try {
            return new TextDecoder("utf-8", { fatal: true, ignoreBOM: true }).decode(bytes.subarray(at, at + length));
        } catch (error) {
            // It is longer, or none.
        }
    }
    return null;
}
