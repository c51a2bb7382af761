// Has the tool check what is typed, by dry runs. Values that it refuses are left out of the next one, so
// that each gets its own answer.

import { blame } from "./model/verdict.js";

const PAUSE = 150; // milliseconds without a key stroke

export class Checker {
    // rehearse(words) is a dry run of these changes. onResult(keys) is called with the keys whose answer
    // may be another one now.
    constructor({ rehearse, onResult }) {
        this.errors = new Map(); // by key: why the tool does not take the value
        this.failure = null; // of the last dry run, where it speaks of no key
        this.rehearse = rehearse;
        this.onResult = onResult;
        this.timer = 0;
        this.round = 0;
    }

    // The value was typed anew: what was said of the old one goes, also what is still to be said.
    forget(key) {
        this.errors.delete(key);
        this.round += 1;
    }

    check(edits) {
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.checkNow(edits), PAUSE);
    }

    async checkNow(edits) {
        clearTimeout(this.timer);
        this.round += 1;
        const round = this.round;
        const { errors, failure } = await this.ask(edits);
        if (round !== this.round)
            return;
        const keys = new Set([...this.errors.keys(), ...errors.keys()]);
        this.errors = errors;
        this.failure = failure;
        this.onResult(Array.from(keys));
    }

    async ask(edits) {
        const errors = new Map();
        for (;;) {
            const words = edits.arguments(errors);
            if (words.length === 0)
                return { errors, failure: null };
            try {
                await this.rehearse(words);
                return { errors, failure: null };
            } catch (failure) {
                const blamed = blame(failure, edits, errors);
                if (blamed.size === 0)
                    return { errors, failure };
                blamed.forEach((text, key) => errors.set(key, text));
            }
        }
    }
}
