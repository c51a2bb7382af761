// Commands that the tool prints for mending, and which of them the page may run. Pure.

// Programs whose effect is plain from the command itself. An editor is none: it needs a terminal.
const PROGRAMS = new Set(["loggerctl", "install", "systemctl", "systemd-sysusers", "chown", "chmod", "flock"]);

// The words of the command; null where a shell would do more with it than split it, or where it is not
// for a button.
export function wordsOf(command) {
    const words = split(command);
    return words !== null && words.length > 1 && PROGRAMS.has(words[0]) ? words : null;
}

// Plain characters and 'quoted' ones, with \' between two quotes; nothing else.
function split(command) {
    const words = [];
    for (const text of command.split(/ +(?=(?:[^']*'[^']*')*[^']*$)/)) {
        if (!/^(?:[A-Za-z0-9._+\/:=@%,-]|'[^']*'|\\')+$/.test(text))
            return null;
        words.push(text.replace(/'([^']*)'|\\'/g, (whole, quoted) => quoted === undefined ? "'" : quoted));
    }
    return words;
}
