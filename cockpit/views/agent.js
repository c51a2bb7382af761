// The agent's service: its state, and start, stop and restart.

import { button, element, section, setText } from "../dom.js";
import { NOT_ASKED, NOT_INSTALLED, RUNNING, STOPPED } from "../model/service.js";
import { _ } from "../text.js";

export function createAgent({ onAction }) {
    const state = element("span", { id: "agent-state", role: "status" }, _("Unknown"));
    const light = element("span", { class: "light", "aria-hidden": "true" });
    const detail = element("p", { class: "detail" });
    const buttons = {
        start: button(_("Start"), () => onAction("start")),
        stop: button(_("Stop"), () => onAction("stop")),
        restart: button(_("Restart"), () => onAction("restart")),
    };
    const view = section("agent", _("Agent"),
                         element("p", { class: "state" }, light, state),
                         detail,
                         element("div", { class: "buttons" }, buttons.start, buttons.stop, buttons.restart));

    function show({ service, doing }) {
        setText(state, nameOf(service.state));
        light.dataset.state = service.state;
        setText(detail, doing || service.text);
        const isUsable = !doing && service !== NOT_ASKED && service.state !== NOT_INSTALLED;
        buttons.start.disabled = !isUsable || service.state === RUNNING;
        buttons.stop.disabled = !isUsable || service.state === STOPPED;
        buttons.restart.disabled = !isUsable || service.state === STOPPED;
    }

    show({ service: NOT_ASKED, doing: "" });
    return { element: view, show };
}

function nameOf(state) {
    switch (state) {
    case RUNNING: return _("Running");
    case STOPPED: return _("Stopped");
    case NOT_INSTALLED: return _("Not installed");
    default: return _("Unknown");
    }
}
