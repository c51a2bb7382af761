#!/usr/bin/env python3
"""The page "Log monitoring" in a browser, against a Cockpit on a host with the packages.

console_host.py says how this is run.
"""

import console_host
from browser import Browser
from console_host import ADMINISTRATOR, ConsoleHost


class Console(ConsoleHost):
    """One host, and the people who use its page; the tests run in the order of their names."""

    browser: Browser

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.end)

    def test_01_somebody_who_has_never_seen_it(self) -> None:
        """Logs in and finds the page."""
        self.browser.log_in(ADMINISTRATOR, self.password_of(ADMINISTRATOR))
        self.browser.open_from_menu()
        self.assertEqual(self.browser.wait_for("h1").text, "Log monitoring")
        self.browser.become_administrator(self.password_of(ADMINISTRATOR))


if __name__ == "__main__":
    console_host.main()
