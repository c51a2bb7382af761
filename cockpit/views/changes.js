// The bar that says how many changes have been collected, and leads on to their review.

import { button, element, setText } from "../dom.js";
import { _, count } from "../text.js";

export function createChanges({ onReview, onDiscard }) {
    const text = element("span", { role: "status" });
    const problem = element("span", { class: "error" });
    const view = element("section", { id: "changes", "aria-label": _("Changes"), hidden: true },
                         element("div", { class: "buttons" },
                                 button(_("Review"), onReview, { class: "button primary" }),
                                 button(_("Discard"), onDiscard)),
                         text, problem);

    // failure: of the last dry run, where it speaks of no single value, or null.
    function show(changes, errors, failure) {
        view.hidden = changes === 0;
        setText(text, count("$0 change", "$0 changes", changes));
        setText(problem, problemText(errors, failure));
    }

    return { element: view, show };
}

function problemText(errors, failure) {
    if (errors > 0)
        return count("$0 value is not valid", "$0 values are not valid", errors);
    return failure === null ? "" : [failure.message, ...failure.reasons].join(" ");
}
