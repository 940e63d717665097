#pragma once

#include "Findings.h"

#include <QDomElement>

/// The elements below the root of a power configuration that the daemon never consults: those
/// whose name it does not look up, and those that come after another of the same name.
QVector<Problem> unused_power_entries(const QString& file, const QDomElement& root);

/// The same of an OEM profile.
QVector<Problem> unused_oem_entries(const QString& file, const QDomElement& root);
