#pragma once

#include <QByteArray>

class Bench_controller;

/// All that a controller is, keeps, measures and does wrong, with its counters, as one line of JSON
/// without its end. docs/controller-script.md has the members.
QByteArray state_json(const Bench_controller& bench);
