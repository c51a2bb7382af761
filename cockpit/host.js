// What the page knows of the host, and how it comes to know it.

import { faults, holders, watchedPaths } from "./model/doctor.js";
import * as serviceState from "./model/service.js";
import { readRecord } from "./model/settings.js";
import { run } from "./tool.js";

const SLOW = 1500; // milliseconds; whoever waits longer is told for what

export class Host {
    // onService(), onHistory() and onSettings() are called when these have been read, onSettings() also
    // when the doctor has said something else. onWait(holders) is called while the settings keep the
    // page waiting, with the doctor's findings of locks that are held, and with null when they are there.
    constructor({ onService, onHistory, onSettings, onWait }) {
        this.settings = null; // as readRecord gives them; of the last time that they could be read
        this.service = serviceState.NOT_ASKED;
        this.history = [];
        this.failure = null; // why the settings could not be read
        this.historyFailure = null;
        this.faults = []; // the doctor's findings that are to be mended
        this.watched = []; // the paths whose change matters
        Object.assign(this, { onService, onHistory, onSettings, onWait });
        this.reading = null;
        this.isStale = false;
        this.isWaiting = false;
    }

    // Reads everything anew. While it is being read, it is read once more behind that.
    refresh() {
        if (this.reading) {
            this.isStale = true;
            return this.reading;
        }
        this.reading = this.readUntilFresh().finally(() => { this.reading = null });
        return this.reading;
    }

    async readUntilFresh() {
        do {
            this.isStale = false;
            await this.read();
        } while (this.isStale);
    }

    async read() {
        await Promise.all([this.readService(), this.readHistory(), this.readSettings()]);
    }

    async readService() {
        const { answer, failure } = await settled(run("service", "status"));
        this.service = answer ? serviceState.ofAnswer(answer) : serviceState.ofFailure(failure);
        this.onService();
    }

    async readHistory() {
        const { answer, failure } = await settled(run("history"));
        this.history = answer || [];
        this.historyFailure = failure;
        this.onHistory();
    }

    async readSettings() {
        const slow = setTimeout(() => this.tellHolders(), SLOW);
        const { answer, failure } = await settled(run("get", "--usage"));
        clearTimeout(slow);
        this.isWaiting = false;
        this.onWait(null);
        this.failure = failure;
        if (answer)
            this.settings = readRecord(answer);
        this.onSettings();
    }

    // What the host lacks, and what is to be watched.
    async examine() {
        const { answer } = await settled(run("doctor"));
        if (!answer)
            return;
        this.faults = faults(answer);
        this.watched = watchedPaths(answer);
        this.onSettings();
    }

    async tellHolders() {
        this.isWaiting = true;
        const found = await this.findHolders();
        if (this.isWaiting)
            this.onWait(found);
    }

    // Who holds the locks, and since when: the doctor's findings.
    async findHolders() {
        const { answer } = await settled(run("doctor"));
        return answer ? holders(answer) : [];
    }
}

function settled(promise) {
    return promise.then(answer => ({ answer, failure: null }), failure => ({ answer: null, failure }));
}
