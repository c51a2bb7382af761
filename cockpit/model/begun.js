// A change that was begun, kept so that the page can find out how it ended when the connection was cut.
// Pure.

export const DONE = "done";
export const NOT_BEGUN = "not-begun";
export const HALF = "half";

// words: of the tool's command line, "set" or "restore". wanted: by key, the texts of the values that it
// sets; empty for a restore. history: as it was before.
export function begin(words, wanted, history) {
    return { words, wanted: Array.from(wanted), newestId: history.length > 0 ? history[0].Id : "" };
}

// How it ended, from what the host has now. The tool keeps the files before it touches them, with the
// command as the reason: without such an entry nothing was begun.
export function outcome(begun, history, values) {
    if (isReached(begun, history, values))
        return DONE;
    return history.some(entry => isOf(entry, begun)) ? HALF : NOT_BEGUN;
}

function isReached(begun, history, values) {
    if (begun.words[0] === "set")
        return begun.wanted.every(([key, text]) => String(values.get(key)) === text);
    const copy = history.find(entry => entry.Id === restoredId(begun));
    return copy !== undefined && copy.Differs.length === 0;
}

function isOf(entry, begun) {
    const reason = begun.words[0] === "set" ? reasonOfSet(begun) : `before restore of ${restoredId(begun)}`;
    return entry.Id > begun.newestId && entry.Reason === reason;
}

// The history has the assignments, with --force where it stood, and no other option.
function reasonOfSet(begun) {
    const assignments = begun.words.filter(word => word.includes("=")).join(" ");
    return begun.words.includes("--force") ? `set --force ${assignments}` : `set ${assignments}`;
}

function restoredId(begun) {
    return begun.words[begun.words.length - 1];
}
