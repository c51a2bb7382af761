// The kept copies of the settings files, as the timeline tells them. Pure.

import { _, format } from "../text.js";

// When, in the reader's own time.
export function timeOf(entry) {
    return new Date(entry.Time).toLocaleString(undefined, { dateStyle: "medium", timeStyle: "medium" });
}

// Who, and from where, as far as it is known.
export function whoOf(entry) {
    const who = entry.SudoUser && entry.SudoUser !== entry.User
        ? format(_("$0 as $1"), entry.SudoUser, entry.User)
        : entry.User;
    return entry.From ? format(_("$0 from $1"), who || _("unknown"), entry.From) : who || _("unknown");
}

// What has become of the files since.
export function differsOf(entry) {
    return entry.Differs.length === 0 ? _("as now") : format(_("differs now: $0"), entry.Differs.join(", "));
}
