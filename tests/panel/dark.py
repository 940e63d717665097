"""In the dark, as in the light. A Firefox has one scheme for its whole life."""
from __future__ import annotations

from looks import SIZES, Page_for_everybody

BACKGROUND = "return getComputedStyle(document.body).backgroundColor;"


class Dark(Page_for_everybody):
    def test_in_the_dark(self) -> None:
        light = self.page.run(BACKGROUND)
        self.browser.set_dark(self.page, True)
        self.addCleanup(self.browser.set_dark, self.page, False)
        self.assertNotEqual(light, self.page.run(BACKGROUND))
        for width, height in SIZES:
            with self.subTest(width):
                self.page.resize(width, height)
                self.check()
                self.page.picture(self.picture(f"{self.browser.name}-{width}-dark.png"))
