// The state of the agent's service, from what "loggerctl service status" said. Pure.

export const RUNNING = "running";
export const STOPPED = "stopped";
export const NOT_INSTALLED = "not-installed";
export const UNKNOWN = "unknown";

export const NOT_ASKED = { state: "not-asked", text: "" };

export function ofAnswer(answer) {
    return { state: answer.state, text: "" };
}

export function ofFailure(failure) {
    return {
        state: failure.kind === NOT_INSTALLED ? NOT_INSTALLED : UNKNOWN,
        text: [failure.message, ...failure.reasons].join(" "),
    };
}
