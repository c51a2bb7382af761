// What has been typed and not been applied yet. Pure.

export class Edits {
    constructor() {
        this.typed = new Map(); // by key: text
        this.spelling = new Map(); // of keys that a command line spells in another way
    }

    // Typing what is saved already takes the change back.
    set(key, text, saved) {
        if (text === String(saved))
            this.typed.delete(key);
        else
            this.typed.set(key, text);
    }

    discard() {
        this.typed.clear();
    }

    // The settings were read anew: leaves out what is so already, and what is not there any more. Gives
    // the keys of the latter.
    rebase({ values, spelling }) {
        this.spelling = spelling;
        const gone = [];
        for (const [key, text] of this.typed) {
            if (!values.has(key))
                gone.push(key);
            if (!values.has(key) || String(values.get(key)) === text)
                this.typed.delete(key);
        }
        return gone;
    }

    get size() {
        return this.typed.size;
    }

    has(key) {
        return this.typed.has(key);
    }

    get(key) {
        return this.typed.get(key);
    }

    spelled(key) {
        return this.spelling.get(key) || key;
    }

    // As "loggerctl set" takes them, but for those that are left out.
    arguments(leftOut = new Map()) {
        return Array.from(this.typed)
                .filter(([key]) => !leftOut.has(key))
                .map(([key, text]) => `${this.spelled(key)}=${text}`);
    }
}
