#pragma once

#include "Message_catalogue.h"

#include <QPair>
#include <QString>
#include <QVector>

#include <optional>

// Messages by name and in words, for tools.

/// One field of a message with what it says.
struct Explained_field {
    const Field* field;
    qint64 number; ///< before any scale
    double value;  ///< in the field's unit
    QString text;  ///< the number as people write it, see text_of()
};

/// The fields of a message as far as it goes, in the order of their bytes; none of an unknown one.
QVector<Explained_field> explain(const uchar* data, uint len);
QVector<Explained_field> explain(const Message& message);

/// The names of a field's type and style, as they stand in the sources.
const char* name_of(Field_type type);
const char* name_of(Field_style style);

/// A field's label, with the unit where that cannot stand behind a number: "interval in 50 ms".
QString label_of(const Field& field);

/// A field's number as people write it: decimal, hexadecimal ("0xfe") or by its code ("write"), as
/// the field's style is; inputs as bits, 0 first ("1010"); outputs by their codes, 0 first
/// ("- on off disabled"); a version as "v2.1.7"; bytes in upper-case hexadecimal. Behind it the
/// unit that it has on the line: "2500 mV".
QString text_of(const Field& field, qint64 number);

/// The number of a text: as text_of() writes it, unit included or not; in decimal, in hexadecimal
/// after 0x, or the name of a code; or a value in the field's unit, with that unit: "2.5 V". None
/// when it is no number of the field's.
std::optional<qint64> number_of(const Field& field, const QString& text);

/// A field's name and the text of its number.
using Named_text = QPair<QString, QString>;

/// The message of a kind with fields set by name; the others are 0 or what they always are. None,
/// and the reason in `error`, for a field that the message does not have and a text that is no
/// number of the field's.
std::optional<Message> compose(const Message_kind& kind, const QVector<Named_text>& fields,
                               QString& error);
