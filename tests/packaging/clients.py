#!/usr/bin/python3
"""The example clients against the running daemon, in C and C++ as users build them from what is
installed.

    clients.py PROGRAM BUILD CXX
"""
from __future__ import annotations

import os
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

from world import SOURCES, World, open_policy

EXAMPLES = SOURCES / "data/examples/clients"


def run(*command: str | Path, **environment: str) -> str:
    done = subprocess.run(command, env={**os.environ, **environment}, check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        sys.exit(f"{command}: {done.stdout}")
    return done.stdout


def installed(build: str, directory: Path) -> Path:
    prefix = directory / "installed"
    run("cmake", "--install", build, "--prefix", prefix, "--component", "development")
    return prefix


def built_with_cmake(prefix: Path, directory: Path, compiler: str) -> Path:
    build = directory / "with-cmake"
    run("cmake", "-S", EXAMPLES, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_CXX_COMPILER={compiler}")
    run("cmake", "--build", build)
    return build / "client"


def built_with_pkg_config(prefix: Path, directory: Path, compiler: str) -> Path:
    package = next(prefix.glob("**/dov-dbus.pc"))
    flags = run("pkg-config", "--cflags", "--libs", "dov-dbus",
                PKG_CONFIG_PATH=str(package.parent))
    program = directory / "with-pkg-config"
    run(compiler, "-std=c++17", "-fPIC", "-o", program, EXAMPLES / "client.cpp",
        *shlex.split(flags))
    return program


def built_with_gdbus_codegen(prefix: Path, directory: Path) -> Path:
    """Of every interface, so that each one is tried."""
    interfaces = sorted(prefix.glob("**/dbus-1/interfaces/*.xml"))
    run("gdbus-codegen", "--interface-prefix", "com.quorin.system.", "--c-namespace", "Dov",
        "--output-directory", directory, "--generate-c-code", "dov-glib", *interfaces)
    flags = run("pkg-config", "--cflags", "--libs", "gio-unix-2.0")
    program = directory / "with-gdbus-codegen"
    run("cc", "-Wall", "-Wextra", "-Werror", "-I", directory, "-o", program,
        EXAMPLES / "client.c", directory / "dov-glib.c", *shlex.split(flags))
    return program


def manual_of(prefix: Path, directory: Path) -> str:
    """What gdbus-codegen makes of the texts of one interface."""
    interface = next(prefix.glob("**/com.quorin.system.power.button.xml"))
    run("gdbus-codegen", "--output-directory", directory, "--generate-docbook", "manual", interface)
    return (directory / "manual-com.quorin.system.power.button.xml").read_text()


def check(world: World, client: Path, brightness: int) -> None:
    printed = world.root / "printed"
    expected = f"terminal 1234\nbrightness {brightness}\nwatching the media\n"
    with printed.open("wb") as output:
        running = subprocess.Popen(
            [client, str(brightness)], env=world.environment(), stdout=output,
            stderr=subprocess.STDOUT, start_new_session=True)
    try:
        world.wait_for(f"what {client} reads", lambda: printed.read_text().startswith(expected))
        # Until the client's subscription is there, media come and go unheard.
        world.wait_for(f"{client} to hear of a medium", lambda: hears(world, printed))
    except TimeoutError as error:
        sys.exit(f"{error}; it printed:\n{printed.read_text()}")
    finally:
        os.killpg(running.pid, 15)
        running.wait()
    world.set_media(set())
    print(f"{client.name} does", flush=True)


def hears(world: World, printed: Path) -> bool:
    text = printed.read_text()
    medium = world.medium("usb0")
    if f"{medium} has come\n" in text and f"{medium} has gone\n" in text:
        return True
    world.set_media(set() if world.media else {"usb0"})
    return False


def main() -> None:
    program, build, compiler = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="dov-clients-") as name, \
            World(program, open_policy()) as world:
        directory = Path(name)
        prefix = installed(build, directory)
        clients = (built_with_cmake(prefix, directory, compiler),
                   built_with_pkg_config(prefix, directory, compiler),
                   built_with_gdbus_codegen(prefix, directory),
                   EXAMPLES / "client.py", EXAMPLES / "client.sh")
        for number, client in enumerate(clients):
            check(world, client, 50 + number)
        for text in ("The power button", "the button was pressed", "always 1"):
            if text not in (manual := manual_of(prefix, directory)):
                sys.exit(f"{text} is not in the manual:\n{manual}")
        if world.power_offs():
            sys.exit("the daemon has switched the terminal off")


if __name__ == "__main__":
    main()
