// What went wrong: what, where, in what state the host is, and the commands that mend it as buttons.

import { button, element } from "../dom.js";
import { wordsOf } from "../model/commands.js";
import { _, format } from "../text.js";
import { differenceElement } from "./difference.js";

// A failure of the tool as a problem to show.
export function problemOf(failure, more = {}) {
    return {
        kind: failure.kind || "page",
        message: failure.message,
        details: failure.reasons || [],
        hostState: failure.hostState || null,
        commands: failure.recoverWith || [],
        buttons: [],
        ...more,
    };
}

// onCommand(words) runs what a button shows; without it the commands stand as text alone.
export function problemElement(problem, onCommand = null) {
    return element("div", { class: "problem", role: "alert", "data-problem": problem.kind },
                   element("p", { class: "message" }, problem.message),
                   listOf(problem.details),
                   stateOf(problem.hostState),
                   problem.commands.map(command => commandElement(command, onCommand)),
                   problem.buttons.length > 0 ? element("div", { class: "buttons" }, problem.buttons) : null);
}

function listOf(texts) {
    return texts.length === 0 ? null : element("ul", {}, texts.map(text => element("li", {}, text)));
}

function stateOf(state) {
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
function commandElement(command, onCommand) {
    const words = onCommand ? wordsOf(command) : null;
    return words === null
        ? element("p", { class: "command" }, _("On the host, as root:"), " ", element("code", {}, command))
        : element("div", { class: "buttons" }, button(format(_("Run: $0"), command), () => onCommand(words, command)));
}

// The place on the page where problems stand, each in a slot of its own.
export function createProblems({ onCommand }) {
    const view = element("div", { id: "problems" });
    const slots = new Map();

    function set(slot, problem) {
        const text = JSON.stringify(problem, (key, value) => value instanceof Node ? value.textContent : value);
        const before = slots.get(slot);
        if (before && before.text === text)
            return;
        if (before) {
            before.element.remove();
            slots.delete(slot);
        }
        if (problem) {
            const made = problemElement(problem, onCommand);
            slots.set(slot, { text, element: made });
            view.append(made);
        }
    }

    return { element: view, set, has: slot => slots.has(slot) };
}
