#pragma once

#include <QStringList>

/// A text's words.
inline QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// The checks with a result, in a report for people.
inline QStringList names_of(const QString& report, const char* result)
{
    QStringList names;
    for (const QString& line : report.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String(result)))
            names.append(line.mid(9).section(QLatin1Char(':'), 0, 0));
    }
    return names;
}

inline QStringList failures(const QString& report)
{
    return names_of(report, "FAILED");
}
