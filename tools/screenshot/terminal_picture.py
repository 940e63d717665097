"""Runs a program on a terminal of its own, plays a user at it, and draws its screen as a PNG.

    terminal_picture.py PICTURE COMMAND [ARGUMENT...]

The user waits until the program shows its screen, lets a minute of sparklines fill, switches an
output on, sets the brightness, and leaves with q after the picture. Needs pyte (a terminal
emulator) and Pillow.
"""

import fcntl
import os
import pty
import select
import struct
import sys
import termios
import time
from typing import List, Tuple

import pyte
from PIL import Image, ImageDraw, ImageFont

COLUMNS, ROWS = 132, 42
START_SECONDS = 900
STEPS: List[Tuple[float, bytes]] = [
    (64.0, b"/output 2\r"),
    (0.5, b" "),
    (0.3, b"\x1b"),
    (1.6, b"b75\r"),
    (1.4, b""),
]

FONTS = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono"
FONT_SIZE = 20
CELL_WIDTH, CELL_HEIGHT = 12, 25
MARGIN, FRAME, BAR, RADIUS = 36, 18, 44, 14

BACKGROUND = "#12171d"
FOREGROUND = "#c3ccd6"
WINDOW_BAR = "#1d242d"
DESK = "#2a3644"
BUTTONS = ("#ee6a5f", "#f5bd4f", "#61c454")
NAMED = {
    "black": "#12171d", "red": "#e06c75", "green": "#98c379", "brown": "#e5c07b",
    "blue": "#61afef", "magenta": "#c678dd", "cyan": "#56b6c2", "white": "#dfe6ee",
}
BLOCKS = "▁▂▃▄▅▆▇█"


class Terminal:
    """A program on a pty, and the screen that it draws."""

    def __init__(self, command: List[str]) -> None:
        self.screen = pyte.Screen(COLUMNS, ROWS)
        self.stream = pyte.ByteStream(self.screen)
        self.process, self.master = pty.fork()
        if self.process == 0:
            environment = dict(os.environ, TERM="xterm-256color", LC_ALL="C.UTF-8")
            environment.pop("NO_COLOR", None)
            os.execvpe(command[0], command, environment)
        size = struct.pack("HHHH", ROWS, COLUMNS, 0, 0)
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, size)

    def run(self, seconds: float, until: str = "") -> bool:
        """Follows the program for a time, or until a text shows; whether it does."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            if until and any(until in row for row in self.screen.display):
                return True
            if not select.select([self.master], [], [], 0.05)[0]:
                continue
            try:
                self.stream.feed(os.read(self.master, 65536))
            except OSError:
                return False
        return not until

    def type(self, keys: bytes) -> None:
        os.write(self.master, keys)

    def end(self) -> int:
        """Leaves the program and gives its exit status."""
        self.type(b"q")
        self.run(30)
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])


def colour(name: str, default: str) -> str:
    if name == "default":
        return default
    return NAMED.get(name, "#" + name)


def draw_cell(draw: ImageDraw.ImageDraw, x: int, y: int, cell: "pyte.screens.Char",
              fonts: Tuple[ImageFont.FreeTypeFont, ImageFont.FreeTypeFont]) -> None:
    front, back = colour(cell.fg, FOREGROUND), colour(cell.bg, BACKGROUND)
    if cell.reverse:
        front, back = back, front
    if back != BACKGROUND:
        draw.rectangle((x, y, x + CELL_WIDTH - 1, y + CELL_HEIGHT - 1), fill=back)
    if cell.data in BLOCKS:
        # Drawn, and not written: the bars of neighbouring cells meet without a seam.
        height = round((BLOCKS.index(cell.data) + 1) / len(BLOCKS) * (CELL_HEIGHT - 5))
        draw.rectangle((x, y + CELL_HEIGHT - 2 - height, x + CELL_WIDTH - 2, y + CELL_HEIGHT - 3),
                       fill=front)
    elif cell.data == "│":
        draw.rectangle((x + 5, y, x + 6, y + CELL_HEIGHT - 1), fill="#333d49")
    elif cell.data == "─":
        draw.rectangle((x, y + 12, x + CELL_WIDTH - 1, y + 13), fill="#333d49")
    elif cell.data.strip():
        draw.text((x, y + 1), cell.data, font=fonts[1 if cell.bold else 0], fill=front)


def draw_screen(screen: pyte.Screen) -> Image.Image:
    fonts = (ImageFont.truetype(FONTS + ".ttf", FONT_SIZE),
             ImageFont.truetype(FONTS + "-Bold.ttf", FONT_SIZE))
    window_width = COLUMNS * CELL_WIDTH + 2 * FRAME
    window_height = ROWS * CELL_HEIGHT + BAR + FRAME
    picture = Image.new("RGB", (window_width + 2 * MARGIN, window_height + 2 * MARGIN), DESK)
    draw = ImageDraw.Draw(picture)
    left, top = MARGIN, MARGIN
    right, bottom = left + window_width, top + window_height
    draw.rounded_rectangle((left, top, right, bottom), RADIUS, fill=BACKGROUND)
    draw.rounded_rectangle((left, top, right, top + BAR), RADIUS, fill=WINDOW_BAR)
    draw.rectangle((left, top + BAR - RADIUS, right, top + BAR), fill=BACKGROUND)
    draw.rectangle((left, top + BAR - RADIUS, right, top + BAR - 10), fill=WINDOW_BAR)
    for i, button in enumerate(BUTTONS):
        x = left + 18 + 22 * i
        draw.ellipse((x, top + 11, x + 13, top + 24), fill=button)
    for row in range(ROWS):
        for column in range(COLUMNS):
            draw_cell(draw, left + FRAME + column * CELL_WIDTH, top + BAR + row * CELL_HEIGHT,
                      screen.buffer[row][column], fonts)
    return picture


def main() -> int:
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    terminal = Terminal(sys.argv[2:])
    if not terminal.run(START_SECONDS, "versions known"):
        print("\n".join(terminal.screen.display), file=sys.stderr)
        return 1
    for seconds, keys in STEPS:
        terminal.run(seconds)
        terminal.type(keys)
    terminal.run(0.3)
    picture = draw_screen(terminal.screen)
    status = terminal.end()
    picture.save(sys.argv[1], optimize=True)
    return status


if __name__ == "__main__":
    sys.exit(main())
