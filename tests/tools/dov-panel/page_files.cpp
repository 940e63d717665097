// The files of the page.

#include "Page_files.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class Files_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void files_are_those_below_their_directory()
    {
        const QTemporaryDir directory;
        for (const char* name : {"index.html", "a.js", ".b.js", "c.txt"}) {
            QFile file(directory.filePath(QLatin1String(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(name);
        }
        const Page_files files(directory.path());
        QVERIFY(files.find("/").has_value());
        QCOMPARE(files.find("/")->bytes, QByteArray("index.html"));
        QCOMPARE(files.find("/a.js")->type, QByteArray("text/javascript; charset=utf-8"));
        for (const QByteArray& path :
             {QByteArray(""), QByteArray("a.js"), QByteArray("/.b.js"), QByteArray("/c.txt"),
              QByteArray("/b.js"), QByteArray("/../a.js"), QByteArray("/./a.js"),
              QByteArray("//a.js"), QByteArray("/a.js/"), QByteArray("/a.js?x.js"),
              QByteArray("/a.js\0.js", 9)})
            QVERIFY2(!files.find(path).has_value(), path.constData());
    }
};

QTEST_GUILESS_MAIN(Files_test)
#include "page_files.moc"
