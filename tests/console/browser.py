"""A browser without a screen, in which somebody uses Cockpit and its page "Log monitoring".

What is on the page is found as a person or a screen reader finds it: by its role and its name.
"""

import contextlib
import pathlib

from console_host import PATIENCE_SECONDS, PORT, wait_until
from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.remote.webelement import WebElement

ADDRESS = f"http://127.0.0.1:{PORT}"
FRAME = 'iframe[name="cockpit1:localhost/kzm-logger"]'
READY = 'body[data-ready="true"]'
# Nothing but the page is to be fetched: the browser has the loopback device alone.
ARGUMENTS = ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-background-networking",
             "--disable-component-update", "--no-first-run", "--window-size=1280,1000",
             "--force-device-scale-factor=1", "--lang=en-US")
# What may have a role, without asking the browser about each element.
ROLES = {
    "button": "button, [role=button]",
    "checkbox": "input[type=checkbox], [role=switch], [role=checkbox]",
    "dialog": "dialog, [role=dialog], [role=alertdialog]",
    "region": "section, [role=region]",
    "combobox": "select",
}
# The elements among those of a selector that are seen and have the name, by what HTML says of names.
FIND = """
const [selector, name, within] = arguments;
const words = text => text.replace(/\\s+/g, " ").trim();
function nameOf(element) {
    const ids = element.getAttribute("aria-labelledby");
    if (ids)
        return words(ids.split(/\\s+/).map(id => document.getElementById(id)?.textContent ?? "").join(" "));
    if (element.hasAttribute("aria-label"))
        return words(element.getAttribute("aria-label"));
    if (element.labels?.length)
        return words([...element.labels].map(label => label.textContent).join(" "));
    return words(element.textContent) || words(element.title ?? "");
}
return [...(within ?? document).querySelectorAll(selector)].filter(
    element => element.getClientRects().length > 0 && nameOf(element) === name);
"""


class Browser:
    """One browser, used by one person at a time. Ends with `end`."""

    def __init__(self) -> None:
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in ARGUMENTS:
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        self.driver.set_script_timeout(PATIENCE_SECONDS)

    def end(self) -> None:
        """Closes it."""
        self.driver.quit()

    # In Cockpit, around the page

    def log_in(self, user: str, password: str, path: str = "/system") -> None:
        """Logs in at Cockpit's door; what is shown first is the page at the path."""
        self.driver.get(ADDRESS + path)
        self.answer_door(user, password)

    def answer_door(self, user: str, password: str) -> None:
        """Fills in what Cockpit asks for at its door."""
        self.wait_for("#login-user-input").send_keys(user)
        self.driver.find_element(By.ID, "login-password-input").send_keys(password)
        self.driver.find_element(By.ID, "login-button").click()
        self.wait_for("#topnav, #main")

    def log_in_again(self, user: str, password: str) -> None:
        """After Cockpit has lost its connection: back to the page where one was."""
        self.leave_page()
        self.click("button", "Reconnect")
        self.answer_door(user, password)
        self.enter_page()

    def choose_style(self, style: str) -> None:
        """Light or dark, as it is chosen in Cockpit's own menu."""
        self.driver.execute_script("localStorage.setItem('shell:style', arguments[0])", style)

    def log_out(self) -> None:
        """Forgets whoever was logged in, and what the browser remembers of him."""
        self.leave_page()
        self.driver.delete_all_cookies()
        self.driver.execute_script("localStorage.clear(); sessionStorage.clear()")
        self.driver.get("about:blank")

    def open_from_menu(self) -> None:
        """Opens the page as somebody does who looks for it."""
        self.leave_page()
        links = wait_until(lambda: [link for link in self.driver.find_elements(By.LINK_TEXT, "Log monitoring")
                                    if link.is_displayed()], "the page's name in Cockpit's menu")
        links[0].click()
        self.enter_page()

    def enter_page(self) -> None:
        """From here on all is looked for on the page, which shows its first picture."""
        self.leave_page()
        self.driver.switch_to.frame(self.wait_for(FRAME))
        self.wait_for(READY)

    def reload_page(self) -> None:
        """Opens the page anew, without Cockpit around it."""
        self.begin_reload()
        self.wait_for(READY)

    def begin_reload(self) -> None:
        """The same, without waiting for the page's first picture."""
        self.driver.execute_script("window.isOld = true; location.reload()")
        wait_until(self._has_reloaded, "the page opened anew")

    def _has_reloaded(self) -> bool:
        with contextlib.suppress(WebDriverException):
            self.leave_page()
            self.driver.switch_to.frame(self.driver.find_element(By.CSS_SELECTOR, FRAME))
            return self.driver.execute_script("return window.isOld !== true && document.body !== null")
        return False

    def leave_page(self) -> None:
        """From here on all is looked for around the page."""
        self.driver.switch_to.default_content()

    def become_administrator(self, password: str) -> None:
        """Cockpit's own way, in its bar at the top; the page is where one is again afterwards."""
        self.leave_page()
        self.click("button", "Limited access")
        self.confirm_administrator(password)

    def confirm_administrator(self, password: str) -> None:
        """Answers Cockpit's question for the password that sudo wants."""
        self.leave_page()
        self.find("dialog", "Switch to administrative access")
        self.wait_for(".pf-c-modal-box input[type=password]").send_keys(password)
        self.click("button", "Authenticate")
        self.find("button", "Administrative access")
        self.driver.switch_to.frame(self.wait_for(FRAME))

    # On the page

    def wait_for(self, selector: str, what: str = "") -> WebElement:
        """The first element of a selector that is seen, as soon as there is one."""
        return wait_until(lambda: next(iter(self.seen(selector)), None), what or selector)

    def wait_for_enabled(self, selector: str) -> WebElement:
        """The same, as soon as it can be used."""
        return wait_until(lambda: next((element for element in self.seen(selector) if element.is_enabled()), None),
                          f"{selector}, to be used")

    def seen(self, selector: str) -> list:
        """The elements of a selector that are seen."""
        with contextlib.suppress(WebDriverException):
            return [element for element in self.driver.find_elements(By.CSS_SELECTOR, selector)
                    if element.is_displayed()]
        return []

    @staticmethod
    def is_seen(element: WebElement) -> bool:
        """Whether an element is still on the page, and seen."""
        try:
            return element.is_displayed()
        except WebDriverException:
            return False

    def find(self, role: str, name: str, within: WebElement = None) -> WebElement:
        """What has the role and the name, as soon as it is there."""
        return wait_until(lambda: next(iter(self.all(role, name, within)), None), f'{role} "{name}"')

    def all(self, role: str, name: str, within: WebElement = None) -> list:
        """All that has the role and the name, as the browser tells it to a screen reader."""
        with contextlib.suppress(WebDriverException):
            return [element for element in
                    self.driver.execute_script(FIND, ROLES[role], name, within)
                    if element.accessible_name == name]
        return []

    def click(self, role: str, name: str, within: WebElement = None) -> None:
        """Clicks on what has the role and the name, as soon as it can be clicked on."""
        self.do(lambda: self._click_enabled(self.find(role, name, within)), f'a click on {role} "{name}"')

    @staticmethod
    def _click_enabled(element: WebElement) -> None:
        if not element.is_enabled():
            raise WebDriverException("it is disabled")
        element.click()

    def do(self, action, what: str) -> None:
        """Does what may have to be tried again while the page draws itself anew."""
        said: list = []

        def tried() -> bool:
            try:
                action()
                return True
            except WebDriverException as problem:
                said.append(problem.msg)
                return False

        try:
            wait_until(tried, what)
        except AssertionError as problem:
            raise AssertionError(f"{problem}: {said[-1] if said else ''}") from None

    def keep(self, file: pathlib.Path) -> None:
        """Keeps what is seen now as a picture."""
        with contextlib.suppress(WebDriverException):
            self.driver.save_screenshot(str(file))

    def keep_words(self, file: pathlib.Path) -> None:
        """Keeps what the browser has been told."""
        with contextlib.suppress(WebDriverException):
            said = [f"{line['level']} {line['message']}" for line in self.driver.get_log("browser")]
            file.write_text("\n".join(said), encoding="utf-8")
