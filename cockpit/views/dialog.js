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
    dialog.addEventListener("close", () => dialog.remove());
    document.body.append(dialog);
    dialog.showModal();

    function setBusy(text) {
        isBusy = text !== "";
        dialog.setAttribute("aria-busy", String(isBusy));
        motion.hidden = !isBusy;
        setText(progress, text);
    }

    return { element: dialog, setBusy, close: () => dialog.close(), isOpen: () => dialog.open };
}
