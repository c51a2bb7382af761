#!/usr/bin/env python3
"""An administrator's life with the page "Log monitoring", from the first log-in on.

console_host.py says how this is run.
"""

import json

import console_host
import installed_host
from console_case import ConsoleCase
from console_host import ADMINISTRATOR, UNMOUNTED, wait_until

BEFORE = "CPU=(True, 60, 5, 90)"
AFTER = "CPU=(True, 60, 5, 95)"


class Console(ConsoleCase):
    """One host; the tests run in the order of their names."""

    def test_01_somebody_who_has_never_seen_it(self) -> None:
        """Logs in, finds the page, raises a threshold after a look at what will change, takes it back."""
        password = self.password_of(ADMINISTRATOR)
        self.browser.log_in(ADMINISTRATOR, password)
        self.browser.open_from_menu()
        self.assertEqual(self.browser.wait_for("h1").text, "Log monitoring")
        self.browser.become_administrator(password)
        self.page.wait_for_value("cpu.threshold", "90")
        self.page.wait_for_agent("Running")
        before = self.settings(), self.agent_process()

        self.page.enter("cpu.threshold", "95")
        self.page.wait_for_changes("1 change")
        review = self.page.review()
        [change] = self.page.changes_in(review)
        for words in ("CPU", "90", "95"):
            self.assertIn(words, change)
        self.assertIn(f"-{BEFORE}\n+{AFTER}\n", self.page.difference())
        self.assertEqual((self.settings(), self.agent_process()), before)

        self.page.apply(review)
        self.assertIn(AFTER, self.file("alert.cfg"))
        restarted = self.agent_process()
        self.assertNotIn(restarted, ("0", before[1]))
        wait_until(lambda: "restarted" in self.page.said(), "the tool's word that the agent was restarted")
        self.page.wait_for_agent("Running")

        [entry] = wait_until(self.page.entries, "the change in the history")
        self.page.click_in_entry(entry, "Restore")
        review = self.page.wait_for_review("Review restore")
        self.assertIn(f"-{AFTER}\n+{BEFORE}\n", self.page.difference())
        self.browser.click("button", "Restore", review)
        self.page.wait_for_end(review)
        self.assertEqual(self.settings(), before[0])
        self.assertNotIn(self.agent_process(), ("0", restarted))
        self.page.wait_for_value("cpu.threshold", "90")

    def test_02_what_needs_attention_comes_first(self) -> None:
        """Above its threshold, near it, below it, not monitored; with the usage as a bar and a mark."""
        sizes = {"/srv/below": 30, "/srv/idle": 97, "/srv/near": 85, "/srv/above": 95}
        for name, percent in sizes.items():
            self.mount(name, percent)
        self.change_by_tool("fs:/srv/*.threshold=90", *(f"fs:/srv/{name}.enable=on"
                                                        for name in ("above", "near", "below")))
        self.start_afresh_but_for_settings()
        order = [name for name in self.page.rows() if name in sizes]
        self.assertEqual(order, ["/srv/above", "/srv/near", "/srv/below", "/srv/idle"])
        self.assertEqual(self.page.rows()[0], "/srv/above")
        for name, percent in sizes.items():
            meter = self.page.meter(name)
            self.assertEqual(meter.accessible_name, f"{name}: in use")
            self.assertAlmostEqual(float(meter.get_attribute("aria-valuenow")), percent, delta=1)
        self.assertAlmostEqual(self.page.mark_at("/srv/near"), 90, delta=1)

    def start_afresh_but_for_settings(self) -> None:
        """The page opened anew."""
        self.browser.reload_page()
        wait_until(self.page.rows, "the table of file systems")

    def test_03_the_filter(self) -> None:
        """Leaves the rows whose names have the words, and says how many these are."""
        everything = self.page.rows()
        self.page.filter("SRV ne")
        wait_until(lambda: self.page.rows() == ["/srv/near"], "the one row of the filter")
        self.page.filter("no such name")
        wait_until(lambda: self.page.rows() == [], "no row at all")
        self.page.filter("")
        wait_until(lambda: self.page.rows() == everything, "all rows again")

    def test_04_several_changes_at_once(self) -> None:
        """They are collected, discarded, collected again, listed, and applied together."""
        self.start_afresh()
        before = self.settings()
        self.page.switch("syslog.information")
        self.page.enter("memory.count", "7")
        self.page.enter("fs:/srv/idle.threshold", "66")
        self.page.switch("fs:/srv/idle.enable")
        self.page.wait_for_changes("4 changes")
        self.browser.click("button", "Discard")
        self.page.wait_for_value("memory.count", "5")
        self.page.wait_for_value("syslog.information", "False")
        self.assertEqual(self.settings(), before)
        self.page.switch("syslog.information")
        self.page.enter("memory.count", "7")
        self.page.enter("fs:/srv/idle.threshold", "66")
        self.page.switch("fs:/srv/idle.enable")
        # What is typed back is no change any more.
        self.page.enter("cpu.count", "6")
        self.page.wait_for_changes("5 changes")
        self.page.enter("cpu.count", "5")
        self.page.wait_for_changes("4 changes")
        review = self.page.review()
        self.assertEqual(len(self.page.changes_in(review)), 4)
        self.assertIn("+InformationAlert=True", self.page.difference())
        self.assertIn('+FSNAME="/srv/idle"   (66)', self.page.difference())
        self.page.apply(review)
        self.assertIn("InformationAlert=True", self.file("agent.cfg"))
        self.assertIn("MEMORY=(True, 60, 7, 85)", self.file("alert.cfg"))
        self.assertIn('\nFSNAME="/srv/idle"   (66)', self.file("alert.cfg"))

    def test_05_what_would_be_lost_is_asked_about(self) -> None:
        """In words; nothing is applied before somebody has said that it may go."""
        self.start_afresh()
        self.edit("alert.cfg", 'FSNAME="/"   (85)', f'FSNAME="/"   (85)   # ours\n{UNMOUNTED}   (95)')
        self.page.enter("fs:/.threshold", "86")
        self.page.wait_for_changes("1 change")
        before = self.settings()
        review = self.page.review()
        self.assertIn("/srv/backup is not mounted", review.text)
        self.assertIn("ours", review.text)
        self.assertFalse(self.browser.find("button", "Apply", review).is_enabled())
        self.page.agree_to_losses(review)
        self.assertEqual(self.settings(), before)
        self.page.apply(review)
        self.assertNotIn("/srv/backup", self.file("alert.cfg"))
        self.assertIn('FSNAME="/"   (86)', self.file("alert.cfg"))

    def test_06_switches_that_go_are_asked_about(self) -> None:
        """Turning all file systems off turns each one's own switch off; leaving the review changes nothing."""
        self.start_afresh()
        before = self.settings()
        self.page.switch("fs.enable")
        review = self.page.review()
        self.assertIn("own switch is turned off", review.text)
        self.browser.click("button", "Cancel", review)
        self.page.wait_for_end(review)
        self.page.wait_for_changes("1 change")
        self.assertEqual(self.settings(), before)

    def test_07_wrong_values_are_told_by_the_tool(self) -> None:
        """As they are typed, under the field, and they cannot be applied."""
        self.start_afresh()
        for key, value in (("cpu.threshold", "101"), ("memory.interval", "x"),
                           ("fs:/.threshold", "0"), ("cpu.count", "99999999999")):
            with self.subTest(key=key, value=value):
                self.page.enter(key, value)
                complaint = wait_until(lambda: self.page.complaint(key), f"what is wrong with {key}={value}")
                said = self.host.run("loggerctl", "set", "--dry-run", f"{key}={value}", check=False)
                self.assertIn(complaint, said.stdout + said.stderr)
                self.browser.click("button", "Review")
                wait_until(lambda: self.page.focused_key() == key, "the way to the wrong value")
                self.assertEqual(self.browser.seen("[role=dialog]"), [])
                self.page.enter(key, self.get(key))
                wait_until(lambda: not self.page.complaint(key), f"nothing wrong with {key}")

    def test_08_the_history(self) -> None:
        """Says when, who, from where and what; compares any two; takes back the one that is chosen."""
        self.start_afresh()
        first = self.settings()
        for count in (6, 7, 8):
            self.change_by_tool(f"cpu.count={count}")
        known = self.history_ids()
        wait_until(lambda: self.page.entries() == known, "the history as the tool tells it")
        newest, oldest = known[0], known[2]
        for words in ("root", "set --force cpu.count=8"):
            self.assertIn(words, self.page.entry(newest).text)
        self.page.click_in_entry(newest, "Show difference")
        wait_until(lambda: "-CPU=(True, 60, 7, 90)\n+CPU=(True, 60, 8, 90)" in self.page.difference(),
                   "the difference to the newest copy")
        self.page.close("Difference")
        self.page.compare(oldest, newest)
        wait_until(lambda: "-CPU=(True, 60, 5, 90)\n+CPU=(True, 60, 7, 90)" in self.page.difference(),
                   "the difference of two copies")
        self.page.close("Difference")
        self.page.click_in_entry(oldest, "Restore")
        review = self.page.wait_for_review("Review restore")
        self.browser.click("button", "Cancel", review)
        self.page.wait_for_end(review)
        self.assertEqual(self.get("cpu.count"), "8")
        self.page.click_in_entry(oldest, "Restore")
        review = self.page.wait_for_review("Review restore")
        self.browser.click("button", "Restore", review)
        self.page.wait_for_end(review)
        self.assertEqual(self.settings(), first)

    def test_09_who_did_it_is_kept(self) -> None:
        """The history names the person who was logged in, not only root."""
        self.start_afresh()
        self.page.enter("cpu.count", "9")
        self.page.apply(self.page.review())
        newest = wait_until(lambda: self.history_ids()[0] in self.page.entries() and self.history_ids()[0],
                            "the change in the history")
        self.assertIn(ADMINISTRATOR, self.page.entry(newest).text)

    def test_10_the_service(self) -> None:
        """Stopped, started and restarted by its buttons; its state is shown."""
        self.start_afresh()
        process = self.agent_process()
        self.browser.click("button", "Restart")
        wait_until(lambda: self.agent_process() not in ("0", process), "another process of the agent")
        self.page.wait_for_agent("Running")
        self.browser.click("button", "Stop")
        self.page.wait_for_agent("Stopped")
        self.assertEqual(self.state_of("agent.service"), "inactive")
        self.browser.click("button", "Start")
        self.page.wait_for_agent("Running")
        self.assertEqual(self.state_of("agent.service"), "active")

    def test_11_what_others_do_appears(self) -> None:
        """The tool's changes, a management client's, an editor's, a mount, the service: without a reload."""
        self.start_afresh()
        self.open_server()
        self.describe() # which opening the server has written without a status
        self.browser.driver.execute_script("window.isOld = true")
        self.change_by_tool("cpu.threshold=81")
        self.page.wait_for_value("cpu.threshold", "81")
        wait_until(lambda: self.page.entries() == self.history_ids(), "the tool's change in the history")
        self.assertIn("<VALUE>0</VALUE>", self.change(82))
        self.page.wait_for_value("cpu.threshold", "82")
        wait_until(lambda: self.page.entries() == self.history_ids(), "the client's change in the history")
        self.edit("alert.cfg", "CPU=(True, 60, 5, 82)", "CPU=(True, 60, 5, 83)")
        self.page.wait_for_value("cpu.threshold", "83")
        self.host.run("sed", "-i", "s/^WarningAlert=True/WarningAlert=False/",
                      f"/{installed_host.SETTINGS}/agent.cfg")
        self.page.wait_for_value("syslog.warning", "False")
        # Not every editor renames: some write into the file that is there.
        self.host.run("sh", "-c", f"cd /{installed_host.SETTINGS} && text=$(sed 's/(True, 60, 5, 83)/(True, 60, "
                                  "5, 84)/' alert.cfg) && printf '%s\\n' \"$text\" >alert.cfg")
        self.page.wait_for_value("cpu.threshold", "84")
        self.mount("/srv/late")
        wait_until(lambda: "/srv/late" in self.page.rows(), "what was mounted")
        self.unmount("/srv/late")
        wait_until(lambda: "/srv/late" not in self.page.rows(), "what was unmounted")
        self.host.run("systemctl", "stop", "agent.service")
        self.page.wait_for_agent("Stopped")
        self.host.run("systemctl", "start", "agent.service")
        self.page.wait_for_agent("Running")
        self.assertTrue(self.browser.driver.execute_script("return window.isOld === true"))

    def test_12_what_others_do_leaves_what_was_typed(self) -> None:
        """A change that is collected stays while other settings change; a review that is old is not applied."""
        self.start_afresh()
        self.page.enter("memory.threshold", "71")
        self.page.wait_for_changes("1 change")
        self.change_by_tool("cpu.threshold=80")
        self.page.wait_for_value("cpu.threshold", "80")
        self.assertEqual(self.page.value("memory.threshold"), "71")
        review = self.page.review()
        self.change_by_tool("memory.count=9")
        self.browser.click("button", "Apply", review)
        wait_until(lambda: "-MEMORY=(True, 60, 9, 85)\n+MEMORY=(True, 60, 9, 71)" in self.page.difference(),
                   "a review of what is there now")
        self.assertEqual(self.get("memory.threshold"), "85")
        self.page.apply(review)
        self.assertIn("MEMORY=(True, 60, 9, 71)", self.file("alert.cfg"))

    def test_13_removed(self) -> None:
        """The page goes with its package; the settings stay."""
        before = self.settings()
        self.host.run("dpkg", "--purge", "cockpit-kzm-logger")
        self.assertEqual(self.host.output("find", "/usr/share/cockpit", "-name", "*kzm*"), "")
        self.browser.log_out()
        self.browser.log_in(ADMINISTRATOR, self.password_of(ADMINISTRATOR))
        self.browser.wait_for("a[href='/system/services']")
        self.assertNotIn("Log monitoring", self.browser.driver.page_source)
        self.assertEqual(self.settings(), before)

    def history_ids(self) -> list:
        """The copies that the tool has, newest first."""
        return [entry["Id"] for entry in json.loads(self.host.output("loggerctl", "history", "--json"))]


if __name__ == "__main__":
    console_host.main()
