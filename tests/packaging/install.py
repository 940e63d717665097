#!/usr/bin/python3
"""What `cmake --install` puts where: every file in the directory that its variable says.

    install.py CMAKE BUILD

First the build as it is, with a prefix and DESTDIR; then configurations of their own, which take
the build's products: every directory elsewhere, one of them absolute, and each part left out.
"""
from __future__ import annotations

import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
PREFIX = "/opt/terminal"
INTERFACES = sorted(path.name for path in (SOURCES / "data/interfaces").glob("*.xml"))
HEADERS = [name.removeprefix("com.quorin.system.").removesuffix(".xml").replace(".", "_") +
           "_proxy.h" for name in INTERFACES]
MODULES = sorted(path.name for path in (SOURCES / "data/python/dov").glob("*.py"))
PROGRAMS = sorted(path.name for path in (SOURCES / "data/examples/python").glob("*.py"))
TOOLS = ["dov-config-check", "dov-controller", "dov-line", "dov-report", "dov-watch"]

# Part of the build, variable of the directory, folder below it, files
DAEMON = [
    ("CMAKE_INSTALL_SBINDIR", "", ["dov-dbus"]),
    ("DOV_UNIT_DIR", "", ["dov-dbus.service"]),
    ("DOV_UDEV_RULES_DIR", "", ["60-dov-dbus.rules"]),
    ("DOV_SYSUSERS_DIR", "", ["dov-dbus.conf"]),
    ("DOV_BUS_POLICY_DIR", "", ["com.quorin.system.conf"]),
    ("DOV_BUS_SERVICES_DIR", "", ["com.quorin.system.service"]),
    ("DOV_BUS_INTERFACES_DIR", "", INTERFACES),
    ("CMAKE_INSTALL_DATADIR", "dov-dbus", ["objects.json"]),
    ("CMAKE_INSTALL_DATADIR", "python-dbusmock/templates", ["dov.py"]),
    ("DOV_COMPLETION_DIR", "", ["dov-dbus"]),
]
OPTIONAL = {
    frozenset({"DOV_TOOLS"}): [
        ("CMAKE_INSTALL_BINDIR", "", TOOLS),
        ("DOV_COMPLETION_DIR", "", TOOLS),
        ("DOV_UNIT_DIR", "", ["dov-line-tap.service", "dov-metrics.service"]),
        ("DOV_WIRESHARK_PLUGIN_DIR", "", ["dov.lua"]),
        ("DOV_WIRESHARK_EXTCAP_DIR", "", ["dov-line-extcap"]),
    ],
    frozenset({"DOV_CLIENT"}): [
        ("CMAKE_INSTALL_LIBDIR", "", ["libdov-dbus-client.a"]),
        ("CMAKE_INSTALL_LIBDIR", "pkgconfig", ["dov-dbus.pc"]),
        ("CMAKE_INSTALL_LIBDIR", "cmake/dov-dbus", [
            "dov-dbus-config.cmake", "dov-dbus-config-version.cmake", "dov-dbus-targets.cmake",
            "dov-dbus-targets-{build_type}.cmake"]),
        ("CMAKE_INSTALL_INCLUDEDIR", "dov-dbus", HEADERS),
        ("DOV_PYTHON_DIR", "dov", [*MODULES, "py.typed"]),
    ],
    frozenset({"DOV_DOCS"}): [
        ("CMAKE_INSTALL_MANDIR", "man5", ["oem_profile.conf.5", "power_manage.conf.5"]),
        ("CMAKE_INSTALL_MANDIR", "man8", ["dov-dbus.8"]),
        ("CMAKE_INSTALL_DOCDIR", "", ["dbus-api.md", "integration.md", "mock.md", "porting.md",
                                      "protocol.md", "python.md"]),
        ("CMAKE_INSTALL_DOCDIR", "examples", ["debug.conf.example", "oem_profile.conf",
                                              "power_manage.conf"]),
        ("CMAKE_INSTALL_DOCDIR", "examples/python", PROGRAMS),
        ("CMAKE_INSTALL_DOCDIR", "examples/clients", ["CMakeLists.txt", "client.c", "client.cpp",
                                                      "client.py", "client.sh",
                                                      "test_client.py"]),
    ],
    frozenset({"DOV_DOCS", "DOV_TOOLS"}): [
        ("CMAKE_INSTALL_MANDIR", "man1", [f"{tool}.1" for tool in TOOLS + ["dov-line-extcap"]]),
        ("CMAKE_INSTALL_DOCDIR", "examples", ["dov-dbus.rules.yml"]),
        ("CMAKE_INSTALL_DOCDIR", "", ["controller-script.md", "dov-line.md", "dov-report.md",
                                      "dov-watch.md", "metrics.md"]),
        ("CMAKE_INSTALL_DOCDIR", "examples", ["tap.conf.example"]),
    ],
}
DIRECTORIES = sorted({variable for part in (DAEMON, *OPTIONAL.values()) for variable, _, _ in part})
OPTIONS = ("DOV_TOOLS", "DOV_CLIENT", "DOV_DOCS")


def run(*command: str | Path, **environment: str) -> str:
    done = subprocess.run(command, env={**os.environ, **environment}, check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


def cache(build: Path) -> dict[str, str]:
    entries = {}
    for line in (build / "CMakeCache.txt").read_text().splitlines():
        if line and line[0] not in "#/" and "=" in line:
            name, value = line.split("=", 1)
            entries[name.split(":")[0]] = value
    return entries


def variables(build: Path) -> dict[str, str]:
    """With those defaults that GNUInstallDirs derives and leaves empty in the cache."""
    values = cache(build)
    share = values.get("CMAKE_INSTALL_DATAROOTDIR") or "share"
    for name, default in (("CMAKE_INSTALL_DATADIR", share),
                          ("CMAKE_INSTALL_MANDIR", f"{share}/man"),
                          ("CMAKE_INSTALL_DOCDIR", f"{share}/doc/dov-dbus")):
        values[name] = values.get(name) or default
    return values


def expected(values: dict[str, str]) -> set[str]:
    on = {option for option in OPTIONS if values[option] == "ON"}
    build_type = (values["CMAKE_BUILD_TYPE"] or "noconfig").lower()
    files = set()
    for needs, part in ((frozenset[str](), DAEMON), *OPTIONAL.items()):
        if needs <= on:
            for variable, folder, names in part:
                # An absolute directory stays where it is.
                directory = os.path.join(PREFIX, values[variable], folder)
                files |= {os.path.join(directory, name.format(build_type=build_type))
                          for name in names}
    return files


def check(what: str, cmake: str, build: Path, stage: Path) -> None:
    run(cmake, "--install", build, "--prefix", PREFIX, DESTDIR=str(stage))
    found = {"/" + str(path.relative_to(stage)) for path in stage.rglob("*") if not path.is_dir()}
    values = variables(build)
    wanted = expected(values)
    if found != wanted:
        sys.exit("\n".join([f"{what}:", *(f"missing {file}" for file in sorted(wanted - found)),
                            *(f"not expected {file}" for file in sorted(found - wanted))]))
    unit = next(stage.rglob("dov-dbus.service")).read_text()
    program = os.path.join(PREFIX, values["CMAKE_INSTALL_SBINDIR"], "dov-dbus")
    if f"\nExecStart={program} --port" not in unit:
        sys.exit(f"{what}: the unit does not start {program}:\n{unit}")
    print(f"{what}: {len(found)} files", flush=True)


def lend_products(values: dict[str, str], build: Path, copy: Path) -> None:
    """The other configuration installs what this build has made."""
    for name in ("dov-dbus", *TOOLS):
        if (build / name).exists():
            shutil.copy(build / name, copy)
    dissector = build / "tools/wireshark/dov.lua"
    if dissector.exists() and values["DOV_TOOLS"] == "ON":
        shutil.copy(dissector, copy / "tools/wireshark")
    client = build / "data/client"
    if client.exists() and values["DOV_CLIENT"] == "ON":
        shutil.copy(client / "libdov-dbus-client.a", copy / "data/client")
        shutil.copytree(client / "dov-dbus", copy / "data/client/dov-dbus", dirs_exist_ok=True)


def configure(cmake: str, build: Path, copy: Path, settings: dict[str, str]) -> None:
    """As the build is configured, but for the tests and the settings."""
    kept = {name: value for name, value in cache(build).items()
            if name in ("CMAKE_BUILD_TYPE", "CMAKE_C_COMPILER", "CMAKE_CXX_COMPILER",
                        "CMAKE_GENERATOR", "CMAKE_PREFIX_PATH", "CMAKE_TOOLCHAIN_FILE",
                        "DOV_QT_MAJOR", "QT_HOST_PATH", *OPTIONS)}
    values = {**kept, "DOV_TESTS": "OFF", **settings}
    generator = values.pop("CMAKE_GENERATOR")
    run(cmake, "-S", SOURCES, "-B", copy, "-G", generator,
        *(f"-D{name}={value}" for name, value in values.items()))
    lend_products(values, build, copy)


def elsewhere() -> dict[str, str]:
    directories = {name: f"elsewhere/{name.lower()}" for name in DIRECTORIES}
    return {**directories, "DOV_BUS_POLICY_DIR": "/elsewhere/policy"}


def main() -> None:
    cmake, build = sys.argv[1], Path(sys.argv[2])
    with tempfile.TemporaryDirectory(prefix="dov-install-") as name:
        work = Path(name)
        check("as built", cmake, build, work / "as-built")
        variants = {"every directory elsewhere": elsewhere()}
        variants |= {f"without {option}": {option: "OFF"} for option in OPTIONS}
        for number, (what, settings) in enumerate(variants.items()):
            configure(cmake, build, work / f"build-{number}", settings)
            check(what, cmake, work / f"build-{number}", work / f"stage-{number}")


if __name__ == "__main__":
    main()
