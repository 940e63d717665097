"""Each partner goes and returns, and the page says so and goes on."""
from __future__ import annotations

from dbus.bus import BusConnection

from looks import SIZES, Page_for_everybody
from panel_world import SERVICE
from stage import CAN_CHANGE
from world import Bus_alone

ANALOG = "device/io/input/analog/0"

# Whoever wants can be the service, and nobody may call it.
REFUSING_POLICY = """<busconfig><policy context="default"><allow own="*"/></policy></busconfig>"""


class Partners(Page_for_everybody):
    def setUp(self) -> None:
        super().setUp()
        for partner in ("panel", "bus"):
            self.partner_is(partner, "here")

    def looks_right(self, name: str) -> None:
        for width, height in SIZES:
            with self.subTest(width):
                self.page.resize(width, height)
                self.check()
                self.page.picture(self.picture(f"{self.browser.name}-{width}-{name}.png"))

    def missing(self, partner: str, is_told: bool) -> None:
        self.page.until(f"what to do without {partner}", """
            const at = document.querySelector(`[data-missing="${arguments[0]}"]`);
            return (at !== null && at.offsetParent !== null && at.innerText.trim() !== "")
                === arguments[1];""", partner, is_told)

    def value_returns(self, millivolts: int) -> None:
        self.world.bench(f"input analog {millivolts}")
        self.page.until("the value", """return document.querySelector(arguments[0])
            .innerText.trim().startsWith(arguments[1]);""",
                        self.value_selector(ANALOG, "get_value"), f"{millivolts / 1000:.3f}")

    def open_the_line_anew(self) -> None:
        """As the service's unit would: the daemon opens its line once."""
        self.world.stop("daemon")
        self.world.start("daemon")
        self.partner_is("service", "here")

    def test_the_service(self) -> None:
        self.world.stop("daemon")
        self.partner_is("service", "away")
        self.missing("service", True)
        self.page.until("no value is left", r"""return !/\d/.test(
            document.querySelector(arguments[0]).innerText);""",
                        self.value_selector(ANALOG, "get_value"))
        self.world.start("daemon")
        self.partner_is("service", "here")
        self.missing("service", False)
        self.value_returns(1111)

    def test_the_bus(self) -> None:
        self.world.stop("daemon")
        self.world.stop("bus")
        self.partner_is("bus", "away")
        self.missing("bus", True)
        self.world.start("bus")
        self.world.start("daemon")
        self.partner_is("bus", "here")
        self.partner_is("service", "here")
        self.missing("bus", False)
        self.value_returns(1222)

    def test_the_controller(self) -> None:
        self.world.stop("controller")
        self.partner_is("controller", "away")
        self.missing("controller", True)
        self.world.start("controller")
        self.partner_is("controller", "here")
        self.missing("controller", False)
        self.open_the_line_anew()
        self.value_returns(1333)

    def test_the_tap(self) -> None:
        self.world.stop("tap")
        self.partner_is("tap", "away")
        self.missing("tap", True)
        self.world.start("tap")
        self.partner_is("tap", "here")
        self.missing("tap", False)
        self.open_the_line_anew()
        self.value_returns(1444)

    def test_partners_that_nobody_asked_for(self) -> None:
        with self.world.another_panel("--bus", self.world.address) as address:
            self.open(self.page, address)
            for partner, state in (("bus", "here"), ("service", "here"),
                                   ("controller", "none"), ("tap", "none")):
                self.partner_is(partner, state)
            for partner, is_told in (("service", False), ("controller", True), ("tap", True)):
                self.missing(partner, is_told)
            self.page.until("nothing can be changed", CAN_CHANGE, "false")
            self.page.until("no vehicle is shown",
                            "return document.querySelector('#vehicle-controls').hidden;")
            self.value_returns(1666)
            self.looks_right("looking")
            self.page.open("about:blank")

    def test_a_bus_that_refuses(self) -> None:
        with Bus_alone(REFUSING_POLICY) as refusing:
            service = BusConnection(refusing.address)
            self.addCleanup(service.close)
            service.request_name(SERVICE)
            with self.world.another_panel("--bus", refusing.address) as address:
                self.open(self.page, address)
                self.partner_is("bus", "refused")
                self.missing("bus", True)
                self.page.until("why", """return document.querySelector(
                    '[data-missing="bus"]').innerText.includes("adduser");""")
                self.looks_right("refused")
                self.page.open("about:blank")

    def test_the_panel_itself(self) -> None:
        self.server_goes = True
        self.world.stop("panel")
        self.partner_is("panel", "away")
        self.world.start("panel")
        self.partner_is("panel", "here")
        self.value_returns(1555)
