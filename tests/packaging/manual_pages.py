#!/usr/bin/python3
"""The manual pages: well-formed, with the options of the programs, and an example that holds; and
the table of options in the README.

    manual_pages.py DIRECTORY DAEMON

The tools are those in the directory. The daemon is one of the test build, which can neither reach
the machine's paths nor its power; only its usage is asked for.
"""
from __future__ import annotations

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
PAGES = SOURCES / "data/man"
README = SOURCES / "README.md"
TOOLS = ("dov-config-check", "dov-controller", "dov-panel", "dov-report", "dov-watch")
# What has options of its own behind the verb.
VERBS = {"dov-line": ("read", "stats", "compare", "tap", "send", "poll", "listen", "check",
                      "scenario")}
# The daemon's usage but for --simulate is printed by a start alone: it is taken from its source.
USAGE = SOURCES / "src/base/Command_line.cpp"
NO_OPTION = {"--debug"}  # in the usage; the manual page says that it is none
DAEMON_OPTIONS = set(re.findall(r'"    (--[a-z0-9-]+) ', USAGE.read_text())) - NO_OPTION

failures: list[str] = []


def run(*command: str) -> subprocess.CompletedProcess[str]:
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "80",
                   "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=60,
                          env=environment)


def expect(holds: bool, failure: str) -> None:
    if not holds:
        failures.append(failure)


def expect_same(of_program: set[str], of_text: set[str], text: str) -> None:
    expect(len(of_program) > 2 and of_program == of_text,
           f"{text} and --help differ: only --help has {sorted(of_program - of_text)}, "
           f"only {text} has {sorted(of_text - of_program)}")


def check_form(page: Path) -> None:
    formatted = run("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", str(page))
    expect(formatted.returncode == 0 and not formatted.stderr, f"man: {formatted.stderr}")
    lint = run("mandoc", "-Tlint", "-W", "warning", str(page))
    expect(lint.returncode == 0 and not lint.stdout, f"mandoc: {lint.stdout}{lint.stderr}")
    for name, section in re.findall(r"^\.Xr (\S+) (\d)", page.read_text(), re.MULTILINE):
        if name.startswith("dov-") or name.endswith(".conf"):
            expect((PAGES / f"{name}.{section}").exists(), f"{page.name}: no {name}({section})")


def options_of_page(page: Path) -> set[str]:
    found = set()
    for item in re.findall(r"^\.It Fl (.*)", page.read_text(), re.MULTILINE):
        found |= set(re.findall(r"(?:^|, )-([a-z0-9-]+)", item))
    return {f"--{name}" for name in found}


def options_of_program(program: Path, *verb: str) -> set[str]:
    usage = run(str(program), *verb, "--help")
    expect(usage.returncode == 0, f"{program.name} --help: {usage.returncode}")
    return set(re.findall(r"^ +(?:-[a-z], )?(--[a-z0-9-]+)", usage.stdout, re.MULTILINE))


def check_options(program: Path, page: Path, further: set[str]) -> None:
    expect_same(options_of_program(program) | further, options_of_page(page),
                f"data/man/{page.name}")


def check_table(program: Path, document: Path, further: set[str]) -> None:
    """The daemon's options in the table of a document."""
    of_table = set(re.findall(r"^\| `(--[a-z0-9-]+)", document.read_text(), re.MULTILINE))
    expect_same(options_of_program(program) | further, of_table,
                f"the table of options in {document.name}")


def check_commands(program: Path, page: Path) -> None:
    """Commands and their arguments, and the names of the inputs, which --help has as well."""
    usage = run(str(program), "--help").stdout
    commands = usage.partition("\nCommands (")[2].partition("\n\n")[0]
    of_program = set(re.findall(r"^  ([a-z0-9-]+(?: [^ ]+)*?)(?:  +|$)", commands, re.MULTILINE))
    text = page.read_text().replace("\\*(Ba", "|").partition(".Ss Commands")[2]
    commands, _, inputs = text.partition(".Ss Inputs")
    of_page = {f"{name} {arguments}".strip() for name, arguments in
               re.findall(r"^\.It (?:Fl -|Ic )([a-z0-9-]+)(?: Ar (.*))?$", commands, re.MULTILINE)}
    expect_same(of_program, of_page, f"the list of commands in data/man/{page.name}")
    for name in re.findall(r"^  ([a-z]+)0? ", usage.partition("\nInputs,")[2].partition("\n\n")[0],
                           re.MULTILINE):
        expect(name in inputs, f"{page.name} has no input {name}")


def check_statuses(program: Path, page: Path) -> None:
    usage = run(str(program), "--help").stdout
    of_program = re.findall(r"(?:^|[,;:.]\s+)(\d) ", usage.rpartition("Exit status")[2]
                            .partition("\n\n")[0])
    of_page = re.findall(r"^\.It (\d)$", page.read_text().partition(".Sh EXIT STATUS")[2],
                         re.MULTILINE)
    expect(len(of_program) > 2 and of_program == of_page,
           f"{page.name} has the statuses {of_page}, --help {of_program}")


def check_example(checker: Path, page: Path, option: str) -> None:
    example = re.search(r"^\.Bd -literal\n(<.*?)^\.Ed", page.read_text(),
                        re.MULTILINE | re.DOTALL)
    with tempfile.TemporaryDirectory() as directory:
        file = Path(directory, "example.conf")
        file.write_text(example.group(1) if example else "")
        said = run(str(checker), option, str(file)).stdout
    # The other file may be missing here.
    expect(str(file) not in said, f"{page.name}, example: {said}")


def main() -> None:
    programs, daemon = map(Path, sys.argv[1:])
    pages = sorted(PAGES.iterdir())
    for page in pages:
        check_form(page)
    for tool in TOOLS:
        check_options(programs / tool, PAGES / f"{tool}.1", set())
        check_statuses(programs / tool, PAGES / f"{tool}.1")
    check_commands(programs / "dov-controller", PAGES / "dov-controller.1")
    for tool, verbs in VERBS.items():
        of_verbs = set().union(*(options_of_program(programs / tool, verb) for verb in verbs))
        check_options(programs / tool, PAGES / f"{tool}.1", of_verbs)
    check_options(daemon, PAGES / "dov-dbus.8", DAEMON_OPTIONS)
    check_table(daemon, README, DAEMON_OPTIONS)
    checker = programs / "dov-config-check"
    check_example(checker, PAGES / "power_manage.conf.5", "--power")
    check_example(checker, PAGES / "oem_profile.conf.5", "--oem")
    if failures:
        sys.exit("\n".join(failures))
    print(f"{len(pages)} pages")


if __name__ == "__main__":
    main()
