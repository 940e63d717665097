#pragma once

#include "Bench_controller.h"
#include "Line_splitter.h"
#include "Local_connection.h"
#include "Local_listener.h"

#include <list>

/// Gives everybody who connects to a local socket what standard input and output have: takes
/// commands, one a line, and tells what is printed.
///
/// Each line is answered by what it prints and then by "ok", or by "error: " and why. Who does not
/// read, or sends a line that is too long, is dropped.
///
/// Thread: the one of its event loop.
class Command_server : public QObject {
    Q_OBJECT
public:
    /// How many may be connected at the same time.
    static constexpr std::size_t most_clients = 8;
    /// What a line may have, in bytes.
    static constexpr int most_line = 64 * 1024;

    /// The controller outlives it.
    explicit Command_server(Bench_controller& bench);

    /// Listens at a path. Returns an error's text, or nothing.
    QString open(const QString& path);

    /// Tells everybody a text, as standard output has it.
    void tell(const QString& text);

private:
    struct Client {
        explicit Client(int descriptor) : connection(descriptor), lines(most_line) {}

        Local_connection connection;
        Line_splitter lines;
    };

    void take(int descriptor);
    void take_bytes(Client& client, const QByteArray& bytes);
    QByteArray answer_to(const QByteArray& line);
    void forget_gone();

    Bench_controller& bench_;
    Local_listener listener_;
    std::list<Client> clients_;
};
