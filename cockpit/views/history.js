// The history as a timeline, the difference of any two of its copies, and the way back to one.

import { button, element, section, setText } from "../dom.js";
import { differsOf, reasonOf, timeOf, whoOf } from "../model/history.js";
import { _, format } from "../text.js";
import { ofFailure } from "../words.js";
import { openDialog } from "./dialog.js";
import { differenceElement } from "./difference.js";
import { problemElement } from "./problems.js";

const NOW = "";

// compare(from, to) gives the tool's document; an empty `to` stands for the files as they are.
export function createHistory({ compare, onRestore }) {
    const list = element("ol", { class: "timeline" });
    const empty = element("p", { class: "muted" }, _("Reading"));
    const from = element("select", { class: "text", "aria-label": _("Compare from") });
    const to = element("select", { class: "text", "aria-label": _("Compare to") });
    const compareButton = button(_("Compare"), () => showDifference(from.value, to.value));
    const tools = element("div", { class: "toolbar", hidden: true }, from, element("span", { "aria-hidden": "true" }, "→"), to, compareButton);
    const view = section("history", _("History"), tools, empty, list);
    let shown = new Map(); // by the entry as text: its element

    // What is shown already stays, so that nobody loses the button that he is at.
    // failure: why the history could not be read, or null.
    function show(entries, failure) {
        setText(empty, failure ? _("The history cannot be read.") : _("No change has been made through the tool yet."));
        const made = new Map(entries.map(entry => [JSON.stringify(entry), entry]));
        const isSame = made.size === shown.size && Array.from(made.keys()).every(text => shown.has(text));
        if (isSame && shown.size > 0)
            return;
        empty.hidden = entries.length > 0;
        tools.hidden = entries.length === 0;
        choose(from, entries);
        choose(to, entries, element("option", { value: NOW }, _("the files as they are now")));
        for (const [text, entry] of made)
            made.set(text, shown.get(text) || entryElement(entry));
        shown = made;
        list.replaceChildren(...shown.values());
    }

    function entryElement(entry) {
        const time = timeOf(entry);
        return element("li", { "data-id": entry.Id },
                       element("div", { class: "when" }, element("time", { datetime: entry.Time }, time), " ",
                               element("span", { class: "muted" }, whoOf(entry))),
                       element("div", { class: "what" }, element("bdi", {}, reasonOf(entry))),
                       element("div", { class: "muted" }, differsOf(entry)),
                       element("div", { class: "buttons" },
                               button(_("Show difference"), () => showDifference(entry.Id, NOW),
                                      { "aria-label": format(_("Show difference to $0"), time) }),
                               button(_("Restore"), () => onRestore(entry),
                                      { "aria-label": format(_("Restore $0"), time) })));
    }

    async function showDifference(one, other) {
        const body = element("div", {}, _("Comparing"));
        const dialog = openDialog({ title: _("Difference"), body, buttons: [button(_("Close"), () => dialog.close())] });
        try {
            const { rights, difference } = await compare(one, other);
            body.replaceChildren(rights ? element("pre", {}, rights) : "",
                                 difference ? differenceElement(difference) : rights ? "" : _("Both files are the same."));
        } catch (failure) {
            body.replaceChildren(problemElement(ofFailure(failure)));
        }
    }

    return { element: view, show };
}

// Keeps what was chosen, as long as it is there.
function choose(select, entries, ...first) {
    const chosen = select.value;
    select.replaceChildren(...first, ...entries.map(entry =>
        element("option", { value: entry.Id }, `${timeOf(entry)} – ${whoOf(entry)}`)));
    select.value = chosen;
    if (select.selectedIndex < 0)
        select.selectedIndex = 0;
}
