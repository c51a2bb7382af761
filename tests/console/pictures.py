#!/usr/bin/env python3
"""Makes the pictures of the page "Log monitoring" that the documents show, anew.

console_host.py says how this is run.
"""

import console_host
from console_case import ConsoleCase
from console_host import PICTURES, wait_until

# How full the file systems of the pictures are, and their thresholds.
FILE_SYSTEMS = {"/srv/mail": (93, 90), "/srv/data": (78, 85), "/srv/backup": (41, 95), "/srv/archive": (12, 80)}


class Pictures(ConsoleCase):
    """One host; the pictures are made in the order of their names."""

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        for name, (percent, _) in FILE_SYSTEMS.items():
            cls.mount(name, percent)
        cls.host.run("loggerctl", "set", *(f"fs:{name}.enable=on" for name in FILE_SYSTEMS),
                     *(f"fs:{name}.threshold={threshold}" for name, (_, threshold) in FILE_SYSTEMS.items()))
        cls.log_in_as_administrator()
        cls.browser.driver.set_window_size(1200, 1340)

    def test_1_the_page(self) -> None:
        """As it is when somebody looks at it, with two changes that are not applied yet."""
        self.browser.reload_page()
        wait_until(lambda: self.page.rows()[:1] == ["/srv/mail"], "the file systems")
        self.page.enter("fs:/srv/mail.threshold", "95")
        self.page.enter("cpu.threshold", "85")
        self.page.wait_for_changes("2 changes")
        self.browser.driver.execute_script("document.activeElement.blur(); window.scrollTo(0, 0)")
        self.browser.keep(PICTURES[0])

    def test_2_the_review(self) -> None:
        """What is going to change, before it does."""
        self.page.review().screenshot(str(PICTURES[1]))


if __name__ == "__main__":
    console_host.main()
