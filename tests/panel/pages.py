"""Two pages at once, and pages that may only look."""
from __future__ import annotations

from panel_world import object_path
from stage import CAN_CHANGE, Page_test

# Every control that could change something, as a person finds it.
CONTROLS = """[...document.querySelectorAll(
    "[data-word], [data-number], [data-wave], [data-fault], [data-call], [data-setting], "
    + "#bench-line, #healthy, #restart")]"""
DETAILS = f'[data-details="{object_path("device/io/input/analog/0")}"]'


class Pages(Page_test):
    def setUp(self) -> None:
        super().setUp()
        self.partner_is("controller", "here")
        self.partner_is("service", "here")

    def test_what_one_changes_the_other_shows(self) -> None:
        other = self.another_page(self.world.url)
        self.partner_is("controller", "here", other)
        self.page.click('[data-word="input digital3"]')
        self.shows(self.value_selector("device/io/input/digital/3", "is_on"), "on", other)
        output = object_path("device/io/output/digital/0")
        self.addCleanup(self.world.call, output, "off")
        other.click(f'[data-call="{output} on"]')
        self.shows(self.value_selector("device/io/output/digital/0", "is_on"), "on")
        for page in (self.page, other):
            page.until("the switch", """return document.querySelector(
                '[data-word="input digital3"]').checked""")

    def test_without_the_token_there_is_nothing_to_change(self) -> None:
        looking = self.another_page(self.world.origin + "/")
        looking.until("it only looks", CAN_CHANGE, "false")
        self.shows(self.value_selector("device/io/input/digital/0", "is_on"), "off", looking)
        looking.click(DETAILS)
        looking.until("settings are seen", """return document.querySelector(
            "#details [data-setting]").placeholder === "reports nothing";""")
        self.assertEqual([], looking.run(f"""return {CONTROLS}.filter((each) =>
            !each.disabled && !each.closest("[inert], fieldset[disabled]")
            && each.checkVisibility()).map((each) => each.outerHTML.slice(0, 200));"""))

    def test_a_wrong_token_is_told(self) -> None:
        looking = self.another_page(self.world.origin + "/#token=0000")
        looking.until("it only looks", CAN_CHANGE, "false")
        looking.until("what is wrong is told", """return /token/i.test(
            document.querySelector("#message").innerText);""")

    def test_the_token_by_hand(self) -> None:
        looking = self.another_page(self.world.origin + "/")
        looking.until("it only looks", CAN_CHANGE, "false")
        looking.click("#token")
        looking.type(self.world.token)
        looking.press("Enter")
        looking.until("it may change", CAN_CHANGE, "true")
        looking.click('[data-word="input digital0"]')
        self.terminal_has("device/io/input/digital/0", "is_on", True)

    def test_the_token_is_kept_and_not_shown(self) -> None:
        self.page.until("it may change", CAN_CHANGE, "true")
        self.assertNotIn(self.world.token, self.page.run("return location.href;"))
        self.page.open(self.world.origin + "/")
        self.page.until("it still may", CAN_CHANGE, "true")


class Without_control(Page_test):
    def test_nobody_may_change_anything(self) -> None:
        self.server_goes = True
        token = self.world.token
        self.world.stop("panel")
        self.world.control = False
        try:
            self.world.start("panel")
            looking = self.another_page(f"{self.world.origin}/#token={token}")
            looking.until("it only looks", CAN_CHANGE, "false")
        finally:
            if self.world.is_started("panel"):
                self.world.stop("panel")
            self.world.control = True
            self.world.start("panel")
