// What the page knows of the host, and how it comes to know it.

import { faults, holders, watchedPaths } from "./model/doctor.js";
import * as serviceState from "./model/service.js";
import { readRecord } from "./model/settings.js";
import { run } from "./tool.js";

const SLOW = 1500; // milliseconds; whoever waits longer is told for what

export class Host {
    // onChange() is called when something here has become another thing; onWait(holders) while an
    // answer keeps the page waiting, with who holds the locks, and with nobody when it has come.
    constructor({ onChange, onWait }) {
        this.settings = null; // as readRecord gives them; of the last time that they could be read
        this.service = serviceState.NOT_ASKED;
        this.history = [];
        this.failure = null; // why the settings could not be read
        this.historyFailure = null;
        this.faults = []; // the doctor's findings that are to be mended
        this.watched = []; // the paths whose change matters
        this.onChange = onChange;
        this.onWait = onWait;
        this.reading = null;
        this.isStale = false;
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
        const slow = setTimeout(() => this.tellHolders(), SLOW);
        const [settings, service, history] = await Promise.all(
            [run("get", "--usage"), run("service", "status"), run("history")].map(settled));
        clearTimeout(slow);
        this.onWait([]);
        this.failure = settings.failure;
        this.historyFailure = history.failure;
        if (settings.answer)
            this.settings = readRecord(settings.answer);
        this.service = service.answer ? serviceState.ofAnswer(service.answer) : serviceState.ofFailure(service.failure);
        this.history = history.answer || [];
        this.onChange();
    }

    // What the host lacks, and what is to be watched.
    async examine() {
        const { answer } = await settled(run("doctor"));
        if (!answer)
            return;
        this.faults = faults(answer);
        this.watched = watchedPaths(answer);
        this.onChange();
    }

    async tellHolders() {
        const found = await this.findHolders();
        if (this.reading)
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
