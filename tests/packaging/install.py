#!/usr/bin/python3
"""What `cmake --install` puts where: every file in the directory that its variable says.

    install.py CMAKE BUILD

First the build as it is, with a prefix and DESTDIR, whole and by its components; then
configurations of their own, which take the build's products: every directory elsewhere, one of them
absolute, and each part left out; last one of which nobody has said anything, whose defaults are
those that docs/porting.md tells. And where the panel's library is missing, the option is named that
does without the panel.
"""
from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
PORTING = (SOURCES / "docs/porting.md").read_text()
PREFIX = "/opt/terminal"
DEFAULT_QT = "5"
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
        ("DOV_SYSUSERS_DIR", "", ["dov-metrics.conf"]),
        ("DOV_WIRESHARK_PLUGIN_DIR", "", ["dov.lua"]),
        ("DOV_WIRESHARK_EXTCAP_DIR", "", ["dov-line-extcap"]),
    ],
    frozenset({"DOV_TOOLS", "DOV_PANEL"}): [
        ("CMAKE_INSTALL_BINDIR", "", ["dov-panel"]),
        ("DOV_COMPLETION_DIR", "", ["dov-panel"]),
        ("DOV_UNIT_DIR", "", ["dov-panel.service"]),
        ("DOV_SYSUSERS_DIR", "", ["dov-panel.conf"]),
    ],
    frozenset({"DOV_DOCS", "DOV_TOOLS", "DOV_PANEL"}): [
        ("CMAKE_INSTALL_MANDIR", "man1", ["dov-panel.1"]),
        ("CMAKE_INSTALL_DOCDIR", "", ["panel.md"]),
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
OPTIONS = ("DOV_TOOLS", "DOV_PANEL", "DOV_CLIENT", "DOV_DOCS")


def run(*command: str | Path, fails: bool = False, **environment: str) -> str:
    done = subprocess.run(command, env={**os.environ, **environment}, check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if (done.returncode != 0) != fails:
        sys.exit(f"{' '.join(map(str, command))}: {done.returncode}\n{done.stdout}")
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


def install(cmake: str, build: Path, stage: Path, *options: str) -> set[str]:
    run(cmake, "--install", build, "--prefix", PREFIX, *options, DESTDIR=str(stage))
    return {"/" + str(path.relative_to(stage)) for path in stage.rglob("*") if not path.is_dir()}


def compare(what: str, found: set[str], wanted: set[str]) -> None:
    if found != wanted:
        sys.exit("\n".join([f"{what}:", *(f"missing {file}" for file in sorted(wanted - found)),
                            *(f"not expected {file}" for file in sorted(found - wanted))]))
    print(f"{what}: {len(found)} files", flush=True)


def check_units(what: str, values: dict[str, str], stage: Path) -> None:
    """Each starts its program where that is, and names no other place where one system has it."""
    programs = {"dov-dbus.service": ("CMAKE_INSTALL_SBINDIR", "dov-dbus"),
                "dov-line-tap.service": ("CMAKE_INSTALL_BINDIR", "dov-line"),
                "dov-metrics.service": ("CMAKE_INSTALL_BINDIR", "dov-watch"),
                "dov-panel.service": ("CMAKE_INSTALL_BINDIR", "dov-panel")}
    directory = stage / os.path.join(PREFIX, values["DOV_UNIT_DIR"]).lstrip("/")
    for unit in directory.glob("*.service"):
        variable, name = programs[unit.name]
        program = os.path.join(PREFIX, values[variable], name)
        settings = re.findall(r"^(Exec\w+)=(.*)$", unit.read_text(), re.MULTILINE)
        started = [value.split()[0] for key, value in settings if key == "ExecStart"]
        if started != [program]:
            sys.exit(f"{what}: {unit.name} does not start {program}: {settings}")
        for key, value in settings:
            if re.search(r"(^|[ =])/(usr|bin|sbin|lib|opt)", value.removeprefix(program)):
                sys.exit(f"{what}: {unit.name} has a place of one system: {key}={value}")


def check(what: str, cmake: str, build: Path, stage: Path) -> None:
    values = variables(build)
    compare(what, install(cmake, build, stage), expected(values))
    check_units(what, values, stage)


def check_components(cmake: str, build: Path, stage: Path) -> None:
    """Those that the document names are everything, and no file is in two."""
    sentence = re.search(r"components ([^(]*)\(", PORTING)
    files: list[str] = []
    for component in re.findall(r"`(\w+)`", sentence[1] if sentence else ""):
        files += install(cmake, build, stage / component, "--component", component)
    twice = {file for file in files if files.count(file) > 1}
    compare("in two components", twice, set())
    compare("the components of docs/porting.md", set(files), expected(variables(build)))


def check_defaults(build: Path, values: dict[str, str]) -> None:
    """Each row "| `VARIABLE` | `default` |" of the document; and the version of Qt, beside them,
    unless the build had to say which."""
    told = dict(re.findall(r"^\| `(DOV_\w+)` \| `?([^`|]+)`? \|", PORTING, re.MULTILINE))
    if cache(build)["DOV_QT_MAJOR"] == DEFAULT_QT:
        told["DOV_QT_MAJOR"] = DEFAULT_QT
    for name in [name for name in DIRECTORIES if name.startswith("DOV_")] + [*OPTIONS, "DOV_TESTS"]:
        if name not in told:
            sys.exit(f"docs/porting.md does not tell the default of {name}")
    for name, default in told.items():
        default = default.replace("CMAKE_INSTALL_LIBDIR", values["CMAKE_INSTALL_LIBDIR"])
        if values.get(name) != default:
            sys.exit(f"{name} is {values.get(name)} by default, docs/porting.md has {default}")
    print(f"defaults: {len(told)}", flush=True)


def lend_products(values: dict[str, str], build: Path, copy: Path) -> None:
    """The other configuration installs what this build has made."""
    for name in ("dov-dbus", "dov-panel", *TOOLS):
        if (build / name).exists():
            shutil.copy(build / name, copy)
    dissector = build / "tools/wireshark/dov.lua"
    if dissector.exists() and values["DOV_TOOLS"] == "ON":
        shutil.copy(dissector, copy / "tools/wireshark")
    client = build / "data/client"
    if client.exists() and values["DOV_CLIENT"] == "ON":
        shutil.copy(client / "libdov-dbus-client.a", copy / "data/client")
        shutil.copytree(client / "dov-dbus", copy / "data/client/dov-dbus", dirs_exist_ok=True)


def configure(cmake: str, build: Path, copy: Path, settings: dict[str, str],
              fails: bool = False, **environment: str) -> str:
    """With the compilers of the build, and its Qt."""
    values = {name: value for name, value in cache(build).items()
              if name in ("CMAKE_BUILD_TYPE", "CMAKE_C_COMPILER", "CMAKE_CXX_COMPILER",
                          "CMAKE_GENERATOR", "CMAKE_PREFIX_PATH", "CMAKE_TOOLCHAIN_FILE",
                          "QT_HOST_PATH")
              or (name == "DOV_QT_MAJOR" and value != DEFAULT_QT)}
    generator = values.pop("CMAKE_GENERATOR")
    return run(cmake, "-S", SOURCES, "-B", copy, "-G", generator,
               *(f"-D{name}={value}" for name, value in {**values, **settings}.items()),
               fails=fails, **environment)


def elsewhere() -> dict[str, str]:
    directories = {name: f"elsewhere/{name.lower()}" for name in DIRECTORIES}
    return {**directories, "DOV_BUS_POLICY_DIR": "/elsewhere/policy"}


def check_variant(what: str, cmake: str, build: Path, work: Path, settings: dict[str, str]) -> None:
    copy, stage = Path(f"{work}-build"), Path(f"{work}-stage")
    as_built = {option: cache(build)[option] for option in OPTIONS}
    settings = {**as_built, "DOV_TESTS": "OFF", **settings}
    configure(cmake, build, copy, settings)
    lend_products(settings, build, copy)
    check(what, cmake, copy, stage)
    # It makes the client library, and that alone.
    rules = copy / "build.ninja"
    if settings["DOV_CLIENT"] == "OFF" and rules.exists() and "qdbusxml2cpp" in rules.read_text():
        sys.exit(f"{what}: qdbusxml2cpp is needed")


def check_missing_library(cmake: str, build: Path, work: Path) -> None:
    """The library of the panel: all that pkg-config knows of but that."""
    known = work / "known"
    known.mkdir(parents=True)
    path = run("pkg-config", "--variable", "pc_path", "pkg-config").strip()
    for directory in reversed(path.split(":")):
        for file in Path(directory).glob("*.pc"):
            if not file.name.startswith("libwebsockets"):
                (known / file.name).unlink(missing_ok=True)
                (known / file.name).symlink_to(file)
    told = configure(cmake, build, work / "build", {"DOV_TESTS": "OFF"}, fails=True,
                     PKG_CONFIG_LIBDIR=str(known), PKG_CONFIG_PATH="")
    message = ("dov-panel needs libwebsockets 4.1 or newer; "
               "DOV_PANEL=OFF builds everything but the panel")
    if message not in " ".join(told.split()):
        sys.exit(f"without libwebsockets the configuration does not say: {message}\n{told}")
    print("without libwebsockets: the option is named", flush=True)


def main() -> None:
    cmake, build = sys.argv[1], Path(sys.argv[2])
    with tempfile.TemporaryDirectory(prefix="dov-install-") as name:
        work = Path(name)
        check("as built", cmake, build, work / "as-built")
        check_components(cmake, build, work / "components")
        variants = {"every directory elsewhere": elsewhere()}
        variants |= {f"without {option}": {option: "OFF"} for option in OPTIONS}
        for number, (what, settings) in enumerate(variants.items()):
            check_variant(what, cmake, build, work / str(number), settings)
        configure(cmake, build, work / "defaults", {})
        check_defaults(build, variables(work / "defaults"))
        check_missing_library(cmake, build, work / "missing")


if __name__ == "__main__":
    main()
