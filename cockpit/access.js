// Administrative access in Cockpit's own way: the session's second bridge, which asks for the password.

import { button, element, setText } from "./dom.js";
import { _ } from "./text.js";
import { openDialog } from "./views/dialog.js";

const INTERFACE = "cockpit.Superuser";
const PATH = "/superuser";

// onChange() is called when access was given or taken back, on whichever page.
export class Access {
    constructor(onChange) {
        this.client = globalThis.cockpit.dbus(null, { bus: "internal" });
        this.proxy = this.client.proxy(INTERFACE, PATH);
        let before = null;
        this.proxy.addEventListener("changed", () => {
            const now = this.proxy.Current;
            if (before !== null && before !== "init" && before !== now)
                onChange();
            before = now;
        });
    }

    // Asks for it, as often as the password is wrong.
    ask() {
        const message = element("p", {}, _("Asking the host"));
        const password = element("input", { type: "password", class: "text", autocomplete: "current-password",
                                            "aria-label": _("Password"), disabled: true });
        const wrong = element("p", { class: "error", role: "alert" });
        const ok = button(_("Authenticate"), () => form.requestSubmit(), { class: "button primary", disabled: true });
        const form = element("form", { onSubmit: event => { event.preventDefault(); this.answer(password, ok) } },
                             message, password, wrong);
        const dialog = openDialog({
            title: _("Switch to administrative access"),
            body: form,
            buttons: [ok, button(_("Cancel"), () => dialog.close())],
        });

        const subscription = this.client.subscribe({ interface: INTERFACE, path: PATH, member: "Prompt" },
                                                   (path, type, signal, [text, prompt, initial, echo, error]) => {
            setText(message, text || prompt);
            setText(wrong, error);
            password.type = echo ? "text" : "password";
            password.value = initial;
            password.disabled = ok.disabled = false;
            password.focus();
        });
        const end = () => { subscription.remove(); this.call("Stop", []).catch(() => {}) };
        dialog.element.addEventListener("close", end, { once: true });
        this.start()
                .then(() => {
                    dialog.element.removeEventListener("close", end);
                    subscription.remove();
                    dialog.close();
                })
                .catch(failure => {
                    setText(message, _("Administrative access was not given."));
                    setText(wrong, failure.message);
                });
    }

    answer(password, ok) {
        const text = password.value;
        password.disabled = ok.disabled = true;
        password.value = "";
        this.call("Answer", [text]);
    }

    // The first way that the host knows, as the frame around the page takes it.
    start() {
        return this.call("Start", [(this.proxy.Bridges || [])[0] || "sudo"]);
    }

    call(method, values) {
        return this.client.call(PATH, INTERFACE, method, values);
    }
}
