#include "Screen_session.h"

#include <QTime>

#include <unistd.h>

namespace {

constexpr int redraw_ms = 250;
constexpr int soon_ms = 40;

const Glyphs& glyphs_for(const Options& options)
{
    return options.ascii ? Glyphs::ascii() : Glyphs::utf8();
}

} // namespace

Screen_session::Screen_session(Watcher& watcher, const Options& options)
    : watcher_(watcher),
      options_(options),
      view_(watcher.model(), glyphs_for(options), options.filter),
      keys_(STDIN_FILENO, QSocketNotifier::Read)
{
    if (!terminal_.is_open())
        return;
    connect(&keys_, &QSocketNotifier::activated, this, [this] { take_keys(); });
    connect(&watcher_, &Watcher::changed, this, [this] { draw_soon(); });
    connect(&watcher_, &Watcher::bus_lost, this, [this] { draw_soon(); });
    connect(&watcher_, &Watcher::refused, this, [this](const QString& message) {
        view_.show_message(message);
        draw_soon();
    });
    connect(&redraw_timer_, &QTimer::timeout, this, &Screen_session::draw);
    connect(&soon_timer_, &QTimer::timeout, this, &Screen_session::draw);
    soon_timer_.setSingleShot(true);
    redraw_timer_.start(redraw_ms);
    draw();
}

void Screen_session::draw_soon()
{
    if (!soon_timer_.isActive())
        soon_timer_.start(soon_ms);
}

void Screen_session::draw()
{
    Screen_facts facts;
    facts.now_ms = watcher_.now_ms();
    facts.clock = QTime::currentTime().toString(QStringLiteral("HH:mm:ss"));
    facts.bus = options_.address.isEmpty() ? QStringLiteral("system bus") : options_.address;
    facts.bus_connected = watcher_.bus_connected();
    facts.interval_ms = options_.interval_ms;
    Canvas canvas(terminal_.width(), terminal_.height());
    view_.draw(canvas, facts);
    terminal_.show(canvas);
}

void Screen_session::resize()
{
    terminal_.resize();
    draw();
}

void Screen_session::take_keys()
{
    // A terminal that has gone is always ready to be read and never has a key.
    if (::isatty(STDIN_FILENO) == 0) {
        keys_.setEnabled(false);
        Q_EMIT end_asked();
        return;
    }
    while (const std::optional<Key> key = terminal_.key())
        carry_out(view_.handle_key(*key));
    draw_soon();
}

void Screen_session::carry_out(const Action& action)
{
    switch (action.kind) {
    case Action::Kind::none:
        break;
    case Action::Kind::quit:
        Q_EMIT end_asked();
        break;
    case Action::Kind::switch_output:
        watcher_.switch_output(action.object, action.on);
        break;
    case Action::Kind::enable_output:
        watcher_.enable_output(action.object, action.on);
        break;
    case Action::Kind::set_brightness:
        watcher_.set_brightness(action.level);
        break;
    }
}
