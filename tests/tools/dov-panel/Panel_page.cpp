#include "Panel_page.h"

#include "Waiting.h"

#include <QJsonDocument>
#include <QNetworkRequest>

Panel_page::Panel_page(const Panel_process& panel) : socket_(QString::fromLatin1(panel.origin()))
{
    connect(&socket_, &QWebSocket::textMessageReceived, this, &Panel_page::take);
    QNetworkRequest request(QUrl(QStringLiteral("ws://127.0.0.1:%1/live").arg(panel.port())));
    request.setRawHeader("Sec-WebSocket-Protocol", "dov-panel.1");
    socket_.open(request);
}

bool Panel_page::is_open() const
{
    return socket_.state() == QAbstractSocket::ConnectedState;
}

bool Panel_page::opens()
{
    return wait_for([this] { return !last(QStringLiteral("values")).isEmpty(); });
}

int Panel_page::close_code()
{
    const bool is_closed =
        wait_for([this] { return socket_.state() == QAbstractSocket::UnconnectedState; });
    return is_closed ? static_cast<int>(socket_.closeCode()) : 0;
}

void Panel_page::send(const QByteArray& text)
{
    socket_.sendTextMessage(QString::fromUtf8(text));
}

QJsonObject Panel_page::ask(QJsonObject request)
{
    const int id = ++last_id_;
    request.insert(QStringLiteral("id"), id);
    send(QJsonDocument(request).toJson(QJsonDocument::Compact));
    (void)wait_for([&] { return answers_.contains(id) || !is_open(); });
    return answers_.value(id);
}

QString Panel_page::error_of(const QJsonObject& request)
{
    const QJsonObject answer = ask(request);
    const bool is_good = answer.value(QStringLiteral("ok")).toBool();
    const QString error = answer.value(QStringLiteral("error")).toString();
    return is_good || !error.isEmpty() ? error : QStringLiteral("no answer");
}

QString Panel_page::take_token(const QByteArray& token)
{
    return error_of({{QStringLiteral("type"), QStringLiteral("token")},
                     {QStringLiteral("token"), QString::fromLatin1(token)}});
}

QString Panel_page::bench(const QString& line)
{
    return error_of(
        {{QStringLiteral("type"), QStringLiteral("bench")}, {QStringLiteral("line"), line}});
}

QString Panel_page::watch(bool frames)
{
    return error_of(
        {{QStringLiteral("type"), QStringLiteral("watch")}, {QStringLiteral("frames"), frames}});
}

QJsonObject Panel_page::call(const QString& path, const QString& method,
                             const QJsonArray& arguments)
{
    const QJsonArray objects =
        last(QStringLiteral("hello")).value(QStringLiteral("objects")).toArray();
    const QJsonArray kinds = last(QStringLiteral("hello")).value(QStringLiteral("kinds")).toArray();
    const QJsonValue kind = objects[object(path)].toObject().value(QStringLiteral("kind"));
    QString interface;
    for (const QJsonValue& each : kinds)
        if (each.toObject().value(QStringLiteral("name")) == kind)
            interface = each.toObject().value(QStringLiteral("interface")).toString();
    return ask({{QStringLiteral("type"), QStringLiteral("call")},
                {QStringLiteral("path"), QStringLiteral("/com/quorin/system/") + path},
                {QStringLiteral("interface"), interface},
                {QStringLiteral("method"), method},
                {QStringLiteral("arguments"), arguments}});
}

QString Panel_page::partner(const QString& name) const
{
    return last(QStringLiteral("partners")).value(name).toString();
}

int Panel_page::object(const QString& path) const
{
    const QJsonArray objects =
        last(QStringLiteral("hello")).value(QStringLiteral("objects")).toArray();
    for (int i = 0; i < static_cast<int>(objects.size()); ++i)
        if (objects[i].toObject().value(QStringLiteral("path")).toString() ==
            QStringLiteral("/com/quorin/system/") + path)
            return i;
    return -1;
}

QJsonValue Panel_page::value(const QString& path, const QString& member) const
{
    return values_.value({object(path), member}, QJsonValue(QJsonValue::Undefined));
}

bool Panel_page::knows(const QString& path, const QString& member, const QJsonValue& value) const
{
    return this->value(path, member) == value;
}

void Panel_page::take(const QString& text)
{
    const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
    const QString type = message.value(QStringLiteral("type")).toString();
    if (type.isEmpty())
        report::give_up("no message: " + text.toUtf8());
    last_[type] = message;
    ++counts_[type];
    if (type == QStringLiteral("answer"))
        answers_[message.value(QStringLiteral("to")).toInt()] = message;
    for (const QJsonValue& each : message.value(QStringLiteral("values")).toArray())
        values_[{each.toArray()[0].toInt(), each.toArray()[1].toString()}] = each.toArray()[2];
    for (const QJsonValue& frame : message.value(QStringLiteral("frames")).toArray())
        frames_.append(frame);
    dropped_ += message.value(QStringLiteral("dropped")).toInt();
}
