// The page: what has been typed, which view shows what, and what the buttons do.

import { Access } from "./access.js";
import { change, takeUnfinished } from "./changing.js";
import { Checker } from "./checker.js";
import { element, setText } from "./dom.js";
import { Host } from "./host.js";
import { Edits } from "./model/edits.js";
import { timeOf } from "./model/history.js";
import { _, format } from "./text.js";
import { BUSY, run, runShown } from "./tool.js";
import { createAgent } from "./views/agent.js";
import { createChanges } from "./views/changes.js";
import { showField } from "./views/field.js";
import { createFileSystems } from "./views/filesystems.js";
import { createHistory } from "./views/history.js";
import { createProblems } from "./views/problems.js";
import { review } from "./views/review.js";
import { createMonitors, createSyslog } from "./views/settings.js";
import { Watch } from "./watch.js";
import * as words from "./words.js";

const WAIT = ["--wait", "20"]; // seconds for somebody else's change; then it is said who makes it

const host = new Host({ onService: showAgent, onHistory: showHistory, onSettings: showSettings, onWait: showWait });
const edits = new Edits();
const fields = new Map(); // by key
const checker = new Checker({ rehearse, onResult: showVerdict });
const access = new Access(lookWithOtherRights);
let watch = null; // once the host has been read
let isChanging = false;
let doing = ""; // what is being done with the service

// ---- What the page shows ----

const notice = element("div", { id: "notice", role: "status" });
const problems = createProblems({ onCommand: runCommand, onLookAgain: lookAgain, onAccess: () => access.ask() });
const agent = createAgent({ onAction: controlService });
const syslog = createSyslog({ addField, onEdit });
const monitors = createMonitors({ addField, onEdit });
const fileSystems = createFileSystems({ addField, dropField, onEdit, onMeasure: lookAgain });
const history = createHistory({ compare, onRestore: reviewRestore });
const changes = createChanges({ onReview: reviewChanges, onDiscard: discard });
const settings = element("div", { class: "parts", hidden: true }, syslog, monitors, fileSystems.element);

function addField(field) {
    fields.set(field.key, field);
    if (host.settings)
        showKey(field.key);
    return field;
}

function dropField(field) {
    fields.delete(field.key);
}

function showAgent() {
    agent.show({ service: host.service, doing });
}

function showHistory() {
    history.show(host.history, host.historyFailure);
    showProblems();
}

// Why the history cannot be read is said where it is not the same as with the settings.
function showProblems() {
    problems.set("settings", words.ofReading(host.failure, host.faults));
    problems.set("history", host.failure || !host.historyFailure ? null : words.ofFailure(host.historyFailure));
}

function showSettings() {
    showProblems();
    // What cannot be read now may be another thing by now; while somebody holds the lock, it is not yet.
    const isShown = host.settings !== null && (host.failure === null || host.failure.kind === BUSY);
    settings.hidden = changes.element.inert = !isShown;
    if (isShown) {
        if (edits.size > 0)
            checker.check(edits); // what is typed may be right or wrong now for another reason
        const gone = edits.rebase(host.settings);
        fileSystems.show(host.settings);
        fields.forEach((field, key) => showKey(key));
        showChanges();
        if (gone.length > 0)
            say(words.ofGone(gone));
    }
}

function showKey(key) {
    showField(fields.get(key), host.settings.values.get(key), edits.get(key), checker.errors.get(key));
}

function showChanges() {
    changes.show(edits.size, checker.errors.size, checker.failure);
}

function showWait(holders) {
    problems.set("wait", words.ofWait(holders));
}

function say(text) {
    setText(notice, text);
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
    checker.checkNow(edits);
    showVerdict(keys);
}

function rehearse(assignments) {
    return run("set", "--dry-run", ...assignments);
}

// ---- Changing the host ----

async function reviewChanges() {
    await checker.checkNow(edits);
    const [wrong] = checker.errors.keys();
    if (wrong !== undefined) {
        fileSystems.reveal(fields.get(wrong).input);
        return;
    }
    const assignments = edits.arguments();
    const wanted = new Map(edits.typed);
    await review({
        title: _("Review changes"),
        actionName: _("Apply"),
        labels: host.settings.labels,
        rehearse: () => rehearse(assignments),
        findHolders: () => host.findHolders(),
        act: async force => {
            const answer = await changeHost(["set", ...WAIT, ...(force ? ["--force"] : []), ...assignments], wanted);
            return words.ofChange(answer);
        },
        onDone: say,
        onFailed: failure => showFailure("change", failure),
    });
}

async function reviewRestore(entry) {
    await review({
        title: _("Review restore"),
        actionName: _("Restore"),
        labels: new Map(),
        rehearse: () => run("restore", "--dry-run", entry.Id),
        findHolders: () => host.findHolders(),
        act: async force => {
            const answer = await changeHost(["restore", ...WAIT, ...(force ? ["--force"] : []), entry.Id], []);
            return format(_("Both files are as on $0 again, and the service was restarted. The state before is kept as $1."),
                          timeOf(entry), answer.history_id);
        },
        onDone: say,
        onFailed: failure => showFailure("change", failure),
    });
}

// What others do meanwhile is looked at when it is done.
async function changeHost(commandLine, wanted) {
    isChanging = true;
    say("");
    problems.set("change", null);
    try {
        return await change(commandLine, wanted, host.history);
    } finally {
        isChanging = false;
        await lookAgain();
        settle();
    }
}

async function controlService(action) {
    isChanging = true;
    doing = words.doing(action);
    showAgent();
    say("");
    problems.set("service", null);
    try {
        await run("service", ...WAIT, action);
    } catch (failure) {
        await showFailure("service", failure);
    }
    isChanging = false;
    doing = "";
    await lookAgain();
}

// A command that a problem's button shows. What it was offered for is looked at anew.
async function runCommand(commandLine, text) {
    say("");
    ["change", "command", "service", "unfinished"].forEach(slot => problems.set(slot, null));
    try {
        await runShown(commandLine);
        say(format(_("Done: $0"), text));
    } catch (failure) {
        await showFailure("command", failure);
    }
    await lookAgain();
}

// When a lock was held, the doctor knows by whom, and since when.
async function showFailure(slot, failure) {
    const holders = failure.kind === BUSY ? await host.findHolders() : [];
    problems.set(slot, words.ofFailure(failure, holders));
    problems.focus(slot);
}

function compare(from, to) {
    return to === "" ? run("diff", from) : run("diff", from, to);
}

// ---- What the host says of itself ----

async function lookAgain() {
    if (isChanging)
        return;
    await host.refresh();
    if (watch === null || host.failure || host.faults.length > 0)
        await examine();
}

// Another service than the agent's may have changed, and then that is all that is asked.
async function lookAtService() {
    if (!isChanging)
        await host.readService();
}

// With other rights other files can be watched.
async function lookWithOtherRights() {
    if (watch !== null)
        watch.forgetFiles();
    await lookAgain();
    settle();
    await examine();
}

// A change whose end nobody has seen: tells it now. What was not begun can be reviewed once more.
function settle() {
    if (host.failure || host.historyFailure)
        return;
    const unfinished = takeUnfinished(host.history, host.settings.values);
    if (unfinished === null)
        return;
    const { text, problem, typed } = words.ofUnfinished(unfinished);
    say(text);
    problems.set("unfinished", problem);
    typed.filter(([key]) => host.settings.values.has(key)).forEach(([key, value]) => onEdit(key, value));
}

async function examine() {
    await host.examine();
    if (watch === null)
        watch = new Watch({ onChange: lookAgain, onService: lookAtService });
    watch.watchFiles(host.watched);
}

// ---- The beginning ----

async function begin() {
    document.title = _("Log monitoring");
    document.getElementById("page").append(
        element("h1", {}, _("Log monitoring")), notice, problems.element,
        agent.element, settings, history.element, changes.element);
    await host.refresh();
    document.body.dataset.ready = "true";
    performance.mark("first-picture");
    document.addEventListener("visibilitychange", () => {
        if (!document.hidden)
            lookAgain();
    });
    settle();
    await examine();
}

begin();
