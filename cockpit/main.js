// The page: what it knows of the host, what has been typed, and which view shows what.

import { element, setText } from "./dom.js";
import { Checker } from "./checker.js";
import { Edits } from "./model/edits.js";
import * as serviceState from "./model/service.js";
import { readRecord } from "./model/settings.js";
import { timeOf } from "./model/history.js";
import { _, count, format } from "./text.js";
import { run, runShown } from "./tool.js";
import { createAgent } from "./views/agent.js";
import { createChanges } from "./views/changes.js";
import { showField } from "./views/field.js";
import { createFileSystems } from "./views/filesystems.js";
import { createHistory } from "./views/history.js";
import { createProblems, problemOf } from "./views/problems.js";
import { review } from "./views/review.js";
import { createMonitors, createSyslog } from "./views/settings.js";

// ---- What the page knows ----

const host = { settings: null, service: serviceState.NOT_ASKED, history: [], busy: "" };
const edits = new Edits();
const fields = new Map(); // by key
const checker = new Checker({ rehearse, onResult: showVerdict });

// ---- What it shows ----

const notice = element("div", { id: "notice", role: "status" });
const problems = createProblems({ onCommand: runCommand });
const agent = createAgent({ onAction: controlService });
const syslog = createSyslog({ addField, onEdit });
const monitors = createMonitors({ addField, onEdit });
const fileSystems = createFileSystems({ addField, dropField, onEdit });
const history = createHistory({ compare, onRestore: reviewRestore });
const changes = createChanges({ onReview: reviewChanges, onDiscard: discard });
const settingsParts = element("div", { class: "parts", hidden: true }, syslog, monitors, fileSystems.element);

function addField(field) {
    fields.set(field.key, field);
    if (host.settings)
        showKey(field.key);
    return field;
}

function dropField(field) {
    fields.delete(field.key);
}

function showKey(key) {
    showField(fields.get(key), host.settings.values.get(key), edits.get(key), checker.errors.get(key));
}

function showAgent() {
    agent.show({ service: host.service, busy: host.busy });
}

function showSettings() {
    settingsParts.hidden = host.settings === null;
    if (host.settings === null)
        return;
    fileSystems.show(host.settings);
    for (const key of fields.keys())
        showKey(key);
    showChanges();
}

function showChanges() {
    changes.show(edits.size, checker.errors.size);
}

function say(text) {
    setText(notice, text);
}

// ---- Reading ----

async function refresh() {
    const [settings, service, entries] = await Promise.allSettled([
        run("get", "--usage"), run("service", "status"), run("history"),
    ]);
    host.service = service.status === "fulfilled"
        ? serviceState.ofAnswer(service.value)
        : serviceState.ofFailure(service.reason);
    showAgent();
    host.history = entries.status === "fulfilled" ? entries.value : [];
    history.show(host.history);
    if (settings.status === "fulfilled") {
        host.settings = readRecord(settings.value);
        edits.rebase(host.settings.values);
        problems.set("settings", null);
    } else {
        problems.set("settings", problemOf(settings.reason));
    }
    showSettings();
}

// ---- Editing ----

function onEdit(key, text) {
    edits.set(key, text, host.settings.values.get(key));
    checker.forget(key);
    showKey(key);
    showChanges();
    checker.check(edits);
}

function showVerdict(keys) {
    keys.filter(key => fields.has(key)).forEach(showKey);
    showChanges();
}

function discard() {
    const keys = Array.from(edits.typed.keys());
    edits.discard();
    checker.check(edits);
    showVerdict(keys);
}

function rehearse(words) {
    return run("set", "--dry-run", ...words);
}

async function reviewChanges() {
    await checker.checkNow(edits);
    const [wrong] = checker.errors.keys();
    if (wrong !== undefined) {
        fields.get(wrong).input.focus();
        return;
    }
    await review({
        title: _("Review changes"),
        actionName: _("Apply"),
        labels: host.settings.labels,
        rehearse: () => rehearse(edits.arguments()),
        act: applyChanges,
        onDone: say,
    });
}

async function applyChanges(force) {
    const answer = await change(["set", ...(force ? ["--force"] : []), ...edits.arguments()]);
    edits.discard();
    await refresh();
    return count("$0 setting was changed. The agent's service was restarted. The files as they were are kept as $1.",
                 "$0 settings were changed. The agent's service was restarted. The files as they were are kept as $1.",
                 answer.settings.length, answer.history_id);
}

// ---- History ----

function compare(from, to) {
    return to === "" ? run("diff", from) : run("diff", from, to);
}

async function reviewRestore(entry) {
    await review({
        title: _("Review restore"),
        actionName: _("Restore"),
        labels: host.settings ? host.settings.labels : new Map(),
        rehearse: () => run("restore", "--dry-run", entry.Id),
        act: async force => {
            const answer = await change(["restore", ...(force ? ["--force"] : []), entry.Id]);
            await refresh();
            return format(_("Both files are as they were on $0 again, and the service was restarted. The state before is kept as $1."),
                          timeOf(entry), answer.history_id);
        },
        onDone: say,
    });
}

// ---- Changing the host ----

function change(words) {
    return run(...words);
}

async function controlService(action) {
    host.busy = { start: _("Starting"), stop: _("Stopping"), restart: _("Restarting") }[action];
    showAgent();
    try {
        await change(["service", action]);
        problems.set("service", null);
    } catch (failure) {
        problems.set("service", problemOf(failure));
    }
    host.busy = "";
    await refresh();
}

async function runCommand(words, text) {
    try {
        await runShown(words);
        say(format(_("Done: $0"), text));
    } catch (failure) {
        problems.set("command", problemOf(failure));
    }
    await refresh();
}

// ---- The beginning ----

async function begin() {
    document.getElementById("page").append(
        element("h1", {}, _("Log monitoring")), notice, problems.element,
        agent.element, settingsParts, history.element, changes.element);
    showAgent();
    await refresh();
    document.body.dataset.ready = "true";
    performance.mark("first-picture");
}

begin();
