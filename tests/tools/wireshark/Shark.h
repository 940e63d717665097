#pragma once

#include <QHash>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

/// tshark with nothing of its user's, and with the dissector and the live interface where it looks
/// for them by itself.
///
/// tshark takes other directories than its own from the environment only when root does not run
/// it: as root, nobody does.
class Shark {
public:
    /// What it says of one packet: a field's values, in their order, by the field's name.
    using Packet = QHash<QString, QStringList>;

    Shark();

    /// A file beside which nobody else's are, and which it can read.
    QString path(const char* name) const { return directory_.filePath(QLatin1String(name)); }

    /// Starts it.
    void start(QProcess& process, const QStringList& arguments) const;

    /// Runs it to its end, which has to be a good one; what it prints.
    QString run(const QStringList& arguments) const;

    /// Each packet of a file with these fields, after both passes.
    QVector<Packet> fields(const QString& file, const QStringList& names) const;

    /// The numbers of the packets that a display filter lets through.
    QStringList matching(const QString& file, const QString& filter) const;

private:
    QTemporaryDir directory_;
};
