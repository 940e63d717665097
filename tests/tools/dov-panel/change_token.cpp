// The token, and the file that keeps it.

#include "Change_token.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class Token_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void a_token_is_itself_and_nothing_else()
    {
        const Change_token token = Change_token::make();
        QCOMPARE(token.text().size(), 32);
        QVERIFY(token.is(token.text()));
        QVERIFY(!token.is({}));
        QVERIFY(!token.is(token.text() + '0'));
        QVERIFY(!token.is(token.text().left(31)));
        QVERIFY(!token.is(Change_token::make().text()));
        QVERIFY(!Change_token().is({}));
    }

    void a_token_file_is_for_its_owner()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("token"));
        Change_token token;
        QCOMPARE(Change_token::keep_in(path, token), QString());
        Change_token again;
        QCOMPARE(Change_token::keep_in(path, again), QString());
        QCOMPARE(again.text(), token.text());
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ReadGroup));
        QCOMPARE(Change_token::keep_in(path, again),
                 path + QStringLiteral(": others than its owner can read or write it"));
        QVERIFY(QFile::remove(path));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("short\n");
        file.close();
        QCOMPARE(Change_token::keep_in(path, again),
                 path + QStringLiteral(": a token has at least 16 characters"));
    }
};

QTEST_GUILESS_MAIN(Token_test)
#include "change_token.moc"
