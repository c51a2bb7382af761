// Elements, made of names and texts. What comes from the host gets into the page as text nodes and
// attribute values alone, so that no text can become markup.

// element("button", { type: "button", onClick: act }, "Start"). A property that begins with "on" is
// an event's; others are attributes, where true stands for an empty one and false for none.
export function element(name, properties = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(properties)) {
        if (key.startsWith("on"))
            made.addEventListener(key.slice(2).toLowerCase(), value);
        else
            setAttribute(made, key, value);
    }
    made.append(...children.flat().filter(child => child !== null && child !== undefined));
    return made;
}

export function setAttribute(target, name, value) {
    if (value === false || value === null || value === undefined)
        target.removeAttribute(name);
    else
        target.setAttribute(name, value === true ? "" : value);
}

// Changes the text only where it is another one: what did not change is not announced again.
export function setText(target, text) {
    if (target.textContent !== text)
        target.textContent = text;
}

export function button(text, onClick, properties = {}) {
    return element("button", { type: "button", class: "button", onClick, ...properties }, text);
}

// A region of the page with its heading.
export function section(id, title, ...children) {
    return element("section", { id, class: "card", "aria-labelledby": `${id}-title` },
                   element("h2", { id: `${id}-title` }, title),
                   ...children);
}

let lastId = 0;

// For what one element says about another one.
export function freshId(beginning) {
    lastId += 1;
    return `${beginning}-${lastId}`;
}
