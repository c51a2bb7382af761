// The kept copies of the settings files, as the timeline tells them. Pure.

import { _, format } from "../text.js";
import { printable } from "./names.js";

const LONGEST_REASON = 400; // characters; one that names a thousand settings is longer

// When, in the reader's own time.
export function timeOf(entry) {
    return new Date(entry.Time).toLocaleString(undefined, { dateStyle: "medium", timeStyle: "medium" });
}

// Who, and from where, as far as it is known.
export function whoOf(entry) {
    const user = printable(entry.User) || _("unknown");
    const who = entry.SudoUser ? format(_("$0 as $1"), printable(entry.SudoUser), user) : user;
    return entry.From ? format(_("$0 from $1"), who, printable(entry.From)) : who;
}

// What was asked for.
export function reasonOf(entry) {
    const text = printable(entry.Reason);
    const more = text.length - LONGEST_REASON;
    return more <= 0 ? text : format(_("$0 ... ($1 characters more)"), text.slice(0, LONGEST_REASON), more);
}

// What has become of the files since.
export function differsOf(entry) {
    return entry.Differs.length === 0 ? _("as now") : format(_("differs now: $0"), entry.Differs.join(", "));
}
