// A unified difference as coloured lines.

import { element } from "../dom.js";
import { readDifference } from "../model/difference.js";
import { _ } from "../text.js";

export function differenceElement(text) {
    const lines = readDifference(text).map(line => element("span", { class: `line-${line.kind}` }, `${line.text}\n`));
    return element("pre", { class: "difference", tabindex: "0", "aria-label": _("Difference") }, lines);
}
