"""The page "Log monitoring" as its users meet it: settings by their keys, reviews, problems."""

from browser import Browser
from console_host import wait_until
from selenium.common.exceptions import NoSuchElementException
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.remote.webelement import WebElement
from selenium.webdriver.support.select import Select

# Chooses all that stands in a field, so that typing takes its place.
ALL = Keys.CONTROL + "a" + Keys.NULL


def only(elements: list) -> WebElement:
    """The one element that there is to be."""
    if len(elements) != 1:
        raise NoSuchElementException(f"there are {len(elements)} of it")
    return elements[0]


class LoggerPage:
    """What can be seen and done on the page. The browser shows it already."""

    def __init__(self, browser: Browser) -> None:
        self._browser = browser

    # The agent

    def agent_state(self) -> str:
        """What the page says of the agent's service."""
        return self.text_of("#agent-state")

    def wait_for_agent(self, state: str) -> None:
        """Waits until the page says this of the agent's service."""
        wait_until(lambda: self.agent_state() == state, f'the agent shown as "{state}"')

    # Settings

    def input(self, key: str) -> WebElement:
        """Where a setting is shown and changed."""
        return wait_until(lambda: self._browser.driver.execute_script(
            "return document.querySelector(`[data-key=\"${CSS.escape(arguments[0])}\"]`)", key),
                          f"an input for {key}")

    def value(self, key: str) -> str:
        """What a setting is shown as: a number, or true or false."""
        value = self._property(key, "value")
        return value if self._property(key, "type") != "checkbox" else str(self._property(key, "checked"))

    def wait_for_value(self, key: str, value: str) -> None:
        """Waits until a setting is shown as this."""
        wait_until(lambda: self.value(key) == value, f"{key} shown as {value}")

    def enter(self, key: str, value: str) -> None:
        """Types another value in the place of the one that is there."""
        self._browser.do(lambda: self.input(key).send_keys(ALL, value), f"typing {key}")

    def switch(self, key: str) -> None:
        """Turns a switch over."""
        self._browser.do(self.input(key).click, f"a click on {key}")

    def focused_key(self) -> str:
        """The key of the setting whose input has the focus."""
        return self._browser.driver.execute_script("return document.activeElement.dataset.key")

    def complaint(self, key: str) -> str:
        """What the page says is wrong with the value that was typed; nothing when it is right."""
        field = self.input(key)
        if field.get_attribute("aria-invalid") != "true":
            return ""
        names = (field.get_attribute("aria-describedby") or "").split()
        return " ".join(self._browser.driver.find_element(By.ID, name).text for name in names)

    # Changes

    def wait_for_changes(self, text: str) -> None:
        """Waits until the bar says how many changes are collected."""
        wait_until(lambda: text in self.text_of(*self._browser.all("region", "Changes")), text)

    def review(self) -> WebElement:
        """Asks what the collected changes would do; the dialog that says it."""
        self._browser.click("button", "Review")
        return self.wait_for_review("Review changes")

    def wait_for_review(self, title: str) -> WebElement:
        """The dialog with this title, with the tool's difference in it."""
        dialog = self._browser.find("dialog", title)
        self._browser.wait_for("[role=dialog] pre.difference, dialog pre.difference")
        return dialog

    def difference(self) -> str:
        """The difference of the files that a dialog or the history shows."""
        return self._browser.driver.execute_script(
            "return [...document.querySelectorAll('pre.difference')].map(element => element.textContent).join('')")

    def changes_in(self, dialog: WebElement) -> list:
        """The changes that a review lists."""
        return [item.text for item in dialog.find_elements(By.CSS_SELECTOR, "[data-change]")]

    def agree_to_losses(self, dialog: WebElement) -> None:
        """Says of all that would be lost that it may go."""
        for box in dialog.find_elements(By.CSS_SELECTOR, "input[type=checkbox]"):
            box.click()

    def said(self) -> str:
        """What the page has told as it happened."""
        return self.text_of("[role=status]")

    def apply(self, dialog: WebElement) -> None:
        """Applies what is reviewed, and waits until it is done."""
        self._browser.click("button", "Apply", dialog)
        self.wait_for_end(dialog)

    def wait_for_end(self, dialog: WebElement) -> None:
        """Waits until a dialog has closed itself."""
        wait_until(lambda: not self._browser.is_seen(dialog), "the end of the dialog")

    # File systems

    def rows(self) -> list:
        """The mount points in the order of the table, without those that the filter hides."""
        return self._browser.driver.execute_script(
            "return [...document.querySelectorAll('tr[data-name]')]"
            ".filter(row => row.getClientRects().length > 0).map(row => row.dataset.name)")

    def meter(self, name: str) -> WebElement:
        """The bar that shows how full a file system is."""
        return self._row(name).find_element(By.CSS_SELECTOR, "[role=meter], meter")

    def mark_at(self, name: str) -> float:
        """Where on the bar the threshold's mark stands, in percent."""
        return self._browser.driver.execute_script(
            """const bar = arguments[0].getBoundingClientRect();
               const mark = arguments[0].parentElement.querySelector(".mark").getBoundingClientRect();
               return 100 * ((mark.left + mark.right) / 2 - bar.left) / bar.width""", self.meter(name))

    def _row(self, name: str) -> WebElement:
        return self._browser.driver.execute_script(
            "return document.querySelector(`tr[data-name=\"${CSS.escape(arguments[0])}\"]`)", name)

    def keys_of(self, name: str) -> dict:
        """The keys of a file system's settings, by their last words."""
        keys = self._browser.driver.execute_script(
            "return [...arguments[0].querySelectorAll('[data-key]')].map(input => input.dataset.key)",
            self._row(name))
        return {key.rsplit(".", 1)[1]: key for key in keys}

    def enter_in_row(self, name: str, setting: str, value: str) -> None:
        """Types a file system's setting."""
        def type_it() -> None:
            only([field for field in self._row(name).find_elements(By.CSS_SELECTOR, "[data-key]")
                  if field.get_attribute("data-key").endswith(f".{setting}")]).send_keys(ALL, value)

        self._browser.do(type_it, f"typing the {setting} of {name}")

    def filter(self, text: str) -> None:
        """Types into the filter, in the place of what is there."""
        field = self._browser.wait_for("input[type=search]")
        field.send_keys(ALL, Keys.BACKSPACE, text)

    # History

    def entries(self) -> list:
        """The IDs of what is listed in the history, newest first."""
        return self._browser.driver.execute_script(
            "return [...document.querySelectorAll('li[data-id]')].map(entry => entry.dataset.id)")

    def entry(self, identifier: str) -> WebElement:
        """One entry of the history."""
        return self._browser.wait_for(f'li[data-id="{identifier}"]')

    def click_in_entry(self, identifier: str, action: str) -> None:
        """Clicks on the button of an entry; each one's name goes on with the time of its entry."""
        def click() -> None:
            only([button for button in self.entry(identifier).find_elements(By.CSS_SELECTOR, "button")
                  if button.text == action and button.accessible_name.startswith(action + " ")]).click()

        self._browser.do(click, f'a click on "{action}" of {identifier}')

    def dismiss_dialogs(self) -> None:
        """Leaves whatever dialog is open."""
        for dialog in self._browser.seen("dialog"):
            dialog.send_keys(Keys.ESCAPE)
            self.wait_for_end(dialog)

    def close(self, title: str) -> None:
        """Closes a dialog that only tells something."""
        dialog = self._browser.find("dialog", title)
        self._browser.click("button", "Close", dialog)
        self.wait_for_end(dialog)

    def compare(self, older: str, newer: str) -> None:
        """Asks for the difference of two copies."""
        for name, identifier in (("Compare from", older), ("Compare to", newer)):
            Select(self._browser.find("combobox", name)).select_by_value(identifier)
        self._browser.click("button", "Compare")

    # Problems

    def problem(self, kind: str) -> WebElement:
        """What the page says of a problem of this kind, as soon as it says it."""
        return self._browser.wait_for(f'[role=alert][data-problem="{kind}"]')

    def run_command(self, beginning: str) -> None:
        """Clicks on the button that names a command with this beginning."""
        def click() -> None:
            only([button for button in self._browser.seen("[data-problem] button")
                  if button.text.startswith(f"Run: {beginning}")]).click()

        self._browser.do(click, f"a click on the button that runs {beginning}")

    def problems(self) -> list:
        """The kinds of problems that the page tells now."""
        return self._browser.driver.execute_script(
            "return [...document.querySelectorAll('[role=alert][data-problem]')]"
            ".filter(problem => problem.getClientRects().length > 0).map(problem => problem.dataset.problem)")

    def text_of(self, *what) -> str:
        """The words of elements, or of what a selector finds."""
        script = """return [...arguments].flatMap(what => typeof what === "string" ?
            [...document.querySelectorAll(what)] : [what]).map(element => element.innerText).join("\\n")"""
        return self._browser.driver.execute_script(script, *what)

    def _property(self, key: str, name: str):
        return self._browser.driver.execute_script(
            "return document.querySelector(`[data-key=\"${CSS.escape(arguments[0])}\"]`)?.[arguments[1]]",
            key, name)
