// What went wrong: what, where, in what state the host is, and what mends it as buttons.

import { button, element } from "../dom.js";
import { wordsOf } from "../model/commands.js";
import { _, format } from "../text.js";
import { ACCESS, LOOK_AGAIN } from "../words.js";
import { differenceElement } from "./difference.js";

// A problem as words.js makes them. on: onCommand(words, text) runs what a button shows, onLookAgain and
// onAccess do what the page offers; without them there are no buttons.
export function problemElement(problem, on = null) {
    return element("div", { class: "problem", role: "alert", "data-problem": problem.kind },
                   element("p", { class: "message" }, problem.message),
                   detailList(problem.details, on),
                   stateElement(problem.hostState),
                   problem.commands.map(command => commandElement(command, on)),
                   actionElement(problem.actions, on));
}

function detailList(details, on) {
    if (details.length === 0)
        return null;
    return element("ul", {}, details.map(({ text, command }) =>
        element("li", {}, text, command === null ? null : commandElement(command, on))));
}

function stateElement(state) {
    if (state === null)
        return null;
    const service = { running: _("The agent's service is running."), stopped: _("The agent's service is stopped.") };
    const files = { changed: _("The files are changed."), unchanged: _("The files are unchanged.") };
    return element("div", { class: "host-state" },
                   element("p", {}, [service[state.service] || _("It is not known whether the agent's service runs."),
                                     files[state.files] || ""].join(" ")),
                   state.difference ? differenceElement(state.difference) : null);
}

// A button where the page may run the command, and otherwise the command to be copied.
function commandElement(command, on) {
    const words = on ? wordsOf(command) : null;
    return words === null
        ? element("p", { class: "command" }, _("On the host, as root:"), " ", element("code", {}, command))
        : element("p", { class: "command" }, button(format(_("Run: $0"), command), () => on.onCommand(words, command)));
}

function actionElement(actions, on) {
    if (actions.length === 0 || on === null)
        return null;
    const makers = {
        [LOOK_AGAIN]: () => button(_("Look again"), () => on.onLookAgain()),
        [ACCESS]: () => button(_("Turn on administrative access"), () => on.onAccess(), { class: "button primary" }),
    };
    return element("div", { class: "buttons" }, actions.map(action => makers[action]()));
}

// The place on the page where problems stand, each in a slot of its own.
export function createProblems(on) {
    const view = element("div", { id: "problems" });
    const slots = new Map(); // by name: the problem as text, and its element

    // Shows it in place of the slot's last one, or nothing. One that is there already is not announced again.
    function set(slot, problem) {
        const before = slots.get(slot);
        const text = JSON.stringify(problem);
        if (before && before.text === text)
            return;
        if (before)
            before.element.remove();
        slots.delete(slot);
        if (problem === null)
            return;
        const made = problemElement(problem, on);
        slots.set(slot, { text, element: made });
        view.append(made);
    }

    // What somebody has asked for went wrong: leads there.
    function focus(slot) {
        const { element: made } = slots.get(slot);
        made.tabIndex = -1;
        made.focus();
    }

    return { element: view, set, focus };
}
