// A unified difference, line by line. Pure.

export const FILE = "file";
export const PLACE = "place";
export const ADDED = "added";
export const REMOVED = "removed";
export const SAME = "same";

export function readDifference(text) {
    const lines = text.split("\n");
    if (lines[lines.length - 1] === "")
        lines.pop();
    return lines.map((line, index) => ({ text: line, kind: kindOf(line, lines[index - 1], lines[index + 1]) }));
}

// The names of a file stand in two lines, with a place behind them; a removed line may look like the first one.
function kindOf(line, before = "", after = "") {
    if ((line.startsWith("--- ") && after.startsWith("+++ ")) || (line.startsWith("+++ ") && before.startsWith("--- ")))
        return FILE;
    if (line.startsWith("@@"))
        return PLACE;
    if (line.startsWith("+"))
        return ADDED;
    return line.startsWith("-") ? REMOVED : SAME;
}
