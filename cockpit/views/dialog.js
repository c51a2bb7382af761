// A dialog over the page: a title, what it shows, and its buttons at the bottom.

import { element, freshId, setText } from "../dom.js";

// Opens it. close() ends it; setBusy(text) says what goes on and holds it open meanwhile, until setBusy("").
export function openDialog({ title, body, buttons }) {
    const titleId = freshId("dialog");
    const progress = element("p", { role: "status" });
    const motion = element("progress", { "aria-hidden": "true", hidden: true });
    const dialog = element("dialog", { role: "dialog", "aria-modal": "true", "aria-labelledby": titleId },
                           element("h1", { id: titleId }, title),
                           element("div", { class: "dialog-body" }, body),
                           element("div", { class: "progress" }, motion, progress),
                           element("div", { class: "buttons" }, buttons));
    let isBusy = false;

    dialog.addEventListener("cancel", event => {
        if (isBusy)
            event.preventDefault();
    });
    dialog.addEventListener("keydown", keepFocus);
    dialog.addEventListener("close", () => dialog.remove());
    document.body.append(dialog);
    dialog.showModal();

    // The tabulator goes round in the dialog: behind it is the frame around the page, which is not held back.
    function keepFocus(event) {
        if (event.key !== "Tab")
            return;
        const stops = Array.from(dialog.querySelectorAll("button, input, select, [tabindex='0']"))
                .filter(each => !each.disabled && each.getClientRects().length > 0);
        const [from, to] = event.shiftKey ? [stops[0], stops[stops.length - 1]] : [stops[stops.length - 1], stops[0]];
        if (stops.length > 0 && document.activeElement !== from)
            return;
        event.preventDefault();
        if (to)
            to.focus();
    }

    function setBusy(text) {
        isBusy = text !== "";
        dialog.setAttribute("aria-busy", String(isBusy));
        motion.hidden = !isBusy;
        setText(progress, text);
    }

    return { element: dialog, setBusy, close: () => dialog.close(), isOpen: () => dialog.open };
}
