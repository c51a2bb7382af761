// The page's words in the user's language. Without Cockpit, as in the unit tests, they stay English.

const host = () => globalThis.cockpit;

export function _(text) {
    return host() ? host().gettext(text) : text;
}

export function ngettext(one, many, number) {
    if (host())
        return host().ngettext(one, many, number);
    return number === 1 ? one : many;
}

// Puts values in the places $0, $1 and so on.
export function format(text, ...values) {
    return text.replace(/\$(\d)/g, (place, index) => index < values.length ? String(values[index]) : place);
}

// "3 changes": the number stands at $0, further values behind it.
export function count(one, many, number, ...values) {
    return format(ngettext(one, many, number), number, ...values);
}
