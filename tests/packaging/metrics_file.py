#!/usr/bin/python3
"""The file of dov-watch --metrics, as a parser of OpenMetrics reads it.

    metrics_file.py PROGRAM WATCH
"""
from __future__ import annotations

import json
import subprocess
import sys
from pathlib import Path

from prometheus_client.openmetrics.parser import text_string_to_metric_families

from mock import Daemon_side
from world import World, open_policy

# As a tap keeps it.
LINE = {"host_frames": 12, "controller_frames": 7, "tap": {"has_device": True}}
KNOWN = {"dov_service_up": 1.0, "dov_analog_input_volts": 2.5, "dov_digital_input_on": 1.0,
         "dov_line_controller_frames_total": 7.0, "dov_line_device_present": 1.0,
         "dov_system_version_info": 1.0}


def samples(file: Path) -> dict[str, set[float]]:
    """The values by name; an error of the parser ends the test."""
    found: dict[str, set[float]] = {}
    for family in text_string_to_metric_families(file.read_text()):
        for sample in family.samples:
            found.setdefault(sample.name, set()).add(sample.value)
    return found


def main() -> None:
    program, watch = sys.argv[1:]
    with World(program, open_policy()) as world:
        file, tap = world.root / "dov.prom", world.root / "status.json"
        tap.write_text(json.dumps(LINE))
        side = Daemon_side(world)
        side.report_digest({f"device/io/input/{name}": count for name, count in (
            *((f"digital/{n}", 1) for n in range(4)), ("analog/0", 2500), ("ambientlight/0", 0),
            ("frequency/0", 50))})
        running = subprocess.Popen([watch, "--address", world.address, "--interval", "100",
                                    "--metrics", file, "--tap", tap])
        try:
            world.wait_for("the file", file.exists)
            world.wait_for(f"a file with {KNOWN}", lambda: KNOWN.items() <= {
                (name, value) for name, values in samples(file).items() for value in values})
        finally:
            running.terminate()
            running.wait()
        if world.power_offs():
            sys.exit("the daemon has switched the terminal off")


if __name__ == "__main__":
    main()
