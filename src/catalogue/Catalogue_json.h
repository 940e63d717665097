#pragma once

#include <QByteArray>

/// The catalogue of objects as JSON, for programs in other languages: data/objects.json.
QByteArray catalogue_json();
