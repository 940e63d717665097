"""For everybody: at three widths, in the dark and in the light, by keys alone, with a reader."""
from __future__ import annotations

from typing import Any

from browser import Page
from panel_world import SOURCES, object_path
from stage import Page_test

CHECKER = (SOURCES / "tests/panel/third_party/axe.min.js").read_text()
SIZES = ((360, 740), (1024, 768), (1280, 900), (2560, 1440))

AS_A_PERSON_SEES = """
const visible = (each) => each.checkVisibility({visibilityProperty: true, opacityProperty: true})
    && !each.disabled && each.tabIndex >= 0 && !each.closest("[inert]");
"""
CONTROLS = AS_A_PERSON_SEES + """
const controls = [...document.querySelectorAll(
    "a[href], button, input, select, textarea, summary, [tabindex]")].filter(visible);
"""
# Of a group of radio buttons, or of a list with one way in, Tab reaches one.
NAME_THEM = CONTROLS + """
controls.forEach((each, index) => { each.dataset.reached = index; });
return controls.filter((each) => each.type !== "radio" || each.checked).length;
"""


class Page_for_everybody(Page_test):
    def setUp(self) -> None:
        super().setUp()
        for partner in ("service", "controller", "tap"):
            self.partner_is(partner, "here")
        self.addCleanup(self.page.resize, 1280, 900)

    def picture(self, name: str) -> Any:
        self.stage.pictures.mkdir(parents=True, exist_ok=True)
        return self.stage.pictures / name

    def check(self, page: Page | None = None) -> None:
        found = (page or self.page).run(CHECKER + """;
            const result = await axe.run(document);
            if (result.passes.length < 10) throw new Error("the checker saw next to nothing");
            return result.violations.map((each) => ({rule: each.id, help: each.help,
                at: each.nodes.slice(0, 5).map((node) => [node.html.slice(0, 200),
                    node.failureSummary])}));""")
        self.assertEqual([], found)


class Looks(Page_for_everybody):
    def test_nothing_is_wider_than_the_page(self) -> None:
        for width, height in SIZES:
            with self.subTest(width):
                self.page.resize(width, height)
                self.page.until("the width", "return innerWidth === arguments[0];", width)
                wide: dict[str, Any] = self.page.run("""
                    const page = document.documentElement;
                    const over = [...document.querySelectorAll("body *")].filter((each) => {
                        const box = each.getBoundingClientRect();
                        if (box.width === 0 || box.right <= page.clientWidth + 1) return false;
                        for (let up = each.parentElement; up && up !== page; up = up.parentElement)
                            if (up !== document.body
                                && getComputedStyle(up).overflowX !== "visible"
                                && up.getBoundingClientRect().right < page.clientWidth + 1.5)
                                return false;
                        return true;
                    });
                    // A table of many columns may, in its own place.
                    const sideways = [...document.querySelectorAll("body *")].filter((each) =>
                        each.scrollWidth > each.clientWidth + 1
                        && ["auto", "scroll"].includes(getComputedStyle(each).overflowX)
                        && !each.matches(".wide-table, code"));
                    over.push(...sideways);
                    return {scroll: page.scrollWidth, client: page.clientWidth,
                            over: over.slice(0, 9).map((each) => each.outerHTML.slice(0, 150))};""")
                self.page.picture(self.picture(f"{self.browser.name}-{width}.png"))
                self.assertEqual([], wide["over"])
                self.assertLessEqual(wide["scroll"], wide["client"])

    def test_a_reader_finds_its_way(self) -> None:
        for width, height in SIZES:
            with self.subTest(width):
                self.page.resize(width, height)
                self.check()

    def test_details_are_for_everybody(self) -> None:
        for width, height in SIZES:
            with self.subTest(width):
                self.page.resize(width, height)
                self.page.click(f'[data-details="{object_path("device/io/input/analog/0")}"]')
                self.page.until("the settings", """return document.querySelector(
                    "#details [data-setting]").placeholder === "reports nothing";""")
                self.check()
                self.page.picture(self.picture(f"{self.browser.name}-{width}-details.png"))
                edges = self.page.run("""
                    const at = document.querySelector("#details").getBoundingClientRect();
                    return [at.left, at.top, innerWidth - at.right, innerHeight - at.bottom];""")
                self.assertGreaterEqual(min(edges), 0, "a part of it is beyond the page")
                self.page.click("#details-close")

    def test_every_control_is_reached_by_keys(self) -> None:
        count = self.page.run(NAME_THEM)
        self.page.run("document.body.tabIndex = -1; document.body.focus(); "
                      "document.body.removeAttribute('tabindex');")
        reached: set[str] = set()
        hidden = []
        for _ in range(2 * count + 10):
            self.page.press("Tab")
            at = self.page.run("""const at = document.activeElement;
                if (!at || at === document.body) return null;
                const style = getComputedStyle(at);
                const marked = style.outlineStyle !== "none" && parseFloat(style.outlineWidth) > 0
                    || style.boxShadow !== "none";
                return {number: at.dataset.reached ?? null, marked,
                        html: at.outerHTML.slice(0, 120)};""")
            if at is None or at["number"] is None:
                continue
            if at["number"] in reached and len(reached) >= count:
                break
            reached.add(at["number"])
            if not at["marked"]:
                hidden.append(at["html"])
        missed = self.page.run(CONTROLS + """return controls.filter((each) =>
            each.dataset.reached !== undefined && !arguments[0].includes(each.dataset.reached)
            && (each.type !== "radio" || each.checked)).map((each) =>
                each.outerHTML.slice(0, 150));""", sorted(reached))
        self.assertEqual([], missed, "not reached by Tab")
        self.assertEqual([], hidden, "where the keys go is not seen")

    def focus_by_keys(self, selector: str) -> None:
        for _ in range(600):
            self.page.press("Tab")
            if self.page.run("return document.activeElement?.matches(arguments[0]) ?? false;",
                             selector):
                return
        self.fail(f"Tab does not reach {selector}")

    def test_a_drive_by_keys_alone(self) -> None:
        self.focus_by_keys('[data-word="ignition"]')
        self.page.press(" ")
        self.terminal_has("power/ignition", "is_on", False)
        self.focus_by_keys('[data-word="input analog"]')
        self.page.press("Home")
        self.bench_has("the least", "inputs", 4, "value", value=0)
        self.page.press("End")
        most = int(self.page.run("return document.activeElement.max;"))
        self.world.wait_for("the most", lambda: self.world.input("analog")["value"] == most)
        self.focus_by_keys('[data-fault="silence"]')
        self.page.press(" ")
        self.bench_has("silence", "faults", "silence", value=True)
        self.page.press(" ")
        self.bench_has("no silence", "faults", "silence", value=False)
