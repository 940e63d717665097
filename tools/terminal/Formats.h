#pragma once

#include "Watch_model.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonValue>
#include <QString>

/// How values, ages and changes are written. Pure functions.

/// A value as programs like it: numbers with up to nine digits and a point, true or false, lists
/// with blanks between, texts on one line with control characters as \n, \t or \xNN.
QString plain_text(const QVariant& value);

/// A value as JSON: numbers with up to nine digits, lists as arrays; null for a number that is
/// infinite or none.
QJsonValue json_value(const QVariant& value);

/// A value as people like it, with its unit: "12.340 V", "on"; a dash while nothing is known.
QString value_text(const Value_row& row, const QVariant& value, const QString& dash);

/// A time span in at most five characters: "0.4s", "59s", "12m", "3h", "8d".
QString age_text(qint64 age_ms);

/// "<time> <path> <member> <value>" and a newline; the time in ISO 8601, UTC, with milliseconds.
QByteArray change_line(const Change& change, const QDateTime& time);

/// The same as one JSON object: {"member":…,"path":…,"time":…,"value":…} and a newline.
QByteArray change_json(const Change& change, const QDateTime& time);
