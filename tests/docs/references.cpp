// Links and file names in the documents lead somewhere.

#include "Document.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
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

bool has_word(const QString& text, const QString& word)
{
    return QRegularExpression(QStringLiteral("\\b%1\\b").arg(word)).match(text).hasMatch();
}

/// Whether a list of tests has one of a kind and a name.
bool is_test(const QString& kind, const QString& name)
{
    QDirIterator it(source_path(QStringLiteral("tests")), {QStringLiteral("CMakeLists.txt")},
                    QDir::Files, QDirIterator::Subdirectories);
    static const QRegularExpression comment(QStringLiteral("#.*"));
    while (it.hasNext()) {
        QFile list(it.next());
        QString text =
            list.open(QIODevice::ReadOnly) ? QString::fromUtf8(list.readAll()) : QString();
        text.remove(comment);
        if (has_word(text, kind) && has_word(text, name))
            return true;
    }
    return false;
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
        QStringList astray;
        for (const QString& line : Document(name).prose()) {
            auto found = link.globalMatch(line);
            while (found.hasNext()) {
                const QString target = found.next().captured(1);
                if (!target.contains(QLatin1String("://")) && !leads_somewhere(name, target))
                    astray.append(target);
            }
        }
        QCOMPARE_EMPTY(astray);
    }

    void file_names_exist_data() { add_documents(); }
    void file_names_exist()
    {
        QFETCH(QString, name);
        // What begins with a folder of the repository, or is a script of it.
        static const QRegularExpression file_name(
            QStringLiteral("`(?:\\./)?((?:\\.ci|bench|cmake|data|docs|src|tests|tools)/[\\w./-]*|"
                           "(?:demo|test)\\.sh)(?=[ `])"));
        QStringList missing;
        for (const QString& line : Document(name).prose()) {
            auto found = file_name.globalMatch(line);
            while (found.hasNext()) {
                const QString path = found.next().captured(1);
                if (!exists(path))
                    missing.append(path);
            }
        }
        QCOMPARE_EMPTY(missing);
    }

    void named_tests_exist_data() { add_documents(); }
    void named_tests_exist()
    {
        QFETCH(QString, name);
        static const QRegularExpression test(QStringLiteral(
            "`(bench|common|config_check|controller|docs|faults|functional|fuzz|line|"
            "packaging|replay|report|tap|unit|watch|wireshark)\\.(?!js`|py`)(\\w+)`"));
        QStringList missing;
        for (const QString& line : Document(name).prose()) {
            auto found = test.globalMatch(line);
            while (found.hasNext()) {
                const QStringList parts = found.next().capturedTexts();
                if (!is_test(parts[1], parts[2]))
                    missing.append(parts[0]);
            }
        }
        QCOMPARE_EMPTY(missing);
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
