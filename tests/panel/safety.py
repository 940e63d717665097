"""What the server takes from nobody: said without a browser, which would not say it."""
from __future__ import annotations

import http.client
import json
import random
import unittest
from typing import Any, ClassVar

import websocket

from live import Live
from panel_world import KIND_OF, Panel_world, object_path

OUTPUT = object_path("device/io/output/digital/3")
POLICY = ("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
          "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'")
MOST_BYTES = 65536
SEED = 20261122
FUZZED = 400

# The ends that a server has for what it does not take.
REFUSALS = {1002, 1003, 1007, 1008, 1009}


class Safety(unittest.TestCase):
    world: ClassVar[Panel_world]

    def setUp(self) -> None:
        self.world.bench("healthy", "ignition on")
        self.world.call(OUTPUT, "off")

    def tearDown(self) -> None:
        self.assertFalse(self.world.has_ended("panel"), self.world.log("panel"))
        self.assertFalse(self.world.call(OUTPUT, "is_on"), "the output was switched")

    def live(self, **options: Any) -> Live:
        live = Live(self.world.port, **options)
        self.addCleanup(live.__exit__)
        return live

    def request(self, method: str, path: str, **headers: str) -> http.client.HTTPResponse:
        connection = http.client.HTTPConnection("127.0.0.1", self.world.port, timeout=30)
        self.addCleanup(connection.close)
        connection.putrequest(method, path, skip_host="Host" in headers)
        for name, value in headers.items():
            connection.putheader(name.replace("_", "-"), value)
        connection.endheaders()
        answer = connection.getresponse()
        answer.read()
        return answer

    def turn_on(self, live: Live) -> dict[str, Any]:
        return live.ask(type="call", path=OUTPUT, interface=KIND_OF[OUTPUT]["interface"],
                        method="on", arguments=[])

    # Who may change something

    def test_nothing_is_changed_without_the_token(self) -> None:
        live = self.live()
        hello = live.receive_type("hello")
        self.assertEqual((True, False), (hello["control"], hello["changing"]))
        for answer in (self.turn_on(live), live.ask(type="bench", line="ignition off")):
            self.assertFalse(answer["ok"])
            self.assertTrue(answer["error"])
        self.assertTrue(self.world.state()["ignition"])

    def test_a_wrong_token_opens_nothing(self) -> None:
        token = self.world.token
        for wrong in ("", token[:-1], token + "0", token.swapcase() + "x", "0" * len(token)):
            with self.subTest(wrong), Live(self.world.port) as live:
                self.assertFalse(live.ask(type="token", token=wrong)["ok"])
                self.assertFalse(self.turn_on(live)["ok"])

    def test_the_token_opens_one_connection_alone(self) -> None:
        live, other = self.live(), self.live()
        self.assertTrue(live.ask(type="token", token=self.world.token)["ok"])
        self.assertFalse(self.turn_on(other)["ok"])
        self.assertTrue(live.ask(type="bench", line="ignition off")["ok"])
        self.assertFalse(self.world.state()["ignition"])

    def test_tokens_are_long_and_new_each_time(self) -> None:
        before = self.world.token
        self.assertGreaterEqual(len(before), 22)  # 128 bits
        self.world.stop("panel")
        self.world.start("panel")
        self.assertNotEqual(before, self.world.token)

    def test_only_the_catalogue_is_called(self) -> None:
        live = self.live()
        self.assertTrue(live.ask(type="token", token=self.world.token)["ok"])
        interface = KIND_OF[OUTPUT]["interface"]
        for path, name, method in (
                (OUTPUT, "org.freedesktop.DBus.Peer", "Ping"),
                (OUTPUT, interface, "explode"),
                ("/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames"),
                (object_path("device/io/output/digital/4"), interface, "on"),
                (object_path("version/kernel"), interface, "on")):
            with self.subTest(path=path, method=method):
                self.assertFalse(live.ask(type="call", path=path, interface=name, method=method,
                                          arguments=[])["ok"])

    # Where it is asked from

    def test_a_forged_origin_is_refused(self) -> None:
        port = self.world.port
        for origin in ("http://evil.example", "null", f"https://127.0.0.1:{port}",
                       f"http://127.0.0.1:{port + 1}", f"http://127.0.0.1:{port}.evil.example",
                       f"http://evil.example:{port}", "file://"):
            with self.subTest(origin), self.assertRaises(
                    websocket.WebSocketBadStatusException) as refused:
                Live(port, origin=origin)
            self.assertEqual(403, refused.exception.status_code)

    def test_a_forged_host_is_refused(self) -> None:
        for host in ("evil.example", f"evil.example:{self.world.port}", "127.0.0.1:1", ""):
            with self.subTest(host):
                self.assertEqual(403, self.request("GET", "/", Host=host).status)
                self.assertEqual(403, self.request("GET", "/recording", Host=host).status)
        with self.assertRaises(websocket.WebSocketBadStatusException) as refused:
            Live(self.world.port, host="evil.example", origin="http://evil.example")
        self.assertEqual(403, refused.exception.status_code)

    def test_the_other_names_of_this_machine_are_taken(self) -> None:
        name = f"localhost:{self.world.port}"
        self.assertEqual(200, self.request("GET", "/", Host=name).status)
        self.live(host=name, origin=f"http://{name}").receive_type("hello")

    def test_another_protocol_is_refused(self) -> None:
        for options in ({"protocols": ("chat",)}, {"path": "/other"}):
            with self.subTest(options), self.assertRaises(
                    (websocket.WebSocketException, ConnectionError)):
                Live(self.world.port, **options).receive_type("hello")

    # What is asked by HTTP

    def test_every_answer_has_the_headers(self) -> None:
        for path in ("/", "/panel.css", "/nothing"):
            with self.subTest(path):
                headers = self.request("GET", path).headers
                for name, value in (("Content-Security-Policy", POLICY),
                                    ("X-Content-Type-Options", "nosniff"),
                                    ("Referrer-Policy", "no-referrer"),
                                    ("Cache-Control", "no-cache")):
                    self.assertEqual(value, headers[name], name)
                self.assertIsNone(headers["Access-Control-Allow-Origin"])

    def test_there_is_nothing_but_the_page(self) -> None:
        for path in ("/nothing", "/../../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd",
                     "//etc/passwd",
                     "/page/../../etc/passwd", "/index.html%00.css", "/" + "a" * 3000):
            with self.subTest(path[:50]):
                try:
                    self.assertIn(self.request("GET", path).status, (400, 403, 404, 414))
                except ConnectionError:
                    pass  # it is no request at all
        for method in ("POST", "PUT", "DELETE", "OPTIONS", "PATCH"):
            with self.subTest(method):
                self.assertIn(self.request(method, "/", Content_Length="0").status, (404, 405))
        self.assertEqual(200, self.request("HEAD", "/").status)

    # What is said on the connection

    def test_an_oversized_message_ends_the_connection(self) -> None:
        witness = self.live()
        for size in (MOST_BYTES + 1, 20 * MOST_BYTES):
            with self.subTest(size), Live(self.world.port) as live:
                live.receive_type("hello")
                try:
                    live.send_text(json.dumps({"type": "token", "id": 1, "token": "x" * size}))
                    self.assertIn(live.end_of_it(), REFUSALS)
                except (ConnectionError, websocket.WebSocketConnectionClosedException):
                    pass  # it did not even wait for the rest
        self.is_served(witness)

    def is_served(self, live: Live) -> None:
        self.assertTrue(live.ask(type="history", object=0, member="is_on")["ok"])

    def test_malformed_messages_end_the_connection(self) -> None:
        witness = self.live()
        for text in ("", "nonsense", "{", "[]", "3", "null", '"text"', "{}", '{"type":"nonsense"}',
                     '{"type":3}', '{"type":"call"}', '{"type":"watch","frames":"yes"}',
                     '{"type":"hello"}', "[" * 5000, '{"a":' * 5000):
            with self.subTest(text[:40]), Live(self.world.port) as live:
                live.receive_type("hello")
                live.send_text(text)
                self.assertEqual(1008, live.end_of_it())
        for data in (b"\xff\xfe\x00", b'{"type":"watch","frames":true}'):
            with self.subTest(data), Live(self.world.port) as live:
                live.receive_type("hello")
                live.send_bytes(data)
                self.assertIn(live.end_of_it(), REFUSALS)
        self.is_served(witness)

    def test_malformed_requests_are_answered(self) -> None:
        live = self.live()
        for request in ({"type": "call"}, {"type": "call", "path": 3}, {"type": "bench"},
                        {"type": "bench", "line": ["ignition off"]}, {"type": "token"},
                        {"type": "history"}, {"type": "history", "object": -1, "member": "x"},
                        {"type": "history", "object": 1e300, "member": "get_value"}):
            with self.subTest(request):
                answer = live.ask(**request)
                self.assertFalse(answer["ok"])
                self.assertTrue(answer["error"])
        self.is_served(live)

    def test_a_bench_line_is_one_line(self) -> None:
        live = self.live()
        self.assertTrue(live.ask(type="token", token=self.world.token)["ok"])
        self.assertFalse(live.ask(type="bench", line="ignition on\nignition off")["ok"])
        self.assertFalse(live.ask(type="bench", line="nonsense")["ok"])
        self.assertFalse(live.ask(type="bench", line="quit" + "\0")["ok"])
        self.assertTrue(self.world.state()["ignition"])

    def fuzzed(self, chance: random.Random) -> str:
        """Something like a message: a good one, with a piece that is not."""
        good: dict[str, Any] = chance.choice([
            {"type": "token", "id": 1, "token": "x"}, {"type": "watch", "frames": True},
            {"type": "history", "id": 2, "object": 4, "member": "get_value"},
            {"type": "call", "id": 3, "path": OUTPUT, "interface": "x", "method": "on",
             "arguments": []},
            {"type": "bench", "id": 4, "line": "ignition off"}])
        odd = chance.choice([None, True, -1, 1e308, "", "\0", "é" * 50, [], {}, [[[]]],
                             {"type": "call"}, "x" * 1000, 2**63])
        key = chance.choice([*good, "more"])
        text = json.dumps({**good, key: odd})
        if chance.random() < 0.5:
            at = chance.randrange(len(text))
            text = text[:at] + chance.choice(["", "\\", '"', "{", "]", "\u0000", "9" * 400]) \
                + text[at + chance.randrange(3):]
        return text

    def test_random_messages_harm_nobody(self) -> None:
        chance = random.Random(SEED)
        witness = self.live()
        live = Live(self.world.port)
        for turn in range(FUZZED):
            text = self.fuzzed(chance)
            with self.subTest(turn=turn, text=text[:200]):
                # A question behind it is answered, or the connection is ended for it.
                live.send_text(text)
                try:
                    self.is_served(live)
                except websocket.WebSocketException:
                    pass
                except (ConnectionError, ValueError):
                    live = Live(self.world.port)
        self.is_served(witness)
        live.__exit__()

    def test_there_is_an_end_to_pages(self) -> None:
        pages = []
        refused = False
        try:
            for _ in range(40):
                pages.append(Live(self.world.port))
                pages[-1].receive_type("hello")
        except (websocket.WebSocketException, ConnectionError):
            refused = True
        finally:
            for page in pages:
                page.__exit__()
        self.assertTrue(refused, "40 pages at once")
        self.assertLessEqual(len(pages), 16)
        self.assertGreater(len(pages), 8)
