"""What the tests of the page share: a host, a browser in which an administrator has logged in, the page."""

import installed_host
from browser import Browser
from console_host import ADMINISTRATOR, ConsoleHost, DESCRIPTION, wait_until
from logger_page import LoggerPage


class ConsoleCase(ConsoleHost):
    """Tests that begin with the page as it is when somebody has just opened it."""

    browser: Browser
    page: LoggerPage

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.end)
        cls.page = LoggerPage(cls.browser)

    @classmethod
    def log_in_as_administrator(cls) -> None:
        """To be called once, before the first test that does not log in by itself."""
        cls.browser.log_in(ADMINISTRATOR, cls.password_of(ADMINISTRATOR))
        cls.browser.open_from_menu()
        cls.browser.become_administrator(cls.password_of(ADMINISTRATOR))
        cls.browser.wait_for(READY_ROW)

    def start_afresh(self) -> None:
        """Settings, description and service as in the beginning, and the page opened anew."""
        self.describe(DESCRIPTION)
        for name, content in zip(installed_host.FILES, self.settings()):
            if content != self.samples[name]:
                self.write(name, self.samples[name])
        self.host.run("systemctl", "start", "agent.service")
        self.browser.reload_page()
        wait_until(self.page.rows, "the table of file systems")

    def change_by_tool(self, *assignments: str) -> None:
        """What somebody else does at a terminal."""
        self.host.run("loggerctl", "set", "--force", *assignments)


READY_ROW = "tr[data-name]"
