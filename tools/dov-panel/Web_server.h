#pragma once

#include "Page_files.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

/// A text for pages. One may go to many of them: it is made once, and kept until the last has it.
class Page_text {
public:
    explicit Page_text(const QByteArray& text);

    std::size_t size() const;
    /// The text; what stands before it is the library's, for what the protocol puts there.
    uchar* data() const;

private:
    std::shared_ptr<QByteArray> bytes_;
};

/// Serves the pages: HTTP and WebSocket by libwebsockets, in a thread that does nothing else.
///
/// A thread, for Debian builds the library without a poll of the caller's, and of the event loops
/// that it can join Qt's is none. So a bus or a disk that hangs keeps no page waiting, and a page
/// keeps nobody waiting: between the threads are bounded queues, and lws_cancel_service().
///
/// Answers nothing but what is asked for by one of its own names (Host), and opens a WebSocket for
/// nothing but a page of its own (Origin): another site that a browser shows gets nothing here.
///
/// Thread: the one of its event loop, where its signals are emitted, too.
class Web_server : public QObject {
    Q_OBJECT
public:
    /// A page that is open; never the same again.
    using Page = quint64;

    static constexpr int most_pages = 16;
    /// What a message of a page's has at most, in bytes.
    static constexpr std::size_t most_message = std::size_t{64} * 1024;
    /// What waits for a page before it counts as slow, in bytes.
    static constexpr std::size_t slow_bytes = std::size_t{4} << 20;
    /// What waits for a page at most: one that asks on and does not read is closed.
    static constexpr std::size_t most_waiting = 2 * slow_bytes;
    /// What a page may have said that has not been taken yet: messages, and bytes.
    static constexpr int most_unheard = 256;
    static constexpr std::size_t most_unheard_bytes = std::size_t{1} << 20;

    /// How many recordings are saved at the same time.
    static constexpr int most_recordings = 4;

    /// A text, a piece at each call; an empty one behind the last.
    using Pieces = std::function<QByteArray()>;

    /// Why a page is closed, by RFC 6455.
    enum Close_code : quint16 {
        policy_violation = 1008,
        message_too_big = 1009,
    };

    struct Order {
        QString address = QStringLiteral("127.0.0.1"); ///< of the loopback interface
        int port = 8037;                               ///< 0: any that is free
        Page_files files;
        /// What /recording answers; called in the server's thread, as its pieces are.
        std::function<Pieces()> recording;
    };

    Web_server();
    /// Closes all connections.
    ~Web_server() override;
    Web_server(const Web_server&) = delete;
    Web_server& operator=(const Web_server&) = delete;

    /// Begins to listen. Returns an error's text, or nothing.
    QString start(const Order& order);

    int port() const;

    /// Sends a page a text; nothing to one that is not there any more.
    void send(Page page, const Page_text& text);

    /// Whether so much waits for a page that it is to get no more than it needs.
    bool is_slow(Page page) const { return waiting_bytes(page) > slow_bytes; }

    /// Whether a page that was slow has taken nearly everything.
    bool has_caught_up(Page page) const { return waiting_bytes(page) < slow_bytes / 16; }

    void close(Page page, Close_code code);

Q_SIGNALS:
    void opened(quint64 page);
    void closed(quint64 page);
    void received(quint64 page, const QByteArray& text);

private:
    class Work;

    std::size_t waiting_bytes(Page page) const;

    std::unique_ptr<Work> work_;
};
