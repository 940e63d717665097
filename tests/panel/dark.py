"""In the dark, as in the light."""
from __future__ import annotations

from looks import SIZES, Page_for_everybody

BACKGROUND = "return getComputedStyle(document.body).backgroundColor;"


class Dark(Page_for_everybody):
    def test_in_the_dark(self) -> None:
        light = self.page.run(BACKGROUND)
        with self.browser.in_the_dark(self.page) as page:
            if page is not self.page:
                self.open(page, self.world.url)
                for partner in ("service", "controller", "tap"):
                    self.partner_is(partner, "here", page)
            self.assertNotEqual(light, page.run(BACKGROUND))
            for width, height in SIZES:
                with self.subTest(width):
                    page.resize(width, height)
                    self.check(page)
                    page.picture(self.picture(f"{self.browser.name}-{width}-dark.png"))
