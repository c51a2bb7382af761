// What a change or a restore will do, before anything is touched: the settings, the files' difference,
// what is lost besides, and the button that does it.

import { button, element } from "../dom.js";
import { printable } from "../model/names.js";
import { isSame, readNotes } from "../model/verdict.js";
import { _ } from "../text.js";
import { ofFailure } from "../words.js";
import { openDialog } from "./dialog.js";
import { differenceElement } from "./difference.js";
import { problemElement } from "./problems.js";

// title, actionName: texts. labels: what keys are called. rehearse() gives the tool's dry run,
// findHolders() the doctor's findings of locks that are held by others;
// act(force) does it, and gives the text that says so. Both may throw a Failure: one of rehearse() is
// shown in the dialog, for nothing was touched; one of act() closes it and is given to onFailed().
// onDone(text) is called when it is done.
export async function review({ title, actionName, labels, rehearse, findHolders, act, onDone, onFailed }) {
    const body = element("div");
    const confirm = element("input", { type: "checkbox", onChange: allow });
    const actButton = button(actionName, apply, { class: "button primary" });
    const cancelButton = button(_("Cancel"), () => dialog.close());
    const dialog = openDialog({ title, body, buttons: [actButton, cancelButton] });
    let verdict = null;
    let isBusy = false;

    function allow() {
        actButton.disabled = isBusy || verdict === null || !verdict.changed || (verdict.needs_force && !confirm.checked);
        cancelButton.disabled = isBusy;
    }

    function setBusy(text) {
        isBusy = text !== "";
        dialog.setBusy(text);
        allow();
    }

    function show(now, remark = null) {
        verdict = now;
        confirm.checked = false;
        body.replaceChildren(...(remark ? [element("p", { class: "remark", role: "alert" }, remark)] : []),
                             ...contents(verdict, labels, confirm).filter(part => part !== null));
        allow();
    }

    // The dry run; null when it failed, and has said so.
    async function tryOut() {
        try {
            return await rehearse();
        } catch (failure) {
            body.prepend(problemElement(ofFailure(failure)));
            return null;
        }
    }

    // What is done is what was shown: when the host has changed meanwhile, it is shown anew.
    async function apply() {
        setBusy(_("Looking whether the host is still as shown."));
        const [now, holders] = await Promise.all([tryOut(), findHolders()]);
        if (now === null || !isSame(now, verdict))
            setBusy("");
        if (now === null)
            return;
        if (!isSame(now, verdict)) {
            show(now, _("The host has changed meanwhile. This is what will be done now."));
            return;
        }
        setBusy([...holders.map(finding => finding.text),
                 _("The agent is stopped, the files are written and compared, and the agent is started again.")].join(" "));
        const tell = await act(verdict.needs_force).then(text => () => onDone(text), failure => () => onFailed(failure));
        dialog.close(); // first: what is behind it can take the focus then
        tell();
    }

    setBusy(_("Trying the change out. Nothing is touched yet."));
    const first = await tryOut();
    setBusy("");
    if (first !== null)
        show(first);
    (actButton.disabled ? cancelButton : actButton).focus();
}

function contents(verdict, labels, confirm) {
    if (!verdict.changed)
        return [element("p", {}, _("Nothing would change: the host is so already."))];
    return [
        changeList(verdict.settings || [], labels),
        ...notes(verdict, confirm),
        element("h2", {}, _("The difference in the files")),
        differenceElement(verdict.difference),
        element("p", { class: "muted" }, _("The agent is restarted. The files as they are now are kept in the history.")),
    ];
}

function changeList(settings, labels) {
    if (settings.length === 0)
        return null;
    return element("ul", { class: "changes" }, settings.map(({ key, old, new: wanted }) =>
        element("li", { "data-change": key },
                element("bdi", {}, labels.get(key) || printable(key)), " ",
                element("span", { class: "old" }, valueText(old)), " → ",
                element("span", { class: "new" }, valueText(wanted)))));
}

function valueText(value) {
    if (typeof value === "boolean")
        return value ? _("on") : _("off");
    return String(value);
}

// With losses comes a box to be ticked first.
function notes(verdict, confirm) {
    const lists = readNotes(verdict).map(({ headline, details }) =>
        element("div", { class: "warning" },
                element("p", {}, headline || _("This would be lost besides what you asked for:")),
                element("ul", {}, details.map(text => element("li", {}, text)))));
    if (verdict.needs_force)
        lists.push(element("label", { class: "confirm" }, confirm, " ", _("Apply anyway: this is lost")));
    return lists;
}
