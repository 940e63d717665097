#include "Panel.h"

#include "Catalogue_json.h"
#include "Formats.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace {

constexpr int line_ms = 1000;

QByteArray text_of(const QJsonObject& message)
{
    return QJsonDocument(message).toJson(QJsonDocument::Compact);
}

QJsonObject message_of(const char* type)
{
    return {{QStringLiteral("type"), QString::fromLatin1(type)}};
}

QString here_or_away(bool is_here)
{
    return is_here ? QStringLiteral("here") : QStringLiteral("away");
}

} // namespace

Panel::Panel(const Options& options, const Change_token& token)
    : options_(options),
      token_(token),
      catalogue_(QJsonDocument::fromJson(catalogue_json()).object()),
      watcher_({options.bus, options.interval_ms}),
      values_(watcher_.model())
{
    connect(&server_, &Web_server::opened, this, &Panel::open_page);
    connect(&server_, &Web_server::closed, this, &Panel::close_page);
    connect(&server_, &Web_server::received, this, &Panel::take_text);
    connect(&watcher_, &Watcher::bus_lost, this,
            [this] { give_up_calls(QStringLiteral("the bus has gone")); });
    batch_timer_.setTimerType(Qt::PreciseTimer);
    connect(&batch_timer_, &QTimer::timeout, this, &Panel::tell);
    connect(&line_timer_, &QTimer::timeout, this, &Panel::tell_line);
}

QString Panel::start()
{
    QString error =
        server_.start({options_.address, options_.port, Page_files(options_.page), [this] {
                           return [text = line_.memory().text()]() mutable { return text.next(); };
                       }});
    if (!error.isEmpty())
        return error;
    if (!options_.controller.isEmpty()) {
        bench_.emplace(options_.controller);
        connect(&*bench_, &Bench_client::state_changed, this, [this] { has_new_state_ = true; });
    }
    if (!options_.tap.isEmpty()) {
        tap_.emplace(options_.tap);
        connect(&*tap_, &Tap_client::passed, &line_, &Line_watch::take);
    }
    // Later: a bus that does not answer keeps no page waiting, nor who waits for the address.
    QTimer::singleShot(0, &watcher_, &Watcher::start_when_possible);
    batch_timer_.start(batch_ms);
    line_timer_.start(line_ms);
    return {};
}

QString Panel::address() const
{
    const bool is_v6 = options_.address.contains(QLatin1Char(':'));
    const QString host =
        is_v6 ? QLatin1Char('[') + options_.address + QLatin1Char(']') : options_.address;
    QString address = QStringLiteral("http://%1:%2/").arg(host).arg(server_.port());
    if (!token_.is_none())
        address += QStringLiteral("#token=") + QString::fromLatin1(token_.text());
    return address;
}

void Panel::open_page(Page page)
{
    pages_[page] = {};
    server_.send(page, Page_text(text_of(hello(false))));
    send_what_is_known(page);
}

void Panel::close_page(Page page)
{
    pages_.erase(page);
    line_.set_wanted(std::any_of(pages_.begin(), pages_.end(),
                                 [](const auto& each) { return each.second.wants_frames; }));
}

void Panel::take_text(Page page, const QByteArray& text)
{
    const auto found = pages_.find(page);
    if (found == pages_.end())
        return;
    const Page_message message = read_page_message(text);
    if (message.request)
        take_request(page, found->second, *message.request);
    else if (message.id)
        answer(page, message.id, message.error);
    else
        server_.close(page, Web_server::policy_violation);
}

void Panel::take_request(Page page, Page_state& state, const Page_request& request)
{
    switch (request.kind) {
    case Page_request::Kind::token:
        take_token(page, state, request);
        break;
    case Page_request::Kind::watch:
        take_watch(page, state, request);
        break;
    case Page_request::Kind::history:
        take_history(page, request);
        break;
    case Page_request::Kind::call:
        take_call(page, state, request);
        break;
    case Page_request::Kind::bench:
        take_bench(page, state, request);
        break;
    }
}

void Panel::take_token(Page page, Page_state& state, const Page_request& request)
{
    if (token_.is(request.token)) {
        state.may_change = true;
        answer(page, request.id, {});
        server_.send(page, Page_text(text_of(hello(true))));
        return;
    }
    answer(page, request.id,
           token_.is_none() ? QStringLiteral("the panel has been started without --control")
                            : QStringLiteral("this is not the token"));
    if (++state.guesses >= most_guesses)
        server_.close(page, Web_server::policy_violation);
}

void Panel::take_watch(Page page, Page_state& state, const Page_request& request)
{
    state.wants_frames = request.wants_frames;
    state.dropped = 0;
    line_.set_wanted(std::any_of(pages_.begin(), pages_.end(),
                                 [](const auto& each) { return each.second.wants_frames; }));
    answer(page, request.id, {});
}

void Panel::take_history(Page page, const Page_request& request)
{
    const auto points = values_.history(request.object, request.member);
    if (!points) {
        answer(page, request.id, QStringLiteral("there is no such value"));
        return;
    }
    QJsonObject message = message_of("history");
    message.insert(QStringLiteral("object"), request.object);
    message.insert(QStringLiteral("member"), request.member);
    message.insert(QStringLiteral("points"), *points);
    server_.send(page, Page_text(text_of(message)));
    answer(page, request.id, {});
}

QString Panel::refusal_of_call(const Page_state& state, const Page_request& request,
                               QVariantList& arguments) const
{
    const int object = watcher_.model().find(request.path);
    const Method_table::Method* const method = methods_.find(request.interface, request.method);
    if (object < 0 || method == nullptr ||
        watcher_.model().objects()[static_cast<std::size_t>(object)].entry.interface !=
            request.interface)
        return QStringLiteral("there is no such method");
    if (method->changes && !state.may_change)
        return QStringLiteral("changing is not allowed");
    if (!has_service())
        return QStringLiteral("the service is not on the bus");
    if (state.calls >= most_calls)
        return QStringLiteral("too many calls wait for their answers");
    QString error;
    const auto values = Method_table::values_of(*method, request.arguments, error);
    arguments = values.value_or(QVariantList());
    return error;
}

void Panel::take_call(Page page, Page_state& state, const Page_request& request)
{
    QVariantList arguments;
    const QString refusal = refusal_of_call(state, request, arguments);
    if (!refusal.isEmpty()) {
        answer(page, request.id, refusal);
        return;
    }
    const quint64 number = ++last_call_;
    calls_[number] = {page, request.id};
    ++state.calls;
    watcher_.call(
        watcher_.model().find(request.path), request.method, arguments,
        [this, number](const QVariant& value) { answer_call(number, {}, value); },
        [this, number](const QDBusError& error) { answer_call(number, error.message(), {}); });
}

void Panel::answer_call(quint64 number, const QString& error, const QVariant& value)
{
    const auto found = calls_.find(number);
    if (found == calls_.end())
        return;
    const Pending_call call = found->second;
    calls_.erase(found);
    const auto page = pages_.find(call.page);
    if (page == pages_.end())
        return;
    --page->second.calls;
    answer(call.page, call.id, error, error.isEmpty() ? json_value(value) : QJsonValue::Undefined);
}

void Panel::give_up_calls(const QString& error)
{
    while (!calls_.empty())
        answer_call(calls_.begin()->first, error, {});
}

void Panel::take_bench(Page page, const Page_state& state, const Page_request& request)
{
    if (!state.may_change)
        answer(page, request.id, QStringLiteral("changing is not allowed"));
    else if (!bench_)
        answer(page, request.id, QStringLiteral("the panel has been started without --controller"));
    else
        bench_->command(request.line, [this, page, id = request.id](const QString& error) {
            done_commands_.push_back({page, id, error});
        });
}

void Panel::answer(Page page, const std::optional<qint64>& id, const QString& error,
                   const QJsonValue& value)
{
    if (!id)
        return;
    QJsonObject message = message_of("answer");
    message.insert(QStringLiteral("to"), *id);
    message.insert(QStringLiteral("ok"), error.isEmpty());
    if (!error.isEmpty())
        message.insert(QStringLiteral("error"), error);
    if (!value.isUndefined())
        message.insert(QStringLiteral("value"), value);
    server_.send(page, Page_text(text_of(message)));
}

void Panel::tell()
{
    tell_partners();
    tell_values();
    tell_state();
    tell_done_commands();
    tell_frames();
    look_at_slow_pages();
}

void Panel::send_to_all(const QJsonObject& message)
{
    if (pages_.empty())
        return;
    const Page_text text(text_of(message));
    for (auto& [page, state] : pages_)
        if (!state.is_behind)
            server_.send(page, text);
}

void Panel::tell_partners()
{
    const QJsonObject present = partners();
    if (present == told_partners_)
        return;
    told_partners_ = present;
    send_to_all(present);
}

void Panel::tell_values()
{
    const QJsonArray changes =
        values_.take_changes(watcher_.now_ms(), QDateTime::currentMSecsSinceEpoch());
    if (!changes.isEmpty())
        send_to_all(values_message(changes));
}

void Panel::tell_state()
{
    if (std::exchange(has_new_state_, false))
        send_to_all(state_message());
}

/// After the state: what a page shows once its command is answered is what came of it.
void Panel::tell_done_commands()
{
    for (const Done_command& command : std::exchange(done_commands_, {}))
        answer(command.page, command.id, command.error);
}

void Panel::tell_frames()
{
    const QJsonArray frames = line_.take_frames();
    const quint64 dropped = line_.take_dropped();
    const auto text = [&frames](quint64 missing) {
        QJsonObject message = message_of("frames");
        message.insert(QStringLiteral("frames"), frames);
        message.insert(QStringLiteral("dropped"), static_cast<qint64>(missing));
        return Page_text(text_of(message));
    };
    std::optional<Page_text> for_most;
    for (auto& [page, state] : pages_) {
        if (!state.wants_frames)
            continue;
        state.dropped += dropped;
        if (state.is_behind) {
            state.dropped += static_cast<quint64>(frames.size());
        } else if (state.dropped > dropped) {
            server_.send(page, text(std::exchange(state.dropped, 0)));
        } else if (!frames.isEmpty() || dropped > 0) {
            if (!for_most)
                for_most = text(dropped);
            server_.send(page, *for_most);
            state.dropped = 0;
        }
    }
}

void Panel::tell_line()
{
    if (!tap_ || pages_.empty())
        return;
    QJsonObject message = message_of("line");
    message.insert(QStringLiteral("counters"), line_.counters());
    send_to_all(message);
}

/// A page for which too much waits gets nothing more until it has taken it all but little; then it
/// gets the present in the place of what it has missed.
void Panel::look_at_slow_pages()
{
    for (auto& [page, state] : pages_) {
        if (!state.is_behind) {
            state.is_behind = server_.is_slow(page);
        } else if (server_.has_caught_up(page)) {
            state.is_behind = false;
            send_what_is_known(page);
        }
    }
}

void Panel::send_what_is_known(Page page)
{
    server_.send(page, Page_text(text_of(partners())));
    server_.send(page, Page_text(text_of(values_message(values_.all(watcher_.now_ms())))));
    if (bench_)
        server_.send(page, Page_text(text_of(state_message())));
}

QJsonObject Panel::hello(bool may_change) const
{
    QJsonObject message = message_of("hello");
    message.insert(QStringLiteral("version"), QCoreApplication::applicationVersion());
    message.insert(QStringLiteral("control"), !token_.is_none());
    message.insert(QStringLiteral("changing"), may_change);
    message.insert(QStringLiteral("objects"), catalogue_.value(QStringLiteral("objects")));
    message.insert(QStringLiteral("kinds"), catalogue_.value(QStringLiteral("kinds")));
    message.insert(QStringLiteral("methods"), methods_.to_json());
    message.insert(QStringLiteral("history_s"), Value_history::length_ms / 1000);
    return message;
}

bool Panel::has_service() const
{
    return watcher_.bus_connected() && watcher_.has_service();
}

QJsonObject Panel::partners() const
{
    QJsonObject message = message_of("partners");
    QJsonObject texts;
    const auto add = [&](const char* name, const QString& state, const QString& text) {
        message.insert(QLatin1String(name), state);
        if (!text.isEmpty())
            texts.insert(QLatin1String(name), text);
    };
    const bool is_refused = !watcher_.refusal().isEmpty();
    add("bus", is_refused ? QStringLiteral("refused") : here_or_away(watcher_.bus_connected()),
        is_refused                 ? watcher_.refusal()
        : watcher_.bus_connected() ? QString()
                                   : watcher_.error());
    add("service", here_or_away(has_service()), {});
    const QString none = QStringLiteral("none");
    add("controller", bench_ ? here_or_away(bench_->is_here()) : none,
        bench_ ? bench_->error() : QString());
    add("tap", tap_ ? here_or_away(tap_->is_here()) : none, tap_ ? tap_->error() : QString());
    message.insert(QStringLiteral("texts"), texts);
    return message;
}

QJsonObject Panel::values_message(const QJsonArray& values) const
{
    QJsonObject message = message_of("values");
    message.insert(QStringLiteral("time"), QDateTime::currentMSecsSinceEpoch());
    message.insert(QStringLiteral("values"), values);
    return message;
}

QJsonObject Panel::state_message() const
{
    QJsonObject message = message_of("state");
    message.insert(QStringLiteral("state"), bench_->state());
    return message;
}
