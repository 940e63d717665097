// The version stands in CMakeLists.txt; what repeats it says the same.

#include "Document.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

class Version : public QObject {
    Q_OBJECT

    static QString first_match(const QString& path, const char* pattern)
    {
        static const auto options = QRegularExpression::MultilineOption;
        const QString text = Document(path).lines().join(QLatin1Char('\n'));
        return QRegularExpression(QLatin1String(pattern), options).match(text).captured(1);
    }

private Q_SLOTS:
    void debian_changelog_begins_with_it()
    {
        QCOMPARE(first_match(QStringLiteral("debian/changelog"), "^dov-dbus \\(([^)]*)\\)"),
                 QStringLiteral(DOV_VERSION));
    }

    void newest_release_of_the_changes_has_it()
    {
        QCOMPARE(
            first_match(QStringLiteral("CHANGELOG.md"), "^## ([0-9.]+) - \\d{4}-\\d\\d-\\d\\d$"),
            QStringLiteral(DOV_VERSION));
    }

    void changes_begin_with_those_that_are_not_released()
    {
        QCOMPARE(first_match(QStringLiteral("CHANGELOG.md"), "^## (.*)$"),
                 QStringLiteral("Unreleased"));
    }

    void every_heading_of_the_changes_is_a_release()
    {
        static const QRegularExpression release(
            QStringLiteral("^(Unreleased|\\d+\\.\\d+\\.\\d+ - \\d{4}-\\d\\d-\\d\\d)$"));
        const Document changes(QStringLiteral("CHANGELOG.md"));
        for (const Document::Section& section : changes.sections())
            QVERIFY2(section.level != 2 || release.match(section.title).hasMatch(),
                     qPrintable(section.title));
    }
};

QTEST_GUILESS_MAIN(Version)
#include "version.moc"
