"""Chromium, driven by Selenium."""
from __future__ import annotations

import os
from contextlib import contextmanager
from pathlib import Path
from typing import Any, Iterator

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.actions.action_builder import ActionBuilder
from selenium.webdriver.common.actions.key_input import KeyInput
from selenium.webdriver.common.actions.pointer_input import PointerInput

from browser import DEADLINE, Browser, Page


class Chromium(Browser):
    name = "chromium"

    def __init__(self, home: Path) -> None:
        options = webdriver.ChromeOptions()
        # No sandbox: the pages are our own, and neither root nor a user without namespaces has
        # one. Nothing of a browser's own is looked up in the network.
        for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage",
                         "--disable-gpu", "--no-first-run", "--disable-background-networking",
                         "--disable-component-update", "--disable-sync",
                         "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1,"
                         " EXCLUDE localhost", "--js-flags=--expose-gc",
                         "--enable-precise-memory-info", "--window-size=1280,900",
                         f"--user-data-dir={home}/profile"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        service = Service("/usr/bin/chromedriver", log_path=str(home / "chromedriver.log"),
                          env={**os.environ, "HOME": str(home)})
        self._driver = webdriver.Chrome(service=service, options=options)
        self._driver.set_script_timeout(10 * DEADLINE)
        self._driver.set_page_load_timeout(DEADLINE)

    def first_page(self) -> Page:
        return Page(self, self._driver.window_handles[0])

    def new_page(self) -> Page:
        self._driver.switch_to.new_window("window")
        return Page(self, self._driver.current_window_handle)

    def close_page(self, page: Page) -> None:
        self._at(page.handle).close()

    def _at(self, handle: str) -> Any:
        self._driver.switch_to.window(handle)
        return self._driver

    def open(self, handle: str, address: str) -> None:
        self._at(handle).get(address)

    def evaluate(self, handle: str, expression: str) -> str:
        return str(self._at(handle).execute_async_script(
            f"{expression}.then(arguments[arguments.length - 1]);"))

    def point(self, handle: str, x: int, y: int) -> None:
        actions = ActionBuilder(self._at(handle), mouse=PointerInput("mouse", "mouse"), duration=0)
        actions.pointer_action.move_to_location(x, y).pointer_down().pointer_up()
        actions.perform()

    def press(self, handle: str, held: list[str], key: str) -> None:
        actions = ActionBuilder(self._at(handle), keyboard=KeyInput("keyboard"))
        for one in held:
            actions.key_action.key_down(one)
        actions.key_action.key_down(key)
        actions.key_action.key_up(key)
        for one in reversed(held):
            actions.key_action.key_up(one)
        actions.perform()

    def command(self, page: Page, name: str, **parameters: object) -> Any:
        """One of Chromium's own protocol."""
        return self._at(page.handle).execute_cdp_cmd(name, parameters)

    def resize(self, handle: str, width: int, height: int) -> None:
        self._at(handle).execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def picture(self, handle: str) -> str:
        return str(self._at(handle).get_screenshot_as_base64())

    @contextmanager
    def in_the_dark(self, page: Page) -> Iterator[Page]:
        self._prefer(page, "dark")
        try:
            yield page
        finally:
            self._prefer(page, "light")

    def _prefer(self, page: Page, scheme: str) -> None:
        self.command(page, "Emulation.setEmulatedMedia", features=[
            {"name": "prefers-color-scheme", "value": scheme}])

    def console(self) -> list[str]:
        return [f"{entry['level']}: {entry['message']}" for entry in self._driver.get_log("browser")
                if entry["level"] in ("WARNING", "SEVERE")]

    def end(self) -> None:
        self._driver.quit()
