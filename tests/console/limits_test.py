#!/usr/bin/env python3
"""What the page "Log monitoring" promises besides: hostile names, a thousand rows, its figures, silence, the
browser's rules for it, keyboards and screen readers, light and dark.

console_host.py says how this is run. The figures are printed; they are held to BUSY times what the page
promises on an idle machine.
"""

import hashlib
import json
import pathlib
import subprocess
import sys
import time

import console_host
from browser import ADDRESS
from console_case import ConsoleCase
from console_host import DOCUMENTS, PICTURES, wait_until
from selenium.webdriver.common.keys import Keys

FOLDER = pathlib.Path(__file__).resolve().parent
AXE = FOLDER / "third-party/axe-core"
# Names of mount points that would be something else to HTML, JavaScript, CSS selectors, the shell, the
# tool's keys and its patterns, or to the eye.
HOSTILE = (
    '<img src=x onerror="window.wasHostile=1">',
    '"><script>window.wasHostile=1<',
    "';window.wasHostile=1;'",
    "${window.wasHostile=1}`$(reboot)`",
    "&lt;b&gt;&amp;%41\\x41",
    "--help",
    "-rf *",
    "[a-z]*?",
    "fs.threshold=5",
    "x].threshold=1 y",
    "back\\slash",
    "left\u202eright",
    "white\u00a0\u2003space ",
    " leading",
    "zer\u200bo",
    "ä中😀",
    "x" * 200,
)
NOT_UTF8 = b"bad\xff\xfeutf"
MANY = 1000
BUSY = 4 # how much slower a machine may be that does other things, too
FIRST_PICTURE = 500 # milliseconds, with the container's own file systems, which are more than 20
FIRST_PICTURE_OF_MANY = 1500
KEY_STROKE = 50
MOST_BYTES = 200_000
MOST_BYTES_OF_PICTURE = 100_000
SILENT_SECONDS = 5
# How often a figure is measured at most, until one is as promised: others may be at work meanwhile.
MOST_TRIES = 10
# How long the browser took from each key to the picture that shows what it did.
WATCH_KEYS = """
window.keyTimes = [];
document.addEventListener("keydown", key => {
    const times = window.keyTimes;
    requestAnimationFrame(() => {
        const drawn = new MessageChannel();
        drawn.port1.onmessage = () => times.push(performance.now() - key.timeStamp);
        drawn.port2.postMessage(null);
    });
}, true);
"""
# Timers that the page has set and that have not run or been cleared yet, with their delays.
WATCH_TIMERS = """
if (location.pathname.includes("/kzm-logger/")) {
    window.timers = new Map();
    for (const [set, clear] of [["setTimeout", "clearTimeout"], ["setInterval", "clearInterval"]]) {
        const [oldSet, oldClear] = [window[set], window[clear]];
        window[set] = (act, delay, ...more) => {
            const id = oldSet.call(window, (...values) => {
                if (set === "setTimeout")
                    window.timers.delete(id);
                act(...values);
            }, delay, ...more);
            window.timers.set(id, `${set} ${delay}`);
            return id;
        };
        window[clear] = id => { window.timers.delete(id); oldClear.call(window, id) };
    }
}
"""


class Limits(ConsoleCase):
    """One host; the tests run in the order of their names."""

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.log_in_as_administrator()

    def test_01_only_what_belongs_to_it(self) -> None:
        """The browser is told to run the page's own files alone, and gets no more than it should."""
        self.start_afresh()
        policy = self.header("content-security-policy")
        directives = dict(part.strip().split(" ", 1) for part in policy.split(";") if " " in part.strip())
        self.assertEqual(directives["default-src"], "'none'")
        # Cockpit adds its own address to each.
        self.assertLessEqual(set(directives["script-src"].split()), {"'self'", ADDRESS})
        self.assertNotIn("unsafe", policy)
        self.assertNotIn("*", policy)
        self.browser.driver.execute_script(
            "const script = document.createElement('script'); script.textContent = 'window.wasInline = 1';"
            "document.body.append(script); document.body.setAttribute('onclick', 'window.wasInline = 1');"
            "document.body.click()")
        self.assertIsNone(self.browser.driver.execute_script("return window.wasInline"))
        fetched = self.browser.driver.execute_script(
            "return [...performance.getEntriesByType('navigation'), ...performance.getEntriesByType('resource')]"
            ".map(entry => [entry.name, entry.decodedBodySize])")
        own = {name: size for name, size in fetched if "/kzm-logger/" in name}
        self.tell("to the browser", sum(own.values()) / 1000, "kB")
        self.assertGreater(len(own), 2)
        self.assertLess(sum(own.values()), MOST_BYTES)
        self.assertEqual([name for name, _ in fetched if not name.startswith(ADDRESS + "/")], [])

    def header(self, name: str) -> str:
        """A header with which Cockpit gives the page to the browser."""
        return self.browser.driver.execute_async_script(
            "const [name, done] = arguments;"
            "fetch(location.href).then(answer => done(answer.headers.get(name)), error => done(String(error)))",
            name)

    def test_02_the_first_picture(self) -> None:
        """Is there soon."""
        self.start_afresh()
        self.assertGreater(len(self.page.rows()), 20)
        self.assert_quick("first picture", self.first_picture, FIRST_PICTURE)

    def first_picture(self) -> float:
        """Milliseconds from the page's opening to its first picture."""
        self.browser.reload_page()
        return self.browser.driver.execute_script(
            "return performance.getEntriesByName('first-picture')[0].startTime")

    def assert_quick(self, what: str, measure, promised: float) -> None:
        """Tells the best figure of some tries, and holds it to what a busy machine may need."""
        best = measure()
        for _ in range(MOST_TRIES - 1):
            if best <= promised:
                break
            best = min(best, measure())
        self.tell(what, best, "ms")
        self.assertLess(best, BUSY * promised, what)

    @staticmethod
    def tell(what: str, figure: float, unit: str) -> None:
        """Prints a figure."""
        print(f"{what}: {figure:.0f} {unit} ... ", end="", file=sys.stderr, flush=True)

    def test_03_silence(self) -> None:
        """While nothing changes the page sets no timer, and asks the host for nothing."""
        self.browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": WATCH_TIMERS})
        self.browser.reload_page()
        timers = "return [...window.timers.values()]"
        wait_until(lambda: self.browser.driver.execute_script(timers) == [], "the end of the page's timers")
        self.sent()
        self.change_by_tool("cpu.count=6")
        self.page.wait_for_value("cpu.count", "6")
        wait_until(lambda: self.browser.driver.execute_script(timers) == [], "the end of the page's timers")
        # What is counted below is really seen here.
        self.assertTrue([spawn for spawn in self.sent() if "loggerctl" in spawn])
        # Nothing is to be waited for: that nothing happens shows in time alone.
        end = time.monotonic() + SILENT_SECONDS
        while time.monotonic() < end:
            self.assertEqual([spawn for spawn in self.sent() if "kzm" in spawn or "loggerctl" in spawn], [])
            self.assertEqual(self.browser.driver.execute_script(timers), [])
            time.sleep(0.5)

    def sent(self) -> list:
        """What the browser has asked Cockpit to open since this was asked last."""
        frames = [json.loads(line["message"])["message"] for line in self.browser.driver.get_log("performance")]
        texts = [frame["params"]["response"]["payloadData"] for frame in frames
                 if frame["method"] == "Network.webSocketFrameSent"]
        return [text for text in texts if '"command":"open"' in text]

    def test_04_hostile_names(self) -> None:
        """They are text wherever they are shown, and each one's settings are changed as any other's."""
        self.start_afresh()
        names = [f"/mnt/{name}" for name in HOSTILE]
        self.addCleanup(self.host.run, "sh", "-c", "umount --lazy /mnt/*")
        for name in names:
            self.mount(name)
        self.mount_bytes(NOT_UTF8)
        wait_until(lambda: set(names) <= set(self.page.rows()), "the rows of all names")
        [unreadable] = wait_until(lambda: [name for name in self.page.rows() if name.startswith("/mnt/bad")],
                                  "the row of the name that is no text")
        keys = {name: self.page.keys_of(name)["threshold"] for name in names}
        self.assertEqual(len(set(keys.values())), len(names))
        for name in [*names, unreadable]:
            self.page.enter_in_row(name, "threshold", "51")
        self.page.wait_for_changes(f"{len(names) + 1} changes")
        # The file has no way to write these down.
        for name in names:
            if '"' in name:
                wait_until(lambda: "double quote" in self.page.complaint(keys[name]), "what is wrong with a quote")
                self.page.enter_in_row(name, "threshold", "80")
        kept = [name for name in names if '"' not in name]
        self.page.wait_for_changes(f"{len(kept) + 1} changes")
        review = self.page.review()
        self.assertEqual(len(self.page.changes_in(review)), len(kept) + 1)
        self.page.apply(review)
        record = json.loads(self.host.output("loggerctl", "--format=json", "get", "fs"))
        thresholds = {row["VolumeName"]: row["Threshold"]
                      for row in record["FsUsageMonitorConf"]["FsThresholdConfList"]}
        self.assertEqual({name: thresholds[name] for name in names},
                         {name: 51 if name in kept else 80 for name in names})
        self.assertEqual(thresholds[None], 51)
        self.page.filter("<img")
        wait_until(lambda: self.page.rows() == [names[0]], "the row of a name with markup")
        entry = wait_until(self.page.entries, "the history")[0]
        self.page.click_in_entry(entry, "Show difference")
        wait_until(self.page.difference, "the difference")
        self.page.close("Difference")
        self.assertIsNone(self.browser.driver.execute_script("return window.wasHostile"))
        self.assertEqual(self.browser.driver.execute_script(
            "return document.querySelectorAll('img, script:not([src]), [onerror], [onclick]').length"), 0)

    def mount_bytes(self, name: bytes) -> None:
        """Mounts an empty file system whose name is no text."""
        octal = "".join(f"\\{byte:03o}" for byte in name)
        self.host.run("sh", "-c", f"name=$(printf '/mnt/{octal}') && mkdir \"$name\" && "
                                  'mount -t tmpfs -o size=64k none "$name"')

    def test_05_a_thousand_rows(self) -> None:
        """The first picture, the filter and the typing stay quick."""
        self.start_afresh()
        self.host.run("sh", "-c", "mkdir -p /srv/many && mount -t tmpfs none /srv/many")
        self.addCleanup(self.host.run, "umount", "--lazy", "/srv/many", check=False)
        subprocess.run([sys.executable, FOLDER / "mount_many.py", self.host.process, "/srv/many", str(MANY)],
                       check=True)
        wait_until(lambda: len(self.page.rows()) > MANY, "all rows")
        self.assert_quick("first picture of a thousand", self.first_picture, FIRST_PICTURE_OF_MANY)
        wait_until(lambda: len(self.page.rows()) > MANY, "all rows")
        self.browser.driver.execute_script(WATCH_KEYS)
        self.assert_quick("filter", self.type_into_filter, KEY_STROKE)
        self.assert_quick("typing", self.type_threshold, KEY_STROKE)
        self.page.wait_for_changes("1 change")
        review = self.page.review()
        self.page.apply(review)
        self.assertEqual(self.get("cpu.threshold"), "76")
        self.unmount("/srv/many")
        wait_until(lambda: len(self.page.rows()) < MANY, "the end of the rows")

    def type_into_filter(self) -> float:
        """Milliseconds of the slowest key of a filter's that leaves few rows of all."""
        self.page.filter("")
        wait_until(lambda: len(self.page.rows()) > MANY, "all rows")
        slowest = self.slowest_key(self.browser.wait_for("input[type=search]"), "many/77")
        wait_until(lambda: len(self.page.rows()) == 11, "the rows of the filter")
        self.page.filter("")
        wait_until(lambda: len(self.page.rows()) > MANY, "all rows again")
        return slowest

    def type_threshold(self) -> float:
        """Milliseconds of the slowest key while a setting is changed."""
        return self.slowest_key(self.page.input("cpu.threshold"),
                                (Keys.END, Keys.BACKSPACE, Keys.BACKSPACE, "7", "6"))

    def slowest_key(self, field, keys) -> float:
        """Types keys, one after the other, and gives the longest time from one to its picture."""
        self.browser.driver.execute_script("window.keyTimes = []")
        for key in keys:
            field.send_keys(key)
        times = "return window.keyTimes"
        wait_until(lambda: len(self.browser.driver.execute_script(times)) == len(keys), "the keys' pictures")
        return max(self.browser.driver.execute_script(times))

    def test_06_the_keyboard_alone(self) -> None:
        """Everything is reached by it, the focus is seen, dialogs keep it and give it back."""
        self.start_afresh()
        self.browser.driver.execute_script("document.activeElement.blur(); window.scrollTo(0, 0)")
        reached = self.walk()
        missed = self.browser.driver.execute_script("""
            return [...document.querySelectorAll("button, input, select, a[href], [tabindex='0']")]
                .filter(element => !element.disabled && element.getClientRects().length > 0 &&
                                   !arguments[0].includes(element)).map(element => element.outerHTML)""", reached)
        self.assertEqual(missed, [])
        self.tab_to(lambda: self.page.focused_key() == "cpu.threshold")
        self.press(Keys.CONTROL + "a" + Keys.NULL, "66")
        self.page.wait_for_changes("1 change")
        self.tab_to(lambda: self.focused_name() == "Review")
        self.press(Keys.ENTER)
        dialog = self.page.wait_for_review("Review changes")
        wait_until(lambda: self.is_in(dialog), "the focus in the dialog")
        for _ in range(8):
            self.press(Keys.TAB)
            self.assertTrue(self.is_in(dialog), "the focus has left the dialog")
        self.press(Keys.ESCAPE)
        self.page.wait_for_end(dialog)
        wait_until(lambda: self.focused_name() == "Review", "the focus back where it was")
        self.press(Keys.ENTER)
        dialog = self.page.wait_for_review("Review changes")
        self.tab_to(lambda: self.focused_name() == "Apply")
        self.press(Keys.SPACE)
        self.page.wait_for_end(dialog)
        self.assertEqual(self.get("cpu.threshold"), "66")

    def walk(self) -> list:
        """All that the tabulator reaches, one after the other; each one has a name and a focus that is seen."""
        reached: list = []
        while True:
            self.press(Keys.TAB)
            element = self.browser.driver.switch_to.active_element
            if element in reached or element.tag_name == "body":
                return reached
            reached.append(element)
            self.assertTrue(element.accessible_name, element.get_attribute("outerHTML"))
            seen = self.browser.driver.execute_script(
                "const style = getComputedStyle(arguments[0]);"
                "return style.outlineStyle !== 'none' && parseFloat(style.outlineWidth) > 0", element)
            self.assertTrue(seen, element.get_attribute("outerHTML"))

    def tab_to(self, is_there) -> None:
        """Presses the tabulator until the focus is there."""
        for _ in range(400):
            if is_there():
                return
            self.press(Keys.TAB)
        self.fail("the tabulator does not lead there")

    def press(self, *keys: str) -> None:
        """Keys for whatever has the focus."""
        self.browser.driver.switch_to.active_element.send_keys(*keys)

    def focused_name(self) -> str:
        """The name of what has the focus."""
        return self.browser.driver.switch_to.active_element.accessible_name

    def is_in(self, dialog) -> bool:
        """Whether the focus is in a dialog."""
        return self.browser.driver.execute_script("return arguments[0].contains(document.activeElement)", dialog)

    def test_07_nothing_for_axe_to_find(self) -> None:
        """In light and dark: the page, a wrong value, a review with losses, a difference, a problem."""
        self.assertIn(hashlib.sha256((AXE / "axe.min.js").read_bytes()).hexdigest(),
                      (AXE / "README.md").read_text(encoding="ascii"))
        self.change_by_tool("cpu.count=7")
        for style in ("light", "dark"):
            with self.subTest(style=style):
                self.browser.choose_style(style)
                self.start_afresh()
                self.assertEqual(self.is_dark(), style == "dark")
                self.assert_accessible("the page")
                self.page.enter("cpu.threshold", "101")
                wait_until(lambda: self.page.complaint("cpu.threshold"), "what is wrong")
                self.assert_accessible("a wrong value")
                self.browser.click("button", "Discard")
                self.page.switch("fs.enable")
                review = self.page.review()
                self.assert_accessible("a review")
                self.browser.click("button", "Cancel", review)
                self.page.wait_for_end(review)
                self.page.click_in_entry(self.page.entries()[0], "Show difference")
                wait_until(lambda: self.browser.seen("dialog"), "the difference")
                self.assert_accessible("a difference")
                self.page.dismiss_dialogs()
                self.edit("alert.cfg", "CPU=(", "CPU=")
                wait_until(self.page.problems, "a problem")
                self.assert_accessible("a problem")
        self.browser.choose_style("light")
        self.start_afresh()

    def is_dark(self) -> bool:
        """Whether the page's ground is dark, as the browser draws it."""
        colour = self.browser.driver.execute_script("return getComputedStyle(document.body).backgroundColor")
        return sum(int(part) for part in colour.strip("rgba()").split(",")[:3]) < 3 * 128

    def assert_accessible(self, what: str) -> None:
        """axe-core finds nothing, by whatever rule it has."""
        self.browser.driver.execute_script((AXE / "axe.min.js").read_text(encoding="utf-8"))
        found = self.browser.driver.execute_async_script(
            "const done = arguments[0]; axe.run(document).then("
            "result => done(result.violations.map(rule => `${rule.id}: ${rule.help}: `"
            " + rule.nodes.map(node => node.html + ' ' + node.failureSummary).join('; '))),"
            "error => done([String(error)]))")
        self.assertEqual(found, [], what)

    def test_08_the_pictures_of_the_documents(self) -> None:
        """Are there, are shown, and are small; pictures.py makes them."""
        shown = (DOCUMENTS / "console.md").read_text(encoding="utf-8")
        for picture in PICTURES:
            self.assertIn(f"]({picture.name})", shown)
            self.assertLess(picture.stat().st_size, MOST_BYTES_OF_PICTURE, picture.name)
        readme = (DOCUMENTS.parent / "README.md").read_text(encoding="utf-8")
        self.assertIn(f"](docs/{PICTURES[0].name})", readme)


if __name__ == "__main__":
    console_host.main()
