"""A page that is open for long stays as large as it is: minutes of a full line, played fast."""
from __future__ import annotations

from pathlib import Path
from typing import Any

from chromium import Chromium
from panel_world import CATALOGUE, KINDS
from stage import Page_test

MINUTES = 15  # beyond the ten that are kept
MEASURED_QUARTERS = 8
# What the line carries at most, in batches as the server sends them.
FRAMES, VALUES, BATCHES_PER_SECOND = 45, 90, 20

# Before the page's own scripts: its connection can be spoken on, and hears nobody else then.
HOOK = """
globalThis.deaf = false;
globalThis.WebSocket = class extends WebSocket {
    constructor(...options) {
        super(...options);
        globalThis.connection = this;
        this.addEventListener("message", (event) => {
            if (globalThis.deaf && event.isTrusted) event.stopImmediatePropagation();
        });
    }
};
"""

PLAY = """
const [minutes, from, frames, values, objects, rate] = arguments;
const say = (message) => globalThis.connection.dispatchEvent(
    new MessageEvent("message", {data: JSON.stringify(message)}));
globalThis.deaf = true;
globalThis.frame = globalThis.frame ?? 1e6;
for (let batch = 0; batch < minutes * 60 * rate; ++batch) {
    const time = from + batch * 1000 / rate;
    const changed = [];
    for (let each = 0; each < values; ++each)
        changed.push([objects[(batch + each) % objects.length], "get_value",
            Math.round(1000 * Math.sin(time / 1000 + each)) / 1000, 0]);
    say({type: "values", time, values: changed});
    const passed = [];
    for (let each = 0; each < frames; ++each)
        passed.push({n: globalThis.frame++, time, from: each % 2 ? "host" : "controller", id: 0x36,
            name: "digest", text: `analog ${each} mV, light ${batch} mV`,
            bytes: "18ef597836011388" + "04d2000000ff", answers: null, response_ms: null,
            fault: null});
    say({type: "frames", frames: passed, dropped: 0});
    if (batch % 20 === 0) await new Promise((resolve) => setTimeout(resolve));
}
await new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve)));
return globalThis.frame;
"""


LINE_BEGIN, LINE_END = "<!-- written by tests/panel/run -->\n", "<!-- end -->\n"


def table(sizes: list[dict[str, int]]) -> str:
    rows = [f"| {title} | {' | '.join(f'{size[what] / unit:.{decimals}f}' for size in sizes)} |\n"
            for title, what, unit, decimals in (
                ("heap, MiB", "heap", 1 << 20, 1), ("nodes of the page", "nodes", 1, 0),
                ("listeners", "listeners", 1, 0))]
    head = "".join(f" {MINUTES * (index + 1)} |" for index in range(len(sizes)))
    return f"| After minutes |{head}\n|---|{'---|' * len(sizes)}\n" + "".join(rows)


def write(file: Path, text: str) -> None:
    before, begin, rest = file.read_text().partition(LINE_BEGIN)
    _, end, after = rest.partition(LINE_END)
    if not begin or not end:
        raise RuntimeError(f"{file} has no place for it")
    file.write_text(before + begin + text + end + after)


class Growth(Page_test):
    def setUp(self) -> None:
        assert isinstance(self.stage.browser, Chromium)
        self.chromium = self.stage.browser
        self.hook = self.chromium.command(
            self.stage.page, "Page.addScriptToEvaluateOnNewDocument", source=HOOK)
        super().setUp()

    def tearDown(self) -> None:
        self.chromium.command(self.page, "Page.removeScriptToEvaluateOnNewDocument",
                              identifier=self.hook["identifier"])
        super().tearDown()

    def size(self) -> dict[str, Any]:
        self.chromium.command(self.page, "HeapProfiler.collectGarbage")
        heap = self.chromium.command(self.page, "Runtime.getHeapUsage")
        nodes = self.chromium.command(self.page, "Memory.getDOMCounters")
        return {"heap": heap["usedSize"] + heap.get("backingStorageSize", 0),
                "nodes": nodes["nodes"], "listeners": nodes["jsEventListeners"]}

    def test_half_an_hour_is_no_more_than_a_quarter(self) -> None:
        self.partner_is("service", "here")
        objects = [index for index, row in enumerate(CATALOGUE["objects"])
                   if any(value["getter"] == "get_value" for value in KINDS[row["kind"]]["values"])]
        now = self.page.run("return Date.now();")
        quarters = 2 if self.stage.measurements is None else MEASURED_QUARTERS
        sizes = []
        for part in range(quarters, 0, -1):
            frame = self.page.run(PLAY, MINUTES, now - part * MINUTES * 60000, FRAMES, VALUES,
                                  objects, BATCHES_PER_SECOND)
            self.page.until("the last frame is shown", """return document.querySelector(
                `#frames tr[data-n="${arguments[0]}"]`) !== null;""", frame - 1)
            sizes.append(self.size())
        print(table(sizes), end="")
        if self.stage.measurements is not None:
            write(self.stage.measurements, table(sizes))
        for what, least in (("heap", 2 << 20), ("nodes", 200), ("listeners", 20)):
            self.assertLessEqual(sizes[-1][what], 1.1 * sizes[0][what] + least, f"{what}: {sizes}")
