// loggerctl, as the page runs it: words in, its document or its failure out. Nothing else of the page
// starts a program, but what a button says.

import { _ } from "./text.js";

// What the tool, or the way to it, says instead of a document.
export class Failure extends Error {
    // The tool's own members, with what a failure may lack filled in.
    constructor(error, warnings = []) {
        super(error.message);
        this.kind = error.name;
        this.reasons = error.reasons || [];
        this.stage = error.stage || null;
        this.hostState = error.host_state || null;
        this.recoverWith = error.recover_with || [];
        this.warnings = warnings;
    }
}

// Kinds of failures: some of the tool's own, by its names, and those of the way to it.
export const BUSY = "busy";
export const NO_RIGHTS = "no-rights";
export const NOT_INSTALLED = "not-installed";
export const TOOL_MISSING = "tool-missing";
export const CUT = "disconnected";
const UNREADABLE = "unreadable";

// The status of a stopped service is an answer, too.
export function run(...words) {
    return start(["loggerctl", "--format=json", ...words], "message").then(read);
}

// A change: with the address behind the log-in, as ssh would tell it to the tool, for the history.
export async function runFromAfar(...words) {
    const address = await remoteAddress();
    const environment = address === "" ? [] : [`SSH_CONNECTION=${address}`];
    return start(["loggerctl", "--format=json", ...words], "message", environment).then(read);
}

// What the log-in manager knows of this session; nothing where there is none, or the log-in is a local one.
async function remoteAddress() {
    try {
        const [value] = await globalThis.cockpit.dbus("org.freedesktop.login1").call(
            "/org/freedesktop/login1/session/self", "org.freedesktop.DBus.Properties", "Get",
            ["org.freedesktop.login1.Session", "RemoteHost"]);
        return value.v.replace(/^::ffff:/, ""); // an address of four numbers in the other form
    } catch (error) {
        return "";
    }
}

// A command that the page has shown in words, as root. Resolves with what it printed.
export function runShown(words) {
    return start(words, "out").then(({ output, exception }) => {
        if (exception)
            throw new Failure({ name: "command", message: exception.message, reasons: lines(output) });
        return output;
    });
}

function start(words, err, environment = []) {
    const options = { superuser: "try", err, environ: ["LC_ALL=C.UTF-8", ...environment] };
    return new Promise(resolve => {
        globalThis.cockpit.spawn(words, options)
                .then(output => resolve({ output, exception: null }),
                      (exception, output) => resolve({ output: output || "", exception }));
    });
}

function read({ output, exception }) {
    let answer = null;
    try {
        answer = JSON.parse(output);
    } catch (error) {
        throw withoutDocument(output, exception);
    }
    if (answer.error)
        throw new Failure(answer.error, answer.warnings);
    return answer;
}

function withoutDocument(output, exception) {
    const problem = exception && exception.problem;
    if (problem === "not-found")
        return new Failure({ name: TOOL_MISSING, message: _("loggerctl is not installed on this host.") });
    if (problem)
        return new Failure({ name: CUT, message: _("The connection to the host is gone."), reasons: [exception.message] });
    return new Failure({ name: UNREADABLE,
                         message: _("loggerctl said nothing that this page understands."),
                         reasons: lines(output || (exception ? exception.message : "")) });
}

function lines(text) {
    return text.split("\n").filter(line => line !== "");
}
