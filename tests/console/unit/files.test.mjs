// What holds for the page's files as a whole.

import assert from "node:assert/strict";
import { readFileSync, readdirSync } from "node:fs";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

const folder = fileURLToPath(new URL("../../../cockpit/", import.meta.url));
const read = name => readFileSync(folder + name, "utf8");

function namesBelow(place = "") {
    return readdirSync(folder + place, { withFileTypes: true }).flatMap(each =>
        each.isDirectory() ? namesBelow(`${place}${each.name}/`) : [place + each.name]);
}

const scripts = namesBelow().filter(name => name.endsWith(".js") && !name.startsWith("po."));
const GREATEST_SIZE = 200 * 1000; // bytes to the browser

test("no text from the host can become markup or a program", () => {
    const forbidden = /innerHTML|outerHTML|insertAdjacentHTML|document\.write|createContextualFragment|DOMParser|\beval\b|new Function|setAttribute\("style"|cockpit\.script|"(?:ba)?sh"/;
    for (const name of scripts)
        assert.doesNotMatch(read(name), forbidden, name);
});

test("the page has no script and no style of its own in it, and its policy allows none", () => {
    const page = read("index.html");
    assert.doesNotMatch(page, /<script(?![^>]* src=)|<style|\sstyle=|\son[a-z]+=|javascript:/i);
    const policy = JSON.parse(read("manifest.json"))["content-security-policy"];
    assert.match(policy, /^default-src 'none';/);
    assert.doesNotMatch(policy, /unsafe|\*|data:|http/);
});

test("every module is loaded ahead, so that none waits for the one that wants it", () => {
    const page = read("index.html");
    const ahead = Array.from(page.matchAll(/<link rel="modulepreload" href="([^"]+)">/g), match => match[1]);
    const plain = Array.from(page.matchAll(/<script(?: type="module")? src="([^".][^"]*)"/g), match => match[1]);
    assert.deepEqual([...ahead, ...plain].sort(), [...scripts, "po.js"].sort());
});

test("the page is small", () => {
    const size = namesBelow().filter(name => /\.(?:js|css|html)$/.test(name))
            .reduce((sum, name) => sum + readFileSync(folder + name).length, 0);
    assert.ok(size <= GREATEST_SIZE, `${size} bytes`);
});

test("only one module runs loggerctl, and the model needs neither host nor browser", () => {
    for (const name of scripts.filter(each => each !== "tool.js"))
        assert.doesNotMatch(read(name), /\.spawn\(/, name);
    for (const name of scripts.filter(each => each.startsWith("model/")))
        assert.doesNotMatch(read(name), /\b(?:cockpit|document|window|sessionStorage)\./, name);
});
