// What the page takes from the doctor's findings. Pure.

// What a change of the settings needs, in the order of the findings. The management server, of which the
// doctor speaks, too, is no business of the page.
const NEEDED = new Set(["agent", "device-description", "CheckInstall", "ServiceStop", "ServiceStart",
                        "ServiceStatus", "agent.cfg", "alert.cfg", "settings-lock", "callers-lock", "history",
                        "room", "mount-command", "provider"]);
const WATCHED = new Set(["device-description", "agent.cfg", "alert.cfg", "history"]);

// A lock that is held is no fault; it is of interest while something waits for it.
const WAITS = "flock ";

export function isHeld(finding) {
    return finding.mend !== null && finding.mend.startsWith(WAITS);
}

// What is to be mended.
export function faults(answer) {
    return answer.findings.filter(finding =>
        NEEDED.has(finding.name) && ["missing", "wrong"].includes(finding.state) && !isHeld(finding));
}

// Who holds what a command waits for.
export function holders(answer) {
    return answer.findings.filter(finding => NEEDED.has(finding.name) && isHeld(finding));
}

// The files and the folder whose change means that the settings may be others.
export function watchedPaths(answer) {
    return answer.findings.filter(finding => WATCHED.has(finding.name))
            .map(finding => finding.name === "history" ? `${finding.looked_at}/` : finding.looked_at);
}
