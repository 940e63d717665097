#include "Unused_entries.h"

#include "Object_catalogue.h"

#include <QSet>
#include <QStringList>

#include <algorithm>

namespace {

/// By what the daemon looks an element of the power configuration up.
QString power_key(const QDomElement& element)
{
    const QString name = QLatin1String(name_attribute);
    return element.hasAttribute(name) ? config_key(element.tagName(), element.attribute(name))
                                      : config_key(element.tagName());
}

/// By what it looks one of the OEM profile up.
QString oem_key(const QDomElement& element)
{
    return config_key(element.tagName());
}

/// What may have been meant by a key that nothing looks up: one that differs in case and blanks.
QString meant_by(const QString& key, const QStringList& looked_up)
{
    const auto bare = [](QString text) { return text.remove(QLatin1Char(' ')); };
    const auto found = std::find_if(looked_up.begin(), looked_up.end(), [&](const QString& other) {
        return bare(other).compare(bare(key), Qt::CaseInsensitive) == 0;
    });
    return found == looked_up.end() ? QString() : *found;
}

class Entry_check {
public:
    using Key = QString (*)(const QDomElement&);

    Entry_check(const QString& file, Key key) : file_(file), key_(key) {}

    /// Tells the children of an element that are consulted from those that are not.
    QVector<QDomElement> consulted(const QDomElement& parent, const QStringList& looked_up)
    {
        QVector<QDomElement> children;
        QSet<QString> seen;
        for (QDomElement child = parent.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString key = key_(child);
            if (!looked_up.contains(key))
                add(child, not_looked_up(meant_by(key, looked_up)));
            else if (seen.contains(key))
                add(child, QStringLiteral("comes after another, which alone counts"));
            else
                children.append(child);
            seen.insert(key);
        }
        return children;
    }

    const QVector<Problem>& found() const { return found_; }

private:
    static QString not_looked_up(const QString& meant)
    {
        const QString text = QStringLiteral("is not looked up");
        return meant.isEmpty() ? text : text + QStringLiteral("; %1 would be").arg(meant);
    }

    void add(const QDomElement& element, const QString& why)
    {
        found_.append({Problem_kind::no_effect, file_, element.lineNumber(),
                       on_one_line(key_(element)) + QLatin1Char(' ') + why});
    }

    QString file_;
    Key key_;
    QVector<Problem> found_;
};

} // namespace

QVector<Problem> unused_power_entries(const QString& file, const QDomElement& root)
{
    Entry_check check(file, power_key);
    const QStringList entries = power_entry_keys(power_names());
    for (const QDomElement& state : check.consulted(root, power_state_keys()))
        check.consulted(state, entries);
    return check.found();
}

QVector<Problem> unused_oem_entries(const QString& file, const QDomElement& root)
{
    Entry_check check(file, oem_key);
    check.consulted(root, oem_profile_keys());
    return check.found();
}
