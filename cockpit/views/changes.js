// The bar that says how many changes have been collected, and leads on to their review.

import { button, element, setText } from "../dom.js";
import { _, count } from "../text.js";

export function createChanges({ onReview, onDiscard }) {
    const text = element("span", { role: "status" });
    const problem = element("span", { class: "error" });
    const view = element("section", { id: "changes", "aria-label": _("Changes"), hidden: true },
                         text, problem,
                         element("div", { class: "buttons" },
                                 button(_("Review"), onReview, { class: "button primary" }),
                                 button(_("Discard"), onDiscard)));

    function show(changes, errors) {
        view.hidden = changes === 0;
        setText(text, count("$0 change", "$0 changes", changes));
        setText(problem, errors === 0 ? "" : count("$0 value is not valid", "$0 values are not valid", errors));
    }

    return { element: view, show };
}
