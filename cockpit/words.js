// What the page says of what happened on the host. Pure: texts, and problems for views/problems.js.

import * as begun from "./model/begun.js";
import { _, count, format } from "./text.js";
import { BUSY, CUT, NOT_INSTALLED, NO_RIGHTS } from "./tool.js";

export const LOOK_AGAIN = "look-again";
export const ACCESS = "access";

// A problem: kind: for tests and styles; message: the headline; details: sentences, each with the command
// that mends it or null; hostState: of the tool's failure, or null; commands: that mend it as a whole;
// actions: what the page itself offers.
function problem(kind, message, more = {}) {
    return { kind, message, details: [], hostState: null, commands: [], actions: [], ...more };
}

// holders: the doctor's findings of locks that are held.
export function ofFailure(failure, holders = []) {
    const texts = [...(failure.reasons || []), ...holders.map(finding => finding.text)];
    return problem(failure.kind || "page", failure.message, {
        details: texts.map(text => ({ text, command: null })),
        hostState: failure.hostState || null,
        commands: failure.recoverWith || [],
        actions: actionsFor(failure.kind),
    });
}

function actionsFor(kind) {
    switch (kind) {
    case NO_RIGHTS: return [ACCESS];
    case BUSY:
    case NOT_INSTALLED: return [LOOK_AGAIN];
    default: return [];
    }
}

// Why the settings cannot be read, or what a change would lack, with what the doctor found.
export function ofReading(failure, findings) {
    const details = findings.map(finding => ({ text: `${finding.name}: ${finding.text}`, command: finding.mend }));
    if (failure === null)
        return details.length === 0 ? null : problem("doctor", _("Something on this host is to be mended."),
                                                     { details, actions: [LOOK_AGAIN] });
    const said = ofFailure(failure);
    if (failure.kind === NO_RIGHTS || failure.kind === CUT)
        return said;
    return { ...said, details: details.length > 0 ? details : said.details, actions: [LOOK_AGAIN] };
}

// holders: the doctor's findings of locks that are held, or null when nobody waits.
export function ofWait(holders) {
    return holders === null ? null
        : problem("waiting", _("The page waits for the settings, as it does while somebody changes them."),
                  { details: holders.map(finding => ({ text: finding.text, command: null })) });
}

export function ofChange(answer) {
    return count("$0 setting was changed, and the agent's service was restarted. The files as they were are kept as $1.",
                 "$0 settings were changed, and the agent's service was restarted. The files as they were are kept as $1.",
                 answer.settings.length, answer.history_id);
}

export function ofGone(keys) {
    return format(_("Left out of your changes, for it is not mounted any more: $0"), keys.join(", "));
}

export function doing(action) {
    return { start: _("Starting"), stop: _("Stopping"), restart: _("Restarting") }[action];
}

// text: the good news; problem: the bad ones; typed: what is to be typed once more.
export function ofUnfinished({ change, outcome }) {
    const details = [{ text: format("loggerctl $0", change.words.join(" ")), command: null }];
    switch (outcome) {
    case begun.DONE:
        return { text: _("The change under way when the connection was cut came to its end: the settings are as they were to be."),
                 problem: null, typed: [] };
    case begun.NOT_BEGUN:
        return { text: "", typed: change.wanted,
                 problem: problem("not-begun", _("The connection was cut before your change had begun. Nothing was changed; what you had typed stands here once more."), { details }) };
    default:
        return { text: "", typed: [],
                 problem: problem("half", _("The connection was cut while a change was under way, and the settings are not as they were to be. The history has the files as they were before it."), { details }) };
    }
}
