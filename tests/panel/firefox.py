"""Firefox, which has no driver in Debian and speaks WebDriver BiDi itself."""
from __future__ import annotations

import json
import os
import re
import subprocess
from contextlib import contextmanager
from pathlib import Path
from typing import Any, Iterator

import websocket

from browser import DEADLINE, Browser, Page, Page_failure, Started_browser

FIREFOX_SETTINGS = {
    # Nothing but the page's own server is asked, which is never behind a proxy.
    "network.proxy.type": 1, "network.proxy.http": "127.0.0.1", "network.proxy.http_port": 9,
    "network.proxy.ssl": "127.0.0.1", "network.proxy.ssl_port": 9,
    "app.normandy.enabled": False, "app.update.disabledForTesting": True,
    "browser.shell.checkDefaultBrowser": False, "browser.startup.page": 0,
    "browser.startup.homepage": "about:blank", "browser.aboutwelcome.enabled": False,
    "datareporting.policy.dataSubmissionEnabled": False,
    "toolkit.telemetry.reportingpolicy.firstRun": False,
    "termsofuse.acceptedVersion": 999, "termsofuse.bypassNotification": True,
    # Tab reaches everything, as it does without a desktop's settings.
    "accessibility.tabfocus": 7,
    "remote.active-protocols": 1,
}
# What pages are told that the reader prefers, for the whole life of a Firefox.
SCHEME, DARK, LIGHT = "layout.css.prefers-color-scheme.content-override", 0, 1


class Firefox(Browser):
    name = "firefox"

    def __init__(self, home: Path, scheme: int = LIGHT) -> None:
        profile = home / "profile"
        profile.mkdir(parents=True)
        (profile / "user.js").write_text("".join(
            f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
            for name, value in {**FIREFOX_SETTINGS, SCHEME: scheme}.items()))
        self._events: list[dict[str, Any]] = []
        self._count = 0
        self._process = subprocess.Popen(
            ["firefox-esr", "--headless", "--no-remote", "--profile", profile,
             "--remote-debugging-port", "0"],
            env={**os.environ, "HOME": str(home), "MOZ_HEADLESS_WIDTH": "1280",
                 "MOZ_HEADLESS_HEIGHT": "900"},
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        try:
            self._begin(home / "firefox.log")
        except BaseException:
            self._process.kill()
            raise

    def _begin(self, log: Path) -> None:
        address = None
        lines = []
        while address is None:
            line = self._process.stderr.readline().decode() if self._process.stderr else ""
            lines.append(line)
            if not line:
                raise RuntimeError("firefox does not start: " + "".join(lines))
            address = re.search(r"WebDriver BiDi listening on (ws://\S+)", line)
        # What it says from here on is read by nobody but a person: into the file.
        self._copier = subprocess.Popen(["cat"], stdin=self._process.stderr,
                                        stdout=log.open("wb"))
        self._socket = websocket.create_connection(
            f"{address[1]}/session", timeout=2 * DEADLINE, suppress_origin=True)
        self._command("session.new", capabilities={})
        self._command("session.subscribe", events=["log.entryAdded"])

    def _command(self, method: str, **parameters: object) -> Any:
        self._count += 1
        self._socket.send(json.dumps(
            {"id": self._count, "method": method, "params": parameters}))
        while True:
            message = json.loads(self._socket.recv())
            if message.get("id") != self._count:
                self._events.append(message)
            elif message["type"] == "error":
                raise Page_failure(f"{method}: {message['error']}: {message['message']}")
            else:
                return message["result"]

    def first_page(self) -> Page:
        # Keys do nothing in the window of the start: its address line has the focus.
        return self.new_page()

    def new_page(self) -> Page:
        self._focused = str(self._command("browsingContext.create", type="window")["context"])
        return Page(self, self._focused)

    def close_page(self, page: Page) -> None:
        self._command("browsingContext.close", context=page.handle)

    def open(self, handle: str, address: str) -> None:
        self._command("browsingContext.navigate", context=handle, url=address, wait="complete")

    def evaluate(self, handle: str, expression: str) -> str:
        answer = self._command("script.evaluate", expression=expression,
                               target={"context": handle}, awaitPromise=True)
        if answer["type"] != "success":
            raise Page_failure(json.dumps(answer["exceptionDetails"]))
        return str(answer["result"]["value"])

    def _act(self, handle: str, kind: str, actions: list[dict[str, Any]]) -> None:
        if handle != self._focused:
            self._command("browsingContext.activate", context=handle)
            self._focused = handle
        self._command("input.performActions", context=handle,
                      actions=[{"type": kind, "id": kind, "actions": actions}])

    def point(self, handle: str, x: int, y: int) -> None:
        self._act(handle, "pointer", [
            {"type": "pointerMove", "x": x, "y": y}, {"type": "pointerDown", "button": 0},
            {"type": "pointerUp", "button": 0}])

    def press(self, handle: str, held: list[str], key: str) -> None:
        down = [*held, key]
        self._act(handle, "key", [{"type": "keyDown", "value": one} for one in down]
                  + [{"type": "keyUp", "value": one} for one in reversed(down)])

    def resize(self, handle: str, width: int, height: int) -> None:
        self._command("browsingContext.setViewport", context=handle,
                      viewport={"width": width, "height": height})

    def picture(self, handle: str) -> str:
        return str(self._command("browsingContext.captureScreenshot", context=handle)["data"])

    @contextmanager
    def in_the_dark(self, page: Page) -> Iterator[Page]:
        with Started_browser(lambda home: Firefox(home, DARK)) as dark:
            yield dark.first_page()

    def console(self) -> list[str]:
        self._command("session.status")  # what was said before has come
        said = [f"{event['params']['level']}: {event['params']['text']}" for event in self._events
                if event.get("method") == "log.entryAdded"
                and event["params"]["level"] in ("warn", "error")]
        self._events.clear()
        return said

    def end(self) -> None:
        try:
            self._command("browser.close")
            self._socket.close()
            self._process.wait(DEADLINE)
        finally:
            self._process.kill()
            self._process.wait()
            self._copier.wait()
