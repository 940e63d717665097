#pragma once

#include "Watch_model.h"

#include <QByteArray>
#include <QJsonObject>

/// What a monitoring server gets of the service, in the text format of Prometheus. Gauges alone
/// have a type, so that the same text is OpenMetrics: a textfile collector takes the one, a scrape
/// the other.
///
/// Names and units come from the catalogue: "dov_", the kind of the object, what its method is
/// called, and the base unit; "dov_analog_input_volts". The label "object" is the path behind the
/// prefix. What is not known has no sample.
///
/// `now_ms`: of the model's clock. `line`: the counters of a tap, as `dov-line tap --status` writes
/// them; empty without one.
QByteArray metrics_text(const Watch_model& model, const QJsonObject& line, qint64 now_ms);
