#pragma once

#include <QByteArray>
#include <QString>

/// What a configuration file may be. Beyond these, reading it would cost the daemon its memory,
/// its stack or its time.
constexpr int max_config_size = 1024 * 1024; ///< bytes of the file
constexpr int max_config_text = 1024 * 1024; ///< characters, with what entities stand for
constexpr int max_config_depth = 100;        ///< nested elements

/// Attributes of one element; or attributes, entities and references that the document type
/// declares. The readers of XML compare each of them with all the others.
constexpr int max_config_values = 4096;

enum class Xml_limit { size, text, depth, values };

/// What is said of a file beyond a limit, as in the manual pages: "it is larger than 1 MiB".
QString text_of(Xml_limit limit);

/// Why a file is refused.
struct Xml_fault {
    QString text;              ///< of the limit or of the reader; empty when it is not refused
    int line = 0;              ///< from 1; 0 when it is none in particular
    bool is_malformed = false; ///< not beyond a limit
};

/// The same file, of XML 1.0 where it says that it is of a later 1.x, as XML 1.0 has it read.
QByteArray as_xml_1_0(const QByteArray& bytes);

/// Whether the bytes are well-formed XML 1.0 within the limits. What their references expand to is
/// counted before it is expanded, and the rest while it is read: no file costs more than one at
/// the limits. An entity of another file stands for nothing. In an encoding whose markup is not
/// that of ASCII or UTF-16, no entity may stand for more than its reference is long.
Xml_fault check_xml(const QByteArray& bytes);
