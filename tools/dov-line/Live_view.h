#pragma once

#include <QJsonObject>
#include <QStringList>

/// The status of a running tap as lines of a screen: the tap, totals, each identifier, and how fast
/// requests are answered.
QStringList live_lines(const QJsonObject& status);
