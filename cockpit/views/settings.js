// The settings that are not a file system's: the syslog switches and the usage monitors.

import { element, section } from "../dom.js";
import { MONITORS, SYSLOG } from "../model/settings.js";
import { _ } from "../text.js";
import { createField } from "./field.js";

// Each setting's field is given to addField.
export function createSyslog({ addField, onEdit }) {
    const rows = SYSLOG.map(setting => {
        const field = addField(createField({ ...setting, label: setting.label(), onEdit }));
        return element("label", { class: "line" }, element("span", {}, setting.label()), field.element);
    });
    return section("syslog", _("Syslog"), ...rows);
}

export function createMonitors({ addField, onEdit }) {
    const heads = [_("Monitor"), _("Monitored"), _("Interval"), _("Samples"), _("Threshold in percent")];
    const table = element("table", { class: "monitors", "aria-labelledby": "monitors-title" },
                          element("thead", {}, element("tr", {}, heads.map(text => element("th", { scope: "col" }, text)))),
                          element("tbody", {}, MONITORS.map(monitor => rowFor(monitor, addField, onEdit, heads))));
    return section("monitors", _("Usage monitors"), table);
}

function rowFor(monitor, addField, onEdit, heads) {
    const cells = ["enable", "interval", "count", "threshold"].map((name, index) => {
        const setting = monitor.settings.find(each => each.name === name);
        const properties = { "data-label": heads[index + 1] };
        if (setting === undefined)
            return element("td", properties, element("span", { class: "muted" }, _("for each one below")));
        const field = createField({ ...setting, label: setting.label(), onEdit });
        return element("td", properties, addField(field).element);
    });
    return element("tr", {}, element("th", { scope: "row" }, monitor.title()), cells);
}
