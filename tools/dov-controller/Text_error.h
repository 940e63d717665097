#pragma once

#include <QByteArray>
#include <QString>

/// What is wrong in a text, and where: lines and columns count from 1.
struct Text_error {
    int line = 0;
    int column = 0;
    QString text;

    /// "NAME:LINE:COLUMN: TEXT"
    QString in(const QString& name) const
    {
        return QStringLiteral("%1:%2:%3: %4").arg(name).arg(line).arg(column).arg(text);
    }
};
