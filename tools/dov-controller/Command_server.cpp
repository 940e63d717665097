#include "Command_server.h"

#include "Command.h"

#include <unistd.h>

Command_server::Command_server(Bench_controller& bench) : bench_(bench)
{
    connect(&listener_, &Local_listener::connected, this, &Command_server::take);
}

QString Command_server::open(const QString& path)
{
    return listener_.open(path);
}

void Command_server::tell(const QString& text)
{
    const QByteArray line = text.toUtf8() + '\n';
    for (Client& client : clients_)
        client.connection.write(line);
}

void Command_server::take(int descriptor)
{
    if (clients_.size() >= most_clients) {
        ::close(descriptor);
        return;
    }
    Client& client = clients_.emplace_back(descriptor);
    connect(&client.connection, &Local_connection::received, this,
            [this, &client](const QByteArray& bytes) { take_bytes(client, bytes); });
    // Queued: it may be the connection itself that tells this.
    connect(&client.connection, &Local_connection::ended, this, &Command_server::forget_gone,
            Qt::QueuedConnection);
}

void Command_server::take_bytes(Client& client, const QByteArray& bytes)
{
    client.lines.add(bytes);
    while (const auto line = client.lines.next())
        client.connection.write(answer_to(*line));
    if (!client.lines.is_too_long())
        return;
    client.connection.close();
    QMetaObject::invokeMethod(this, &Command_server::forget_gone, Qt::QueuedConnection);
}

QByteArray Command_server::answer_to(const QByteArray& line)
{
    Words words(line);
    if (words.at_end())
        return "ok\n";
    const Action action = parse_command(words);
    if (!action)
        return QStringLiteral("error: column %1: %2\n")
            .arg(words.error_column())
            .arg(words.error())
            .toUtf8();
    QByteArray printed;
    bench_.carry_out(action, [&printed](const QString& text) { printed += text.toUtf8() + '\n'; });
    return printed + "ok\n";
}

void Command_server::forget_gone()
{
    clients_.remove_if([](const Client& client) { return !client.connection.is_open(); });
}
