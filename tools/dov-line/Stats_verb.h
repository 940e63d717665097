#pragma once

#include "Condition.h"
#include "Verb.h"

#include <QVector>

class QJsonObject;

/// Counts what is in a recording of the line, or shows what a running tap has counted.
class Stats_verb : public Verb {
public:
    Stats_verb();

    /// The argument is the recording.
    int run(const QStringList& arguments) override;

private:
    /// A figure and what it must not pass.
    struct Limit {
        QString text;     ///< as it was given
        QStringList path; ///< the figure's names in the JSON object
        Relation relation;
        double number;
    };

    QString take_baud(const QString& text);
    QString take_limit(const QString& text);
    int count(const QString& path) const;
    int judge(const QJsonObject& json) const;

    uint baud_ = 115200;
    bool json_ = false;
    bool live_ = false;
    QVector<Limit> limits_;
};
