#!/usr/bin/env python3
"""What the page "Log monitoring" says and offers when something is wrong.

console_host.py says how this is run.
"""

import threading

import console_host
import installed_host
from console_case import ConsoleCase
from console_host import ADMINISTRATOR, DESCRIPTION, ORDINARY_USER, PATIENCE_SECONDS, wait_until

SETTINGS = f"/{installed_host.SETTINGS}"
CALLERS_LOCK = "/var/opt/veltaro/kzm/logger/caller.lock"
# Holds a lock until it is told to let it go; says first that it has it.
HOLD_LOCK = "echo held >/run/hold/held; read -r _ </run/hold/let"


class Trouble(ConsoleCase):
    """One host; the tests run in the order of their names."""

    def test_01_no_rights(self) -> None:
        """Somebody who may do nothing is told so, and shown no settings."""
        self.browser.log_in(ORDINARY_USER, self.password_of(ORDINARY_USER))
        self.browser.open_from_menu()
        self.page.problem("no-rights")
        self.assertEqual(self.page.rows(), [])
        self.assertEqual(self.browser.seen("[data-key]"), [])
        self.browser.log_out()

    def test_02_rights_are_gained(self) -> None:
        """An administrator gets them on the page, in Cockpit's own way, and the settings without a reload."""
        self.browser.log_in(ADMINISTRATOR, self.password_of(ADMINISTRATOR))
        self.browser.open_from_menu()
        self.browser.driver.execute_script("window.isOld = true")
        problem = self.page.problem("no-rights")
        self.browser.click("button", "Turn on administrative access", problem)
        dialog = self.browser.find("dialog", "Switch to administrative access")
        for password in ("wrong", self.password_of(ADMINISTRATOR)):
            field = self.browser.wait_for_enabled("dialog input[type=password]")
            field.send_keys(password)
            self.browser.click("button", "Authenticate", dialog)
            if password == "wrong":
                wait_until(lambda: self.page.text_of("dialog [role=alert]"), "that the password is wrong")
        self.page.wait_for_end(dialog)
        self.page.wait_for_value("cpu.threshold", "90")
        self.assertEqual(self.page.problems(), [])
        self.assertTrue(self.browser.driver.execute_script("return window.isOld === true"))

    def test_03_agent_not_installed(self) -> None:
        """The page says so, offers nothing that needs the agent, and is well again by itself."""
        self.start_afresh()
        self.describe(DESCRIPTION.replace("CheckInstall=/bin/true", "CheckInstall=/bin/false"))
        self.page.wait_for_agent("Not installed")
        self.page.problem("not-installed")
        for name in ("Start", "Stop", "Restart"):
            self.assertFalse(self.browser.find("button", name).is_enabled(), name)
        self.describe()
        self.page.wait_for_agent("Running")
        wait_until(lambda: self.page.problems() == [], "the problem's end")

    def test_04_no_description(self) -> None:
        """The page shows what the doctor says, and mends it by a button that names the command."""
        self.start_afresh()
        self.host.run("rm", f"/{installed_host.DEVICE}")
        wait_until(lambda: f"/{installed_host.DEVICE}: does not exist" in self.page.text_of("[data-problem]"),
                   "the file that is missing")
        self.page.run_command("install -D -m 0644")
        wait_until((self.host.root / installed_host.DEVICE).exists, "the sample of the description")
        self.describe()
        self.page.wait_for_agent("Running")
        wait_until(lambda: self.page.problems() == [], "the problem's end")

    def test_05_a_service_whose_state_nobody_tells(self) -> None:
        """Without a command for it the state is unknown, and the settings are there all the same."""
        self.describe("".join(line for line in DESCRIPTION.splitlines(keepends=True)
                              if not line.startswith("ServiceStatus")))
        self.page.wait_for_agent("Unknown")
        self.page.wait_for_value("cpu.threshold", "90")
        self.start_afresh()

    def test_06_damaged_file(self) -> None:
        """File and line are named; what was shown before is not taken for the present state."""
        self.start_afresh()
        self.edit("alert.cfg", "CPU=(True, 60, 5, 90)", "CPU=(True, 60")
        wait_until(lambda: f"{SETTINGS}/alert.cfg, line 7" in self.page.text_of("[data-problem]"),
                   "file and line of what is damaged")
        self.edit("alert.cfg", "CPU=(True, 60", "CPU=(True, 60, 5, 89)")
        self.page.wait_for_value("cpu.threshold", "89")
        wait_until(lambda: self.page.problems() == [], "the problem's end")

    def test_07_a_reading_has_to_wait(self) -> None:
        """While somebody else's change is under way, the page says whose it is and since when."""
        self.start_afresh()
        with self.gate("Stop") as let:
            other = threading.Thread(target=self.change_by_tool, args=("memory.threshold=61",))
            other.start()
            self.asked()
            self.browser.begin_reload()
            problem = self.page.problem("waiting")
            self.assertRegex(problem.text, r"process \d+ \(loggerctl\), which runs since \d")
            let()
            other.join()
        self.page.wait_for_value("memory.threshold", "61")
        wait_until(lambda: self.page.problems() == [], "the problem's end")

    def test_08_a_change_has_to_wait(self) -> None:
        """Who holds the lock is told meanwhile; then the change is made."""
        self.start_afresh()
        self.page.enter("cpu.threshold", "62")
        review = self.page.review()
        self.host.run("sh", "-c", "mkdir /run/hold && mkfifo /run/hold/held /run/hold/let")
        self.addCleanup(self.host.run, "rm", "-rf", "/run/hold")
        holder = threading.Thread(target=self.host.run, args=("flock", CALLERS_LOCK, "sh", "-c", HOLD_LOCK))
        holder.start()
        self.host.run("timeout", str(PATIENCE_SECONDS), "cat", "/run/hold/held")
        self.addCleanup(self.host.run, "sh", "-c", "echo now 1<>/run/hold/let")
        self.browser.click("button", "Apply", review)
        wait_until(lambda: "process " in self.page.text_of("[data-problem]", "[role=status]"),
                   "who holds the lock")
        self.assertRegex(self.page.text_of("[data-problem]", "[role=status]"),
                         r"process \d+ \(flock\), which runs since \d")
        self.assertEqual(self.get("cpu.threshold"), "90")
        self.host.run("sh", "-c", "echo now >/run/hold/let")
        holder.join()
        self.page.wait_for_end(review)
        self.assertEqual(self.get("cpu.threshold"), "62")

    def test_09_the_service_does_not_start(self) -> None:
        """What the host is left with is told, and the command that mends it stands on a button."""
        self.start_afresh()
        self.page.enter("cpu.threshold", "63")
        review = self.page.review()
        self.describe(DESCRIPTION.replace("ServiceStart=/bin/systemctl start agent.service",
                                          "ServiceStart=/bin/false"))
        self.browser.click("button", "Apply", review)
        wait_until(lambda: "is stopped" in self.page.text_of("[data-problem]"), "the state of the host")
        self.assertIn("the command ServiceStart ended with 1", self.page.text_of("[data-problem]"))
        self.assertEqual(self.state_of("agent.service"), "inactive")
        self.describe()
        self.page.dismiss_dialogs()
        self.page.wait_for_agent("Stopped")
        self.page.run_command("loggerctl service start")
        self.page.wait_for_agent("Running")
        self.assertEqual(self.state_of("agent.service"), "active")
        wait_until(lambda: self.page.problems() == [], "the problem's end")

    def test_10_disk_full(self) -> None:
        """Nothing is touched when there is no room for the files; the page says where."""
        self.start_afresh()
        self.host.run("sh", "-c", f"cp -a {SETTINGS} /root/kept && mount -t tmpfs -o size=16k none {SETTINGS} && "
                                  f"cp -a /root/kept/. {SETTINGS} && "
                                  f"head -c 16384 /dev/zero >{SETTINGS}/filling; true")
        try:
            self.browser.reload_page()
            wait_until(self.page.rows, "the table of file systems")
            process = self.agent_process()
            self.page.enter("cpu.threshold", "64")
            self.browser.click("button", "Review")
            wait_until(lambda: self.page.problems(), "a problem")
            said = self.page.text_of("[data-problem]")
            self.assertIn(SETTINGS, said)
            self.assertRegex(said, "room|space")
            self.assertEqual(self.agent_process(), process)
        finally:
            self.host.run("umount", "--lazy", SETTINGS)
            self.host.run("rm", "-r", "/root/kept")

    def test_11_the_connection_is_cut_in_the_middle(self) -> None:
        """The change ends on the host; whoever logs in again is told how it ended."""
        self.start_afresh()
        self.page.enter("cpu.threshold", "65")
        review = self.page.review()
        with self.gate("Start") as let:
            self.browser.click("button", "Apply", review)
            self.asked()
            self.host.run("systemctl", "kill", "--kill-whom=main", "--signal=KILL",
                          "cockpit-wsinstance-http.service")
            self.browser.leave_page()
            self.browser.find("button", "Reconnect")
            let()
            wait_until(lambda: self.state_of("agent.service") == "active", "the agent's start")
        self.assertEqual(self.get("cpu.threshold"), "65")
        self.browser.log_in_again(ADMINISTRATOR, self.password_of(ADMINISTRATOR))
        self.browser.become_administrator(self.password_of(ADMINISTRATOR))
        self.page.wait_for_value("cpu.threshold", "65")
        wait_until(lambda: "came to its end" in self.page.said(), "how the change ended")
        self.assertEqual(self.page.problems(), [])

    def test_12_nothing_failed(self) -> None:
        """No unit of the host is left in failure, but Cockpit's own that was killed."""
        failed = self.host.output("systemctl", "--failed", "--no-legend", "--plain")
        self.assertEqual([line for line in failed.splitlines() if "cockpit" not in line], [])


if __name__ == "__main__":
    console_host.main()
