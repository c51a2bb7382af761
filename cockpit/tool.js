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

// Kinds of failures that are not the tool's own.
export const TOOL_MISSING = "tool-missing";
export const CUT = "disconnected";
const UNREADABLE = "unreadable";

// The status of a stopped service is an answer, too.
export function run(...words) {
    return start(["loggerctl", "--format=json", ...words], "message").then(read);
}

// A command that the page has shown in words, as root. Resolves with what it printed.
export function runShown(words) {
    return start(words, "out").then(({ output, exception }) => {
        if (exception)
            throw new Failure({ name: "command", message: exception.message, reasons: lines(output) });
        return output;
    });
}

function start(words, err) {
    const options = { superuser: "try", err, environ: ["LC_ALL=C.UTF-8"] };
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
