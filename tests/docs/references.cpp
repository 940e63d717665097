// Links and file names in the documents lead somewhere.

#include "Document.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

namespace {

QStringList documents()
{
    QStringList names = {QStringLiteral("README.md"), QStringLiteral("CHANGELOG.md"),
                         QStringLiteral("CONTRIBUTING.md")};
    for (const QString& directory : {QStringLiteral("docs/"), QStringLiteral("docs/measurements/")})
        for (const QString& name : QDir(source_path(directory)).entryList({QStringLiteral("*.md")}))
            names.append(directory + name);
    return names;
}

bool exists(const QString& path)
{
    return QFileInfo::exists(source_path(path));
}

/// Whether a link of a document leads to a file, and to a heading of it if it names one.
bool leads_somewhere(const QString& document, const QString& target)
{
    const QStringList parts = target.split(QLatin1Char('#'));
    const QString directory = QFileInfo(document).path();
    const QString file =
        parts[0].isEmpty() ? document : QDir::cleanPath(directory + QLatin1Char('/') + parts[0]);
    if (!exists(file))
        return false;
    return parts.size() == 1 || Document(file).anchors().contains(parts[1]);
}

} // namespace

class References : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void links_lead_somewhere_data() { add_documents(); }
    void links_lead_somewhere()
    {
        QFETCH(QString, name);
        static const QRegularExpression link(QStringLiteral("\\]\\(([^)\\s]+)\\)"));
        for (const QString& line : Document(name).prose()) {
            auto found = link.globalMatch(line);
            while (found.hasNext()) {
                const QString target = found.next().captured(1);
                if (!target.contains(QLatin1String("://")))
                    QVERIFY2(leads_somewhere(name, target), qPrintable(target));
            }
        }
    }

    void file_names_exist_data() { add_documents(); }
    void file_names_exist()
    {
        QFETCH(QString, name);
        // What begins with a folder of the repository, or is a script of it.
        static const QRegularExpression file_name(
            QStringLiteral("`(?:\\./)?((?:\\.ci|bench|cmake|data|docs|src|tests|tools)/[\\w./-]*|"
                           "(?:demo|test)\\.sh)(?=[ `])"));
        for (const QString& line : Document(name).prose()) {
            auto found = file_name.globalMatch(line);
            while (found.hasNext()) {
                const QString path = found.next().captured(1);
                QVERIFY2(exists(path), qPrintable(path));
            }
        }
    }

    void named_tests_exist_data() { add_documents(); }
    void named_tests_exist()
    {
        QFETCH(QString, name);
        static const QRegularExpression test(
            QStringLiteral("`(docs|faults|functional|unit)\\.(\\w+)`"));
        for (const QString& line : Document(name).prose()) {
            auto found = test.globalMatch(line);
            while (found.hasNext()) {
                const QStringList parts = found.next().capturedTexts();
                const QString path = QStringLiteral("tests/%1/%2.cpp").arg(parts[1], parts[2]);
                QVERIFY2(exists(path), qPrintable(QStringLiteral("%1 names the test %2, and there "
                                                                 "is no %3")
                                                      .arg(name, parts[0], path)));
            }
        }
    }

    void readme_leads_to_every_document()
    {
        const QString readme =
            Document(QStringLiteral("README.md")).prose().join(QLatin1Char('\n'));
        for (const QString& name : documents()) {
            if (name.startsWith(QLatin1String("docs/")) && name.count(QLatin1Char('/')) == 1)
                QCOMPARE_CONTAINS(readme, QLatin1Char('(') + name);
        }
    }

private:
    static void add_documents()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : documents())
            QTest::newRow(qPrintable(name)) << name;
    }
};

QTEST_GUILESS_MAIN(References)
#include "references.moc"
