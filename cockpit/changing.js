// Changes of the host, and how they end: also when the connection is cut in between. A command of the
// tool that has begun goes on to its end on the host; what it was stands in the browser's storage
// meanwhile: in the one that stays over a log-in, for Cockpit empties the other one then.

import * as begun from "./model/begun.js";
import { CUT, runFromAfar } from "./tool.js";

const place = () => `kzm-logger:begun:${globalThis.cockpit.transport.host || "localhost"}`;

// Runs "set" or "restore". wanted: by key, the texts of the values to set. history: as it is now.
export async function change(words, wanted, history) {
    localStorage.setItem(place(), JSON.stringify(begun.begin(words, wanted, history)));
    try {
        const answer = await runFromAfar(...words);
        localStorage.removeItem(place());
        return answer;
    } catch (failure) {
        if (failure.kind !== CUT)
            localStorage.removeItem(place());
        throw failure;
    }
}

// The change whose end nobody has seen, with its outcome; null when there is none. To be asked once the
// host has been read behind its beginning: while a change is under way, the tool lets a reading wait for
// its end.
export function takeUnfinished(history, values) {
    const text = localStorage.getItem(place());
    if (text === null)
        return null;
    localStorage.removeItem(place());
    const change = JSON.parse(text);
    return { change, outcome: begun.outcome(change, history, values) };
}
