// One setting to be edited in place: its input, what is wrong with what was typed, and what it was.

import { element, freshId, setAttribute, setText } from "../dom.js";
import { _, format } from "../text.js";

// key: the tool's. label: the input's accessible name. onEdit(key, text) is called as it is typed.
export function createField({ key, label, isSwitch, onEdit }) {
    const input = isSwitch
        ? element("input", { type: "checkbox", role: "switch", class: "switch" })
        : element("input", { type: "text", inputmode: "numeric", autocomplete: "off", class: "number" });
    input.dataset.key = key;
    input.setAttribute("aria-label", label);
    input.addEventListener("input", () => onEdit(key, textIn(input)));
    return { key, input, element: element("div", { class: "field" }, input), note: null };
}

function textIn(input) {
    return input.type === "checkbox" ? String(input.checked) : input.value.trim();
}

// saved: what the host has. typed: what is not applied yet, or undefined. error: what the tool says
// against it, or undefined.
export function showField(field, saved, typed, error) {
    const text = typed === undefined ? String(saved) : typed;
    if (textIn(field.input) !== text)
        write(field.input, text);
    const isChanged = typed !== undefined;
    if (isChanged !== field.input.classList.contains("changed"))
        field.input.classList.toggle("changed", isChanged);
    showNote(field, noteFor(field, saved, isChanged, error), error !== undefined);
}

function write(input, text) {
    if (input.type === "checkbox")
        input.checked = text === "true";
    else
        input.value = text;
}

function noteFor(field, saved, isChanged, error) {
    if (error !== undefined)
        return error;
    if (!isChanged)
        return null;
    if (field.input.type === "checkbox")
        return saved ? _("now on") : _("now off");
    return format(_("now $0"), saved);
}

// The note stands below the input, which names it as its description. Most fields never get one.
function showNote(field, text, isError) {
    if (text === null && field.note === null)
        return;
    if (field.note === null) {
        field.note = element("div", { id: freshId("note"), "aria-live": "polite" });
        field.element.append(field.note);
    }
    setText(field.note, text || "");
    field.note.className = isError ? "note error" : "note";
    setAttribute(field.input, "aria-describedby", text === null ? null : field.note.id);
    setAttribute(field.input, "aria-invalid", isError ? "true" : null);
}
