// The document of the log has every line that the program logs, and no other.

#include "Document.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

/// A text with "*" for what is filled in.
QString with_gaps(const QString& row)
{
    static const QRegularExpression gap(QStringLiteral("<[^<>]*>"));
    return QString(row).replace(gap, QStringLiteral("*"));
}

/// The literals of a statement, "*" for everything between them.
QString literals(const QString& statement)
{
    static const QRegularExpression piece(QStringLiteral("\"((?:[^\"\\\\]|\\\\.)*)\""));
    static const QRegularExpression choice(QStringLiteral("\\([^()]*\\?[^()]*\\)"));
    QStringList texts;
    for (const QString& part :
         QString(statement).replace(choice, QStringLiteral("chosen")).split(QLatin1String("<<"))) {
        const auto match = piece.match(part);
        texts.append(match.hasMatch() ? match.captured(1) : QStringLiteral("*"));
    }
    return texts.join(QString()).replace(QLatin1String("**"), QLatin1String("*"));
}

/// What one statement can log: two lines when it begins with a choice between two texts.
QStringList lines_of(const QString& statement)
{
    static const QRegularExpression begins_with_choice(
        QStringLiteral("^\\s*\\(\\w+ \\? \"([^\"]*)\"\\s*: \"([^\"]*)\"\\)\\s*<<(.*)$"),
        QRegularExpression::DotMatchesEverythingOption);
    const auto match = begins_with_choice.match(statement);
    if (!match.hasMatch())
        return {literals(statement)};
    const QString rest = literals(match.captured(3));
    return {match.captured(1) + rest, match.captured(2) + rest};
}

} // namespace

class Log : public QObject {
    Q_OBJECT

    QMap<QString, QString> documented_; ///< row by its text with gaps
    QMap<QString, QString> logged_;     ///< file by text with gaps

    void read_document()
    {
        const Document document(QStringLiteral("docs/log.md"));
        for (const Document::Section& section : document.sections()) {
            for (const QStringList& row : section.rows()) {
                QString text = row[0];
                text.remove(QLatin1Char('`'));
                documented_.insert(with_gaps(text).trimmed(), text);
            }
        }
    }

    void read_sources()
    {
        static const QRegularExpression statement(
            QStringLiteral("\\blog\\(\\)\\s*<<(.*?)<<\\s*std::endl"),
            QRegularExpression::DotMatchesEverythingOption);
        QDirIterator it(source_path(QStringLiteral("src")), {QStringLiteral("*.cpp")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
            const QString text = QString::fromUtf8(file.readAll());
            auto found = statement.globalMatch(text);
            while (found.hasNext()) {
                for (const QString& line : lines_of(found.next().captured(1)))
                    logged_.insert(line.trimmed(), it.fileInfo().fileName());
            }
        }
        // Written in pieces, by Interface_base.
        logged_.insert(QStringLiteral("PWR:on=* low-power=* sleep=*  * for *:*"),
                       QStringLiteral("Interface_base.cpp"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        read_document();
        read_sources();
        QCOMPARE_GT(logged_.size(), 20);
    }

    void every_line_is_in_the_document()
    {
        QStringList missing;
        for (auto line = logged_.cbegin(); line != logged_.cend(); ++line) {
            if (!documented_.contains(line.key()))
                missing.append(QStringLiteral("%1, which %2 logs and docs/log.md lacks")
                                   .arg(line.key(), line.value()));
        }
        QCOMPARE_EMPTY(missing);
    }

    void the_document_has_no_other_line()
    {
        QStringList wrong;
        for (auto line = documented_.cbegin(); line != documented_.cend(); ++line) {
            if (!logged_.contains(line.key()))
                wrong.append(
                    QStringLiteral("%1, which docs/log.md has and nothing logs").arg(line.value()));
        }
        QCOMPARE_EMPTY(wrong);
    }
};

QTEST_GUILESS_MAIN(Log)
#include "log.moc"
