// What pages say: requests, and what is wrong with what is none.

#include "Page_request.h"

#include <QTest>

class Page_request_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void messages_are_read()
    {
        const auto token = read_page_message(R"({"type":"token","id":7,"token":"secret"})");
        QVERIFY(token.request.has_value());
        QCOMPARE(static_cast<int>(token.request->kind),
                 static_cast<int>(Page_request::Kind::token));
        QCOMPARE(token.request->id.value_or(0), qint64{7});
        QCOMPARE(token.request->token, QByteArray("secret"));
        const auto watch = read_page_message(R"({"type":"watch","frames":true,"more":[1]})");
        QVERIFY(watch.request.has_value());
        QVERIFY(watch.request->wants_frames);
        QVERIFY(!watch.request->id.has_value());
        const auto history =
            read_page_message(R"({"type":"history","id":2,"object":3,"member":"is_on"})");
        QVERIFY(history.request.has_value());
        QCOMPARE(history.request->object, 3);
        QCOMPARE(history.request->member, QStringLiteral("is_on"));
        const auto call = read_page_message(
            R"({"type":"call","id":3,"path":"/p","interface":"i","method":"m","arguments":[1,"x"]})");
        QVERIFY(call.request.has_value());
        QCOMPARE(call.request->path, QStringLiteral("/p"));
        QCOMPARE(call.request->interface, QStringLiteral("i"));
        QCOMPARE(call.request->method, QStringLiteral("m"));
        QCOMPARE(static_cast<int>(call.request->arguments.size()), 2);
        const auto bench = read_page_message(R"({"type":"bench","id":4,"line":"button press"})");
        QVERIFY(bench.request.has_value());
        QCOMPARE(bench.request->line, QByteArray("button press"));
    }

    void what_is_wrong_with_a_message_is_told_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("has_id");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* text, bool has_id, const char* error) {
            QTest::newRow(text) << QByteArray(text) << has_id << QString::fromLatin1(error);
        };
        row("", false, "no object of JSON");
        row("[1]", false, "no object of JSON");
        const char* const twice = "a name is there twice";
        row(R"({"id":1,"type":"token","token":"x","id":1})", false, twice);
        row(R"({"id":1,"type":"token","token":"x","a":[1],"a" : 2})", false, twice);
        row(R"({"id":1,"type":"token","token":"x","a":[1],"\u0061":2})", false, twice);
        row(R"({"id":1,"type":"x","a":{"b":[{"c":[],"c":[]}]}})", false, twice);
        row(R"({"id":1,"type":"x","b":1,"a":[{"b":{}},{"b":{"a":"b"}}],"c":"b"})", true,
            "there is no such type");
        row(R"({"id":1,"type":"x","a":"\"b\":{\"b\":","b":"}"})", true, "there is no such type");
        row(R"({"id":1,"type":"x","a)", false, "no object of JSON");
        row("}]{", false, "no object of JSON");
        row(R"({"id":1})", true, "there is no such type");
        row(R"({"id":1.5,"type":"x"})", false, "there is no such type");
        row(R"({"id":1e300,"type":"x"})", false, "there is no such type");
        row(R"({"id":1,"type":"token"})", true, "\"token\" is not a text");
        row(R"({"id":1,"type":"watch","frames":0})", true, "\"frames\" is not true or false");
        row(R"({"id":1,"type":"history","object":4294967296,"member":"x"})", true,
            "\"object\" is not a number from 0 on");
        row(R"({"id":1,"type":"call","path":"","interface":"","method":"","arguments":{}})", true,
            "\"arguments\" is not a list");
        row(R"({"id":1,"type":"bench","line":"a\u0000b"})", true, "\"line\" is not one line");
        row(R"({"id":1,"type":"bench","line":"a\rb"})", true, "\"line\" is not one line");
    }

    void a_zero_hides_no_name()
    {
        const char text[] = "{\"type\":\"\0\",\"a\":[1],\"a\":2}";
        const Page_message message = read_page_message(QByteArray(text, sizeof text - 1));
        QCOMPARE(message.error, QStringLiteral("a name is there twice"));
    }

    void what_is_wrong_with_a_message_is_told()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, has_id);
        QFETCH(QString, error);
        const Page_message message = read_page_message(text);
        QVERIFY(!message.request.has_value());
        QCOMPARE(message.id.has_value(), has_id);
        QCOMPARE(message.error, error);
    }
};

QTEST_GUILESS_MAIN(Page_request_test)
#include "page_request.moc"
