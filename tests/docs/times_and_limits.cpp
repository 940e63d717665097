// The document of times and limits has every such constant of the sources, with its value.

#include "Document.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <utility>

namespace {

/// A sum of products of numbers and other constants, as the sources write them; -1 for anything
/// else.
qint64 value_of(const QString& expression, const QMap<QString, QString>& constants)
{
    qint64 product = 1;
    for (const QString& part : expression.split(QLatin1Char('*'))) {
        bool good = false;
        const QString factor = part.trimmed();
        qint64 number = factor.toLongLong(&good);
        if (!good && constants.contains(factor))
            number = value_of(constants[factor], {});
        else if (!good)
            return -1;
        product *= number;
    }
    return product;
}

/// "16 KiB" in bytes, "3 s" in the unit of a constant of that name.
qint64 value_of_text(const QString& text, const QString& constant)
{
    const qint64 number = text.section(QLatin1Char(' '), 0, 0).toLongLong();
    const QString unit = text.section(QLatin1Char(' '), 1);
    if (unit == QLatin1String("KiB"))
        return number * 1024;
    if (unit == QLatin1String("MiB"))
        return number * 1024 * 1024;
    if (unit == QLatin1String("s") && constant.endsWith(QLatin1String("_ms")))
        return number * 1000;
    return number;
}

} // namespace

class Times_and_limits : public QObject {
    Q_OBJECT

    struct Row {
        QString value;
        QString constant;
        QString file;
    };

    QVector<Row> rows_;
    QMap<QString, QMap<QString, QString>> constants_; ///< by file, by name

    void read_document()
    {
        static const QRegularExpression place(QStringLiteral("`(\\w+)` in `([\\w./]+)`"));
        const Document document(QStringLiteral("docs/times-and-limits.md"));
        for (const Document::Section& section : document.sections()) {
            if (section.level == 1)
                continue;
            for (const QStringList& row : section.rows()) {
                const auto match = place.match(row[2]);
                QVERIFY2(match.hasMatch(), qPrintable(row.join(QLatin1Char('|'))));
                rows_.append({row[1], match.captured(1), match.captured(2)});
            }
        }
    }

    void read_sources()
    {
        // Of a file or a class; what a function has for itself is nobody else's.
        static const QRegularExpression constant(
            QStringLiteral(
                "^(?:inline |\\s+static )?constexpr (?:int|long|qint64|uint|unsigned int|"
                "unsigned long|std::size_t) (\\w+) = ([^;]+);"),
            QRegularExpression::MultilineOption);
        const QString root = source_path(QString());
        QDirIterator it(source_path(QStringLiteral("src")),
                        {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
            const QString text = QString::fromUtf8(file.readAll());
            auto found = constant.globalMatch(text);
            while (found.hasNext()) {
                const auto match = found.next();
                constants_[it.filePath().mid(root.size())][match.captured(1)] = match.captured(2);
            }
        }
    }

    bool is_documented(const QString& file, const QString& constant) const
    {
        return std::any_of(rows_.begin(), rows_.end(), [&](const Row& row) {
            return row.file == file && row.constant == constant;
        });
    }

private Q_SLOTS:
    void initTestCase()
    {
        read_document();
        read_sources();
    }

    void values_are_those_of_the_constants()
    {
        QCOMPARE_GT(rows_.size(), 20);
        QStringList wrong;
        for (const Row& row : std::as_const(rows_)) {
            const auto constants = constants_.value(row.file);
            const QString place = QStringLiteral("%1 in %2").arg(row.constant, row.file);
            if (!constants.contains(row.constant))
                wrong.append(QStringLiteral("the document has %1, the sources do not").arg(place));
            else if (value_of(constants[row.constant], constants) !=
                     value_of_text(row.value, row.constant))
                wrong.append(QStringLiteral("%1 is %2, the document says %3")
                                 .arg(place, constants[row.constant], row.value));
        }
        QCOMPARE_EMPTY(wrong);
    }

    void every_time_and_limit_is_in_the_document()
    {
        static const QRegularExpression named(QStringLiteral(
            "(_ms|_us|_baud|_baud_rate)$|^(max_|most_)|^(longest|backlog|turn|capacity)$"));
        QStringList missing;
        for (auto file = constants_.cbegin(); file != constants_.cend(); ++file) {
            for (auto constant = file->cbegin(); constant != file->cend(); ++constant) {
                // One that is defined by another is that one.
                if (named.match(constant.key()).hasMatch() &&
                    value_of(constant.value(), *file) >= 0 &&
                    !is_documented(file.key(), constant.key()))
                    missing.append(QStringLiteral("%1 = %2 in %3, which the document lacks")
                                       .arg(constant.key(), constant.value(), file.key()));
            }
        }
        QCOMPARE_EMPTY(missing);
    }
};

QTEST_GUILESS_MAIN(Times_and_limits)
#include "times_and_limits.moc"
