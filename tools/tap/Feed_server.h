#pragma once

#include "Local_listener.h"
#include "Recording_writer.h"

#include <QString>

#include <list>
#include <memory>

/// Gives everybody who connects to a Unix socket the line from then on, as pcapng. One who does not
/// read loses records, and keeps nobody else waiting.
///
/// Thread: the one of its event loop.
class Feed_server {
public:
    /// How many may read at the same time.
    static constexpr int most_readers = 8;

    Feed_server() = default;
    ~Feed_server();
    Feed_server(const Feed_server&) = delete;
    Feed_server& operator=(const Feed_server&) = delete;

    /// Listens at a path, in the place of a socket that may be there. `order` is what a reader's
    /// recording is written by. Returns an error's text, or nothing.
    QString open(const QString& path, const Recording_writer::Order& order);

    void write(const Line_record& record);

    /// How many read.
    int readers() const { return static_cast<int>(readers_.size()); }

private:
    void take_reader(int descriptor);
    void forget_gone();

    Recording_writer::Order order_;
    std::unique_ptr<Local_listener> listener_;
    std::list<Recording_writer> readers_;
};
