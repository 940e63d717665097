"""The line: what passes, chosen, held and saved."""
from __future__ import annotations

import subprocess
import urllib.request

from panel_world import object_path
from stage import Page_test

ROWS = "[...document.querySelectorAll('#frames tr[data-n]')]"


class Line(Page_test):
    def setUp(self) -> None:
        super().setUp()
        self.partner_is("tap", "here")
        self.page.until("frames", f"return {ROWS}.length > 0;")

    def set(self, selector: str, value: str) -> None:
        self.page.run("""const field = document.querySelector(arguments[0]);
            field.value = arguments[1];
            field.dispatchEvent(new Event("input", {bubbles: true}));
            field.dispatchEvent(new Event("change", {bubbles: true}));""", selector, value)

    def test_a_call_is_seen_as_a_frame_with_its_answer(self) -> None:
        # What is chosen does not go out of sight.
        self.set("#frame-filter", "output")
        self.world.call(object_path("device/io/output/digital/1"), "on")
        self.page.until("the command of the output",
                        f"return {ROWS}.some((row) => row.dataset.from === 'host');")
        self.page.until("the controller's answer, and how soon it came", f"""return {ROWS}.some(
            (row) => row.dataset.from === "controller" && /\\d[.,]\\d+ ms/.test(row.innerText));""")

    def test_frames_are_chosen(self) -> None:
        self.page.until("the digest", f"return {ROWS}.some((row) => /digest/.test(row.innerText));")
        self.set("#frame-filter", "digest")
        self.page.until("only digests", f"""return {ROWS}.length > 0
            && {ROWS}.every((row) => /digest/i.test(row.innerText));""")
        self.set("#frame-filter", "")
        self.set("#frame-from", "host")
        self.page.until("only the host's", f"""return {ROWS}.length > 0
            && {ROWS}.every((row) => row.dataset.from === "host");""")

    def test_frames_are_held(self) -> None:
        last = f"Math.max(...{ROWS}.map((row) => Number(row.dataset.n)))"
        self.page.click("#frame-hold")
        self.page.until("held", """return document.querySelector("#frame-hold")
            .getAttribute("aria-pressed") === "true";""")
        held = self.page.run(f"return {last};")
        frames = "Number(document.querySelector('[data-counter=\"host_frames\"]')" \
                 ".innerText.replace(/\\D/g, ''))"
        count = self.page.run(f"return {frames};")
        self.page.until("frames pass", f"return {frames} > arguments[0] + 2;", count)
        self.assertEqual(held, self.page.run(f"return {last};"))
        self.page.click("#frame-hold")
        self.page.until("newer frames", f"return {last} > arguments[0];", held)

    def test_only_what_is_wrong(self) -> None:
        box = "#frame-faults"
        if not self.page.run("return document.querySelector(arguments[0]).checked;", box):
            self.page.click(box)
        self.page.until("no good frame is left",
                        f"return {ROWS}.every((row) => row.dataset.faulty !== '');")
        self.world.bench("corrupt next 1")
        self.page.until("the broken one",
                        f"return {ROWS}.some((row) => row.dataset.faulty === 'checksum');")

    def test_the_recording_is_one(self) -> None:
        link = self.page.run("return document.querySelector('#recording').href;")
        with urllib.request.urlopen(link, timeout=30) as answer:
            self.assertIn("attachment", answer.headers["Content-Disposition"])
            recording = self.world.root / "saved.txt"
            recording.write_bytes(answer.read())
        read = subprocess.run([self.world.build / "dov-line", "read", "--json", recording],
                              capture_output=True, text=True, check=False)
        self.assertEqual((0, ""), (read.returncode, read.stderr))
        self.assertIn("digest", read.stdout)
