#include "Web_server.h"

#include "Signal_free_thread.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

#include <arpa/inet.h>
#include <libwebsockets.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const char* const protocol_name = "dov-panel.1";
const char* const live_path = "/live";

/// Connections of all kinds: the pages' own, and those that their files come by.
constexpr unsigned most_connections = 128;
constexpr int keep_alive_s = 30;
constexpr unsigned request_s = 10;

/// A reader that takes nothing of an answer for so long is gone. The kernel takes up to four
/// megabytes for a slow one, and more only when a third of that has left.
constexpr int reader_s = 60;

/// A browser that is gone without a word is missed after so long.
constexpr uint16_t ping_s = 20;
constexpr uint16_t hang_up_s = 45;

/// What of an answer's body is written at once.
constexpr std::size_t body_piece = 16 * 1024;

/// What every answer says, whatever it is: nothing from elsewhere runs in the page, and nobody
/// else may show it, read it, or keep it.
constexpr std::pair<const char*, const char*> every_header[] = {
    {"content-security-policy:",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
     "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"x-content-type-options:", "nosniff"},
    {"referrer-policy:", "no-referrer"},
    {"cross-origin-resource-policy:", "same-origin"},
    {"cache-control:", "no-cache"},
};

const char* const plain_text_type = "text/plain; charset=utf-8";

struct Answer {
    unsigned status = HTTP_STATUS_OK;
    QByteArray type = plain_text_type;
    QByteArray body;
    std::vector<std::pair<const char*, const char*>> headers = {};
    /// In the place of the body, when nobody knows yet how long that is.
    Web_server::Pieces pieces = nullptr;
};

Answer refusal(unsigned status, const char* text)
{
    return {status, plain_text_type, QByteArray(text) + '\n'};
}

/// A header's value, in lower case; empty without it, and for one that is too long for any use
/// here.
QByteArray header_of(lws* connection, lws_token_indexes token)
{
    std::array<char, 256> value{};
    const int size = lws_hdr_copy(connection, value.data(), static_cast<int>(value.size()), token);
    return size > 0 ? QByteArray(value.data(), size).toLower() : QByteArray();
}

/// Why nobody can listen there; empty when one can.
QString listening_error(const QByteArray& address, int port)
{
    const bool is_v6 = address.contains(':');
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(static_cast<uint16_t>(port));
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = v4.sin_port;
    (void)inet_pton(AF_INET, address.constData(), &v4.sin_addr);
    (void)inet_pton(AF_INET6, address.constData(), &v6.sin6_addr);
    const int descriptor = ::socket(is_v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    (void)::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const int result = is_v6 ? ::bind(descriptor, reinterpret_cast<sockaddr*>(&v6), sizeof v6)
                             : ::bind(descriptor, reinterpret_cast<sockaddr*>(&v4), sizeof v4);
    const bool is_good = descriptor >= 0 && result == 0 && ::listen(descriptor, 1) == 0;
    QString why = is_good ? QString() : QString::fromLocal8Bit(std::strerror(errno));
    if (descriptor >= 0)
        ::close(descriptor);
    return why;
}

} // namespace

Page_text::Page_text(const QByteArray& text)
    : bytes_(std::make_shared<QByteArray>(QByteArray(LWS_PRE, '\0') + text))
{
    bytes_->detach();
}

std::size_t Page_text::size() const
{
    return static_cast<std::size_t>(bytes_->size()) - LWS_PRE;
}

uchar* Page_text::data() const
{
    return reinterpret_cast<uchar*>(bytes_->data()) + LWS_PRE;
}

/// What the thread works on. Its functions are the thread's, but for those that say otherwise.
class Web_server::Work {
public:
    Work(Web_server& owner, const Order& order) : owner_(owner), order_(order) {}
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    // Of the owner's thread.
    QString start();
    int port() const { return port_; }
    void send(Page page, const Page_text& text);
    std::size_t waiting_bytes(Page page) const;
    void close(Page page, Close_code code);

private:
    /// A page, and what waits for it. The mutex guards all but the two that are said otherwise.
    struct Open_page {
        lws* connection = nullptr;
        std::deque<Page_text> waiting;
        std::size_t waiting_bytes = 0;
        quint16 close_code = 0; ///< 0: stays open
        QByteArray message;     ///< the pieces of one that have come; of the server's thread
        int unheard = 0;
        std::size_t unheard_bytes = 0;
    };

    /// The body of an answer that is on its way.
    struct Body {
        QByteArray bytes; ///< all, or the present piece
        Pieces pieces;    ///< what comes behind them; none for none
        bool keeps_open = false;
        int sent = 0; ///< of the bytes
    };

    static int callback(lws* connection, lws_callback_reasons reason, void* session, void* in,
                        std::size_t size);
    int take(lws* connection, lws_callback_reasons reason, const void* in, std::size_t size);

    void run();
    QByteArray refusal_of_host(lws* connection) const;
    int answer_request(lws* connection, const QByteArray& path);
    Answer answer_of(lws* connection, int method, const QByteArray& path) const;
    Answer recording() const;
    int begin_answer(lws* connection, const Answer& answer, bool has_body, bool keeps_open);
    int write_body(lws* connection);
    static int end_answer(lws* connection, bool keeps_open);
    int confirm_upgrade(lws* connection, const QByteArray& protocol);
    Answer refusal_of_upgrade(lws* connection, const QByteArray& protocol) const;

    void add_page(lws* connection);
    void remove_page(lws* connection);
    int receive(lws* connection, const char* bytes, std::size_t size);
    void hand_over(Page page, const QByteArray& text);
    int write_waiting(lws* connection);
    void look_at_pages();
    int close_connection(lws* connection, quint16 code);

    Web_server& owner_;
    Order order_;
    QByteArray address_;
    std::vector<QByteArray> hosts_; ///< the names of this server
    lws_context* context_ = nullptr;
    int port_ = 0;
    std::thread thread_;
    std::atomic<bool> is_to_end_{false};

    std::map<lws*, Body> bodies_;
    std::map<lws*, Page> numbers_;
    Page last_page_ = 0;

    mutable std::mutex mutex_;
    std::map<Page, Open_page> pages_;
};

Web_server::Web_server() = default;
Web_server::~Web_server() = default;

QString Web_server::start(const Order& order)
{
    work_ = std::make_unique<Work>(*this, order);
    return work_->start();
}

int Web_server::port() const
{
    return work_->port();
}

void Web_server::send(Page page, const Page_text& text)
{
    work_->send(page, text);
}

std::size_t Web_server::waiting_bytes(Page page) const
{
    return work_->waiting_bytes(page);
}

void Web_server::close(Page page, Close_code code)
{
    work_->close(page, code);
}

Web_server::Work::~Work()
{
    is_to_end_ = true;
    if (context_ != nullptr)
        lws_cancel_service(context_);
    if (thread_.joinable())
        thread_.join();
    if (context_ != nullptr)
        lws_context_destroy(context_);
}

QString Web_server::Work::start()
{
    lws_set_log_level(0, nullptr);
    address_ = order_.address.toLatin1();
    const bool is_v6 = address_.contains(':');
    static const std::array<lws_protocols, 3> protocols = {{
        {"http", &Work::callback, 0, 0, 0, nullptr, 0},
        {protocol_name, &Work::callback, 0, most_message, 0, nullptr, 0},
        {nullptr, nullptr, 0, 0, 0, nullptr, 0},
    }};
    static const lws_retry_bo_t patience = {nullptr, 0, 0, ping_s, hang_up_s, 0};
    lws_context_creation_info info{};
    info.port = order_.port;
    info.iface = address_.constData();
    info.protocols = protocols.data();
    info.user = this;
    info.server_string = "dov-panel";
    info.fd_limit_per_thread = most_connections;
    info.keepalive_timeout = keep_alive_s;
    info.timeout_secs = request_s;
    info.retry_and_idle_policy = &patience;
    info.options =
        LWS_SERVER_OPTION_FAIL_UPON_UNABLE_TO_BIND | LWS_SERVER_OPTION_VALIDATE_UTF8 |
        (is_v6 ? LWS_SERVER_OPTION_IPV6_V6ONLY_MODIFY | LWS_SERVER_OPTION_IPV6_V6ONLY_VALUE
               : LWS_SERVER_OPTION_DISABLE_IPV6);
    const QString where =
        order_.address + QLatin1Char(':') + QString::number(order_.port) + QStringLiteral(": ");
    const QString why = listening_error(address_, order_.port);
    if (!why.isEmpty())
        return where + why;
    context_ = lws_create_context(&info);
    if (context_ == nullptr)
        return where + QStringLiteral("nobody can listen there");
    port_ = lws_get_vhost_listen_port(lws_get_vhost_by_name(context_, "default"));
    const QByteArray port = ':' + QByteArray::number(port_);
    hosts_ = {(is_v6 ? '[' + address_ + ']' : address_) + port, "127.0.0.1" + port,
              "localhost" + port, "[::1]" + port};
    thread_ = signal_free_thread([this] { run(); });
    return {};
}

void Web_server::Work::send(Page page, const Page_text& text)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = pages_.find(page);
    if (found == pages_.end() || found->second.close_code != 0)
        return;
    Open_page& open = found->second;
    open.waiting.push_back(text);
    open.waiting_bytes += text.size();
    if (open.waiting_bytes > most_waiting)
        open.close_code = policy_violation;
    lws_cancel_service(context_);
}

std::size_t Web_server::Work::waiting_bytes(Page page) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = pages_.find(page);
    return found == pages_.end() ? 0 : found->second.waiting_bytes;
}

void Web_server::Work::close(Page page, Close_code code)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = pages_.find(page);
    if (found == pages_.end() || found->second.close_code != 0)
        return;
    found->second.close_code = code;
    lws_cancel_service(context_);
}

void Web_server::Work::run()
{
    while (!is_to_end_ && lws_service(context_, 0) >= 0)
        continue;
}

int Web_server::Work::callback(lws* connection, lws_callback_reasons reason, void* /*session*/,
                               void* in, std::size_t size)
{
    lws_context* const context = lws_get_context(connection);
    auto* const work = context == nullptr ? nullptr : static_cast<Work*>(lws_context_user(context));
    return work == nullptr ? 0 : work->take(connection, reason, in, size);
}

int Web_server::Work::take(lws* connection, lws_callback_reasons reason, const void* in,
                           std::size_t size)
{
    const auto* const bytes = static_cast<const char*>(in);
    switch (reason) {
    case LWS_CALLBACK_HTTP:
        return answer_request(connection, QByteArray(bytes, static_cast<int>(size)));
    case LWS_CALLBACK_HTTP_WRITEABLE:
        return write_body(connection);
    case LWS_CALLBACK_HTTP_CONFIRM_UPGRADE:
        return confirm_upgrade(connection, QByteArray(bytes));
    case LWS_CALLBACK_HTTP_DROP_PROTOCOL:
    case LWS_CALLBACK_CLOSED_HTTP:
        bodies_.erase(connection);
        return 0;
    case LWS_CALLBACK_ESTABLISHED:
        add_page(connection);
        return 0;
    case LWS_CALLBACK_CLOSED:
        remove_page(connection);
        return 0;
    case LWS_CALLBACK_RECEIVE:
        return receive(connection, bytes, size);
    case LWS_CALLBACK_SERVER_WRITEABLE:
        return write_waiting(connection);
    case LWS_CALLBACK_EVENT_WAIT_CANCELLED:
        look_at_pages();
        return 0;
    default:
        return 0;
    }
}

/// Why a request is none of this server's; empty when it is.
QByteArray Web_server::Work::refusal_of_host(lws* connection) const
{
    const QByteArray host = header_of(connection, WSI_TOKEN_HOST);
    const bool is_ours = std::find(hosts_.begin(), hosts_.end(), host) != hosts_.end();
    return is_ours ? QByteArray() : QByteArray("this is no name of this server");
}

int Web_server::Work::answer_request(lws* connection, const QByteArray& path)
{
    char* uri = nullptr;
    int uri_size = 0;
    const int method = lws_http_get_uri_and_method(connection, &uri, &uri_size);
    const Answer answer = answer_of(connection, method, path);
    // What another method sends behind its header is not taken: the connection ends with the
    // answer.
    const bool is_reading = method == LWSHUMETH_GET || method == LWSHUMETH_HEAD;
    // Of a body whose length is not told, the end of the connection is the end.
    const bool keeps_open = is_reading && !answer.pieces;
    const bool has_body = method != LWSHUMETH_HEAD && (answer.pieces || !answer.body.isEmpty());
    const int result = begin_answer(connection, answer, has_body, keeps_open);
    return result != 0 || has_body ? result : end_answer(connection, keeps_open);
}

Answer Web_server::Work::answer_of(lws* connection, int method, const QByteArray& path) const
{
    const QByteArray refused = refusal_of_host(connection);
    if (!refused.isEmpty())
        return refusal(HTTP_STATUS_FORBIDDEN, refused.constData());
    if (method != LWSHUMETH_GET && method != LWSHUMETH_HEAD) {
        Answer answer = refusal(HTTP_STATUS_METHOD_NOT_ALLOWED, "this is for GET and HEAD");
        answer.headers.emplace_back("allow:", "GET, HEAD");
        return answer;
    }
    if (path == "/recording")
        return recording();
    const auto file = order_.files.find(path);
    if (!file)
        return refusal(HTTP_STATUS_NOT_FOUND, "there is nothing of this name");
    return {HTTP_STATUS_OK, file->type, file->bytes};
}

Answer Web_server::Work::recording() const
{
    const auto saved = std::count_if(bodies_.begin(), bodies_.end(), [](const auto& each) {
        return each.second.pieces != nullptr;
    });
    if (saved >= most_recordings)
        return refusal(HTTP_STATUS_SERVICE_UNAVAILABLE, "as many recordings are saved as can be");
    return {HTTP_STATUS_OK,
            plain_text_type,
            {},
            {{"content-disposition:", "attachment; filename=\"line.txt\""}},
            order_.recording()};
}

/// Writes an answer's header, and has its body follow if it is to. Returns what a callback returns.
int Web_server::Work::begin_answer(lws* connection, const Answer& answer, bool has_body,
                                   bool keeps_open)
{
    std::array<uchar, LWS_PRE + 2048> room{};
    uchar* const begin = room.data() + LWS_PRE;
    uchar* at = begin;
    uchar* const end = room.data() + room.size() - 1;
    const auto add = [&](const char* name, const char* value) {
        return lws_add_http_header_by_name(connection, reinterpret_cast<const uchar*>(name),
                                           reinterpret_cast<const uchar*>(value),
                                           static_cast<int>(std::strlen(value)), &at, end) == 0;
    };
    const auto length = answer.pieces ? LWS_ILLEGAL_HTTP_CONTENT_LEN
                                      : static_cast<lws_filepos_t>(answer.body.size());
    bool is_good = lws_add_http_common_headers(connection, answer.status, answer.type.constData(),
                                               length, &at, end) == 0;
    for (const auto& [name, value] : every_header)
        is_good = is_good && add(name, value);
    for (const auto& [name, value] : answer.headers)
        is_good = is_good && add(name, value);
    is_good = is_good && lws_finalize_write_http_header(connection, begin, &at, end) == 0;
    if (!is_good)
        return -1;
    if (!has_body)
        return 0;
    Body body{answer.body, answer.pieces, keeps_open};
    if (body.pieces)
        body.bytes = body.pieces();
    bodies_[connection] = std::move(body);
    lws_callback_on_writable(connection);
    return 0;
}

int Web_server::Work::write_body(lws* connection)
{
    const auto found = bodies_.find(connection);
    if (found == bodies_.end())
        return 0;
    Body& body = found->second;
    std::array<uchar, LWS_PRE + body_piece>
        piece; // NOLINT(*-member-init): written before it is read
    const std::size_t left = static_cast<std::size_t>(body.bytes.size() - body.sent);
    const std::size_t size = std::min(left, body_piece);
    std::memcpy(piece.data() + LWS_PRE, body.bytes.constData() + body.sent, size);
    body.sent += static_cast<int>(size);
    if (size == left && body.pieces) {
        body.bytes = body.pieces();
        body.sent = 0;
    }
    const bool is_last = body.sent == static_cast<int>(body.bytes.size());
    if (lws_write(connection, piece.data() + LWS_PRE, size,
                  is_last ? LWS_WRITE_HTTP_FINAL : LWS_WRITE_HTTP) < 0)
        return -1;
    if (!is_last) {
        lws_set_timeout(connection, PENDING_TIMEOUT_HTTP_CONTENT, reader_s);
        lws_callback_on_writable(connection);
        return 0;
    }
    const bool keeps_open = body.keeps_open;
    bodies_.erase(found);
    return end_answer(connection, keeps_open);
}

/// Behind the last byte of an answer. Returns what a callback returns.
int Web_server::Work::end_answer(lws* connection, bool keeps_open)
{
    return !keeps_open || lws_http_transaction_completed(connection) != 0 ? -1 : 0;
}

Answer Web_server::Work::refusal_of_upgrade(lws* connection, const QByteArray& protocol) const
{
    const QByteArray refused = refusal_of_host(connection);
    if (!refused.isEmpty())
        return refusal(HTTP_STATUS_FORBIDDEN, refused.constData());
    const QByteArray host = header_of(connection, WSI_TOKEN_HOST);
    if (header_of(connection, WSI_TOKEN_ORIGIN) != "http://" + host)
        return refusal(HTTP_STATUS_FORBIDDEN, "this is for pages of this server");
    if (protocol != "websocket" || header_of(connection, WSI_TOKEN_GET_URI) != live_path ||
        header_of(connection, WSI_TOKEN_PROTOCOL) != protocol_name)
        return refusal(HTTP_STATUS_NOT_FOUND, "there is nothing of this name");
    if (numbers_.size() >= most_pages)
        return refusal(HTTP_STATUS_SERVICE_UNAVAILABLE, "as many pages are open as can be");
    return {};
}

int Web_server::Work::confirm_upgrade(lws* connection, const QByteArray& protocol)
{
    Answer answer = refusal_of_upgrade(connection, protocol);
    if (answer.status == HTTP_STATUS_OK)
        return 0;
    // Why is for people, who do not come this way.
    answer.body.clear();
    return begin_answer(connection, answer, false, true) < 0 ? -1 : 1;
}

void Web_server::Work::add_page(lws* connection)
{
    const Page page = ++last_page_;
    numbers_[connection] = page;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        pages_[page].connection = connection;
    }
    QMetaObject::invokeMethod(
        &owner_, [this, page] { Q_EMIT owner_.opened(page); }, Qt::QueuedConnection);
}

void Web_server::Work::remove_page(lws* connection)
{
    const auto found = numbers_.find(connection);
    if (found == numbers_.end())
        return;
    const Page page = found->second;
    numbers_.erase(found);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        pages_.erase(page);
    }
    QMetaObject::invokeMethod(
        &owner_, [this, page] { Q_EMIT owner_.closed(page); }, Qt::QueuedConnection);
}

int Web_server::Work::receive(lws* connection, const char* bytes, std::size_t size)
{
    const Page page = numbers_.at(connection);
    if (lws_frame_is_binary(connection) != 0)
        return close_connection(connection, policy_violation);
    QByteArray text;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        Open_page& open = pages_.at(page);
        open.message.append(bytes, static_cast<int>(size));
        if (static_cast<std::size_t>(open.message.size()) > most_message)
            return close_connection(connection, message_too_big);
        if (lws_is_final_fragment(connection) == 0 || lws_remaining_packet_payload(connection) > 0)
            return 0;
        text = std::exchange(open.message, {});
        ++open.unheard;
        open.unheard_bytes += static_cast<std::size_t>(text.size());
        if (open.unheard > most_unheard || open.unheard_bytes > most_unheard_bytes)
            return close_connection(connection, policy_violation);
    }
    hand_over(page, text);
    return 0;
}

void Web_server::Work::hand_over(Page page, const QByteArray& text)
{
    QMetaObject::invokeMethod(
        &owner_,
        [this, page, text] {
            {
                const std::lock_guard<std::mutex> lock(mutex_);
                const auto found = pages_.find(page);
                if (found == pages_.end())
                    return;
                --found->second.unheard;
                found->second.unheard_bytes -= static_cast<std::size_t>(text.size());
            }
            Q_EMIT owner_.received(page, text);
        },
        Qt::QueuedConnection);
}

int Web_server::Work::write_waiting(lws* connection)
{
    const Page page = numbers_.at(connection);
    do {
        std::optional<Page_text> text;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            Open_page& open = pages_.at(page);
            if (open.close_code != 0)
                return close_connection(connection, open.close_code);
            if (open.waiting.empty())
                return 0;
            text = open.waiting.front();
            open.waiting.pop_front();
            open.waiting_bytes -= text->size();
        }
        if (lws_write(connection, text->data(), text->size(), LWS_WRITE_TEXT) < 0)
            return -1;
    } while (lws_send_pipe_choked(connection) == 0);
    lws_callback_on_writable(connection);
    return 0;
}

/// Has the pages written to which something waits for.
void Web_server::Work::look_at_pages()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [page, open] : pages_)
        if (!open.waiting.empty() || open.close_code != 0)
            lws_callback_on_writable(open.connection);
}

int Web_server::Work::close_connection(lws* connection, quint16 code)
{
    lws_close_reason(connection, static_cast<lws_close_status>(code), nullptr, 0);
    return -1;
}
