// Commands that the tool prints for mending, and which of them the page may run. Pure.

// Programs whose effect is plain from the command itself. An editor is none: it needs a terminal.
const PROGRAMS = new Set(["loggerctl", "install", "systemctl", "systemd-sysusers", "chown", "chmod", "flock"]);

// The words of the command; null where a shell would do more with it than split it, or where it is not
// for a button.
export function wordsOf(command) {
    const words = split(command);
    return words !== null && words.length > 1 && PROGRAMS.has(words[0]) ? words : null;
}

// Words are parted by a blank and made of plain characters, of 'quoted' ones, and of \' between two
// quotes; nothing else.
function split(command) {
    const part = /[A-Za-z0-9._+\/:=@%,-]+|'[^']*'|\\'| /y;
    const words = [""];
    for (let match = part.exec(command); match !== null; match = part.exec(command)) {
        const [text] = match;
        if (text === " ")
            words.push("");
        else
            words[words.length - 1] += text.startsWith("'") ? text.slice(1, -1) : text.replace("\\'", "'");
        if (part.lastIndex === command.length)
            return words;
    }
    return null;
}
