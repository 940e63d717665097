#pragma once

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <optional>
#include <vector>

/// The methods of the published interfaces, from the descriptions that the daemon's classes are
/// tested against.
class Method_table {
public:
    struct Method {
        QString name;
        QStringList arguments; ///< their types, as D-Bus writes them
        bool changes;          ///< takes arguments, or answers nothing
    };

    Method_table();

    /// Null for one that there is not.
    const Method* find(const QString& interface, const QString& name) const;

    /// By interface a list of objects with "name", "arguments" and "changes".
    QJsonObject to_json() const;

    /// Arguments of a call, by their types. None, and why in `error`, when they are none of the
    /// method's.
    static std::optional<QVariantList> values_of(const Method& method, const QJsonArray& arguments,
                                                 QString& error);

private:
    void read(const QString& path);

    QHash<QString, std::vector<Method>> interfaces_;
};
