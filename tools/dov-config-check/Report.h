#pragma once

#include "Findings.h"

#include <QByteArray>

/// The findings for people: the problems first, one a line.
QByteArray as_text(const Findings& findings, bool coloured);

/// The findings for programs, as one JSON object.
QByteArray as_json(const Findings& findings);
