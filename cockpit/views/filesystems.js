// Every mounted file system: how full it is, its threshold as a mark on the bar, and both its settings.
// The rows are no table to the style sheet, which lays out each by itself; so they name their roles.

import { button, element, section, setText } from "../dom.js";
import { ABOVE, BELOW, NEAR, NOT_MONITORED, enableLabel, matches, thresholdLabel } from "../model/settings.js";
import { _, count, format } from "../text.js";
import { createField } from "./field.js";

const ROWS_AT_ONCE = 60; // more would hold up the first picture

export function createFileSystems({ addField, dropField, onEdit, onMeasure }) {
    const filter = element("input", { type: "search", id: "filter", class: "text", autocomplete: "off",
                                      "aria-label": _("Filter file systems"), placeholder: _("Filter") });
    const summary = element("p", { class: "summary", role: "status" });
    const body = element("tbody", { role: "rowgroup" });
    const heads = [_("File system"), _("In use"), _("Threshold in percent"), _("Monitored")];
    const table = element("table", { class: "volumes", role: "table", "aria-labelledby": "volumes-title" },
                          element("thead", { role: "rowgroup" },
                                  element("tr", { role: "row" },
                                          heads.map(text => element("th", { scope: "col", role: "columnheader" }, text)))),
                          body);
    const view = section("volumes", _("File systems"),
                         element("div", { class: "toolbar" }, filter, summary, button(_("Measure again"), onMeasure)),
                         table);
    const shown = new Map(); // by name: what createRow gave
    let rows = [];
    let rest = 0;

    filter.addEventListener("input", applyFilter);

    function applyFilter() {
        let left = 0;
        for (const row of rows) {
            const isLeft = matches(row, filter.value);
            left += isLeft ? 1 : 0;
            const made = shown.get(row.name);
            if (made && made.element.hidden === isLeft)
                made.element.hidden = !isLeft;
        }
        setText(summary, summaryOf(rows.length, left));
    }

    function show(settings) {
        rows = settings.rows;
        dropOthers();
        clearTimeout(rest);
        place(0);
        applyFilter();
    }

    function dropOthers() {
        const names = new Set(rows.map(row => row.name));
        for (const [name, made] of shown) {
            if (names.has(name))
                continue;
            made.fields.forEach(dropField);
            made.element.remove();
            shown.delete(name);
        }
    }

    // The first ones now, further ones when the browser has drawn them.
    function place(first) {
        const focused = document.activeElement;
        const end = Math.min(first + ROWS_AT_ONCE, rows.length);
        for (let index = first; index < end; ++index) {
            const made = rowFor(rows[index]);
            made.update(rows[index]);
            if (body.children[index] !== made.element)
                body.insertBefore(made.element, body.children[index] || null);
        }
        if (focused !== document.activeElement && body.contains(focused))
            focused.focus();
        if (end < rows.length)
            rest = setTimeout(() => place(end), 0);
    }

    function rowFor(row) {
        if (!shown.has(row.name)) {
            const made = createRow(row, heads, addField, onEdit);
            made.element.hidden = !matches(row, filter.value);
            shown.set(row.name, made);
        }
        return shown.get(row.name);
    }

    // Puts the focus there, also where the filter has hidden it.
    function reveal(input) {
        if (input.closest("[hidden]")) {
            filter.value = "";
            applyFilter();
        }
        input.focus();
    }

    return { element: view, show, reveal };
}

function summaryOf(all, left) {
    return all === left
        ? count("$0 file system", "$0 file systems", all)
        : count("$0 of $1 file system", "$0 of $1 file systems", left, all);
}

function createRow(row, heads, addField, onEdit) {
    const threshold = addField(createField({ key: row.thresholdKey, label: thresholdLabel(row), onEdit }));
    const enable = addField(createField({ key: row.enableKey, label: enableLabel(row), isSwitch: true, onEdit }));
    const usage = createUsage(row);
    const made = element("tr", { role: "row" },
                         element("th", { scope: "row", role: "rowheader" }, element("bdi", { class: "name" }, row.shown)),
                         element("td", { role: "cell", "data-label": heads[1] }, usage.elements),
                         element("td", { role: "cell", "data-label": heads[2] }, threshold.element),
                         element("td", { role: "cell", "data-label": heads[3] }, enable.element));
    made.dataset.name = row.name;

    function update(now) {
        made.dataset.attention = now.attention;
        usage.update(now);
    }

    return { element: made, fields: [threshold, enable], update };
}

function createUsage(row) {
    const used = element("span", { class: "used" });
    const mark = element("span", { class: "mark" });
    const bar = element("div", { class: "bar", role: "meter", "aria-label": format(_("$0: in use"), row.shown),
                                 "aria-valuemin": 0, "aria-valuemax": 100 }, used, mark);
    const text = element("span", { class: "percent" });

    function update({ inUse, threshold, attention }) {
        bar.hidden = inUse === null;
        bar.setAttribute("aria-valuenow", inUse ?? 0);
        bar.setAttribute("aria-valuetext", describe(inUse, threshold, attention));
        used.style.width = `${inUse ?? 0}%`;
        mark.style.left = `${Math.min(100, Math.max(0, threshold))}%`;
        setText(text, inUse === null ? "–" : describe(inUse, null, attention));
    }

    return { elements: [bar, text], update };
}

function describe(inUse, threshold, attention) {
    const parts = [format(_("$0 %"), inUse ?? 0)];
    if (threshold !== null)
        parts.push(format(_("threshold $0 %"), threshold));
    const words = { [ABOVE]: _("above"), [NEAR]: _("near"), [BELOW]: "", [NOT_MONITORED]: "" }[attention];
    return words ? [...parts, words].join(", ") : parts.join(", ");
}
