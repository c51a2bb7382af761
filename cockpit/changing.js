// Changes of the host, and how they end: also when the connection is cut in between. A command of the
// tool that has begun goes on to its end on the host; what it was stands in the browser's storage of
// this tab meanwhile.

import * as begun from "./model/begun.js";
import { CUT, run } from "./tool.js";

const place = () => `kzm-logger:begun:${globalThis.cockpit.transport.host || "localhost"}`;

// Runs "set" or "restore". wanted: by key, the texts of the values to set. history: as it is now.
export async function change(words, wanted, history) {
    sessionStorage.setItem(place(), JSON.stringify(begun.begin(words, wanted, history)));
    try {
        const answer = await run(...words);
        sessionStorage.removeItem(place());
        return answer;
    } catch (failure) {
        if (failure.kind !== CUT)
            sessionStorage.removeItem(place());
        throw failure;
    }
}

// The change whose end nobody has seen, with its outcome; null when there is none. To be asked once the
// host has been read: while a change is under way, the tool lets a reading wait for its end.
export function takeUnfinished(history, values) {
    const text = sessionStorage.getItem(place());
    if (text === null)
        return null;
    sessionStorage.removeItem(place());
    const change = JSON.parse(text);
    return { change, outcome: begun.outcome(change, history, values) };
}
