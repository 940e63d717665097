#include "Screen_view.h"

#include "Formats.h"

#include <QStringList>

#include <algorithm>

namespace {

constexpr int least_column_width = 38;
constexpr int most_columns = 4;
constexpr int label_width = 13;
constexpr int value_width = 10;
constexpr int age_width = 6;
constexpr int least_sparkline = 4;
constexpr qint64 recent_ms = 800;
constexpr double brightness_step = 5.0;

/// Screens of fewer rows do without details, and then without all but the list.
constexpr int rows_for_details = 14;
constexpr int rows_for_hints = 6;

/// Columns of fewer rows do not name again the section that they continue.
constexpr int rows_for_repeated_headings = 4;

const char* const help_lines[] = {
    "up down left right  select an object; also k j h l, page up and down, home, end",
    "/                   show only objects whose path or name contains a text",
    "escape              show all objects again",
    "space, enter        switch the selected digital output on or off",
    "e                   enable or disable the selected digital output",
    "b                   set the backlight's brightness, in percent",
    "+ -                 change it by five percent",
    "?                   this help",
    "q                   quit",
    "",
    "Behind each value: the time since it last changed; with > it has not",
    "changed since it was first seen. Sparklines show the last minute.",
    "Digest rate: the fastest input's changes a second; the controller reports",
    "at least as often.",
};

/// Whether the keys switch the object on and off.
bool is_switched_output(const Watched_object& object)
{
    return object.entry.kind == &kinds::digital_output;
}

QString section_title(Section section)
{
    return QString::fromUtf8(section_titles[static_cast<std::size_t>(section)]);
}

} // namespace

const Glyphs& Glyphs::utf8()
{
    static const Glyphs glyphs = {
        QStringLiteral("\u2581\u2582\u2583\u2584\u2585\u2586\u2587\u2588"),
        QChar(0x25CF),
        QChar(0x25CB),
        QChar(0x25B8),
        QChar(0x2500),
        QChar(0x2502),
        QChar(0x2026),
        QStringLiteral("\u2014"),
        QStringLiteral("\u2265"),
        QStringLiteral("\u2191\u2193\u2190\u2192"),
    };
    return glyphs;
}

const Glyphs& Glyphs::ascii()
{
    static const Glyphs glyphs = {
        QStringLiteral("_.-~=+*#"), QLatin1Char('*'),         QLatin1Char('o'), QLatin1Char('>'),
        QLatin1Char('-'),           QLatin1Char('|'),         QLatin1Char('~'), QStringLiteral("-"),
        QStringLiteral(">="),       QStringLiteral("arrows"),
    };
    return glyphs;
}

Screen_view::Screen_view(const Watch_model& model, const Glyphs& glyphs, const QString& filter)
    : model_(model), glyphs_(glyphs), filter_(filter)
{
}

// What is shown, and where.

bool Screen_view::matches(const Watched_object& object) const
{
    const Catalogue_object& entry = object.entry;
    return entry.path.contains(filter_, Qt::CaseInsensitive) ||
           entry.title.contains(filter_, Qt::CaseInsensitive) ||
           section_title(entry.section).contains(filter_, Qt::CaseInsensitive);
}

std::vector<Screen_view::Line> Screen_view::list(bool with_blanks) const
{
    std::vector<Line> lines;
    std::optional<Section> section;
    const std::vector<Watched_object>& objects = model_.objects();
    for (std::size_t i = 0; i < objects.size(); ++i) {
        if (!matches(objects[i]))
            continue;
        if (objects[i].entry.section != section) {
            section = objects[i].entry.section;
            if (with_blanks && !lines.empty())
                lines.push_back({});
            lines.push_back({-1, section_title(*section)});
        }
        lines.push_back({static_cast<int>(i), {}});
    }
    return lines;
}

Screen_view::Grid Screen_view::make_grid(const Canvas& canvas, const std::vector<Line>& lines) const
{
    Grid grid{};
    grid.top = canvas.height() >= rows_for_details ? 3 : canvas.height() >= rows_for_hints ? 2 : 0;
    const int below = canvas.height() >= rows_for_details ? 4 : canvas.height() >= rows_for_hints;
    grid.height = std::max(canvas.height() - grid.top - below, 1);
    const int most = std::clamp(canvas.width() / least_column_width, 1, most_columns);
    grid.columns = 1;
    while (grid.columns < most && !fits(lines, grid))
        ++grid.columns;
    return grid;
}

/// Where the lines from the offset on stand, as many as there is room for. A column that continues
/// a section names it again.
std::vector<Screen_view::Placement> Screen_view::flow(const std::vector<Line>& lines,
                                                      const Grid& grid, std::size_t offset) const
{
    std::vector<Placement> placements;
    int column = 0;
    int row = 0;
    for (std::size_t i = offset; i < lines.size(); ++i) {
        const bool is_object = lines[i].object >= 0;
        const bool is_blank = !is_object && lines[i].heading.isEmpty();
        if (is_blank && row == 0)
            continue;
        // A heading stands above something.
        const bool stranded = !is_object && !is_blank && row == grid.height - 1 && row > 0;
        if (row == grid.height || stranded) {
            row = 0;
            if (++column == grid.columns)
                break;
            if (is_blank)
                continue;
        }
        if (is_object && row == 0 && grid.height >= rows_for_repeated_headings)
            placements.push_back(
                {{-1,
                  section_title(
                      model_.objects()[static_cast<std::size_t>(lines[i].object)].entry.section)},
                 column,
                 row++});
        placements.push_back({lines[i], column, row++});
    }
    return placements;
}

bool Screen_view::fits(const std::vector<Line>& lines, const Grid& grid) const
{
    const std::vector<Placement> placements = flow(lines, grid, 0);
    return lines.empty() ||
           (!placements.empty() && placements.back().line.object == lines.back().object);
}

/// The columns with sparklines share the room that the others do not need.
std::vector<Screen_view::Span> Screen_view::spans(const std::vector<Placement>& placements,
                                                  const Grid& grid, int width) const
{
    const auto count = static_cast<std::size_t>(grid.columns);
    std::vector<bool> has_sparkline(count, false);
    for (const Placement& placement : placements)
        if (placement.line.object >= 0 &&
            model_.objects()[static_cast<std::size_t>(placement.line.object)]
                    .entry.kind->spark_span > 0.0)
            has_sparkline[static_cast<std::size_t>(placement.column)] = true;
    int sharers = static_cast<int>(std::count(has_sparkline.begin(), has_sparkline.end(), true));
    const bool all_share = sharers == 0;
    if (all_share)
        sharers = grid.columns;
    int spare = width - grid.columns * least_column_width;
    std::vector<Span> columns;
    int x = 0;
    for (std::size_t column = 0; column < count; ++column) {
        int extent = least_column_width;
        if (all_share || has_sparkline[column]) {
            const int share = spare / std::max(sharers--, 1);
            extent += share;
            spare -= share;
        }
        columns.push_back({x, extent - (column + 1 < count ? 2 : 1)});
        x += extent;
    }
    return columns;
}

void Screen_view::follow_selection(const std::vector<Line>& lines, const Grid& grid)
{
    const auto line = std::find_if(lines.begin(), lines.end(),
                                   [this](const Line& each) { return each.object == selected_; });
    if (line == lines.end()) {
        offset_ = 0;
        return;
    }
    const auto index = static_cast<std::size_t>(line - lines.begin());
    const bool below_heading = index > 0 && lines[index - 1].object < 0;
    offset_ = std::min(offset_, below_heading && grid.height > 1 ? index - 1 : index);
    // Nothing is hidden above when everything fits.
    if (fits(lines, grid))
        offset_ = 0;
    const auto shows_selected = [this](const std::vector<Placement>& placements) {
        return std::any_of(placements.begin(), placements.end(),
                           [this](const Placement& each) { return each.line.object == selected_; });
    };
    while (offset_ < index && !shows_selected(flow(lines, grid, offset_)))
        ++offset_;
}

// Texts.

QString Screen_view::plain(QString text) const
{
    return glyphs_.is_ascii() ? text.remove(QChar(0xB0)) : text;
}

QString Screen_view::fitted(const QString& text, int columns) const
{
    if (columns <= 0)
        return {};
    return text.size() <= columns ? text : text.left(columns - 1) + glyphs_.ellipsis;
}

QString Screen_view::text_of(const Watched_object& object, std::size_t value) const
{
    return plain(
        value_text(object.entry.kind->values[value], object.values[value].value, glyphs_.dash));
}

QString Screen_view::summary(const Watched_object& object) const
{
    if (object.values.empty())
        return object.last_event.isEmpty() ? glyphs_.dash : object.last_event;
    const Watched_value& first = object.values.front();
    if (is_switched_output(object) && object.values[1].value.isValid() &&
        !object.values[1].value.toBool())
        return QStringLiteral("disabled");
    QString text = text_of(object, 0);
    if (first.value.userType() != QMetaType::Bool)
        return text;
    const Truth_words& words = object.entry.kind->values[0].look.words;
    const bool active = first.value.toBool() == words.good;
    return (active ? glyphs_.on : glyphs_.off) + QLatin1Char(' ') + text;
}

QString Screen_view::age_of(const Watched_object& object, qint64 now_ms) const
{
    qint64 changed_ms = object.event_ms;
    bool known = !object.last_event.isEmpty();
    bool has_changed = known;
    for (const Watched_value& value : object.values) {
        if (!value.value.isValid() || (known && value.changed_ms < changed_ms))
            continue;
        known = true;
        changed_ms = value.changed_ms;
        has_changed = value.has_changed;
    }
    if (!known)
        return {};
    return (has_changed ? QString() : QStringLiteral(">")) +
           age_text(std::max<qint64>(now_ms - changed_ms, 0));
}

Style Screen_view::style_of(const Watched_object& object, const Screen_facts& facts) const
{
    if (object.values.empty())
        return object.last_event.isEmpty() ? Style::dim : Style::value;
    const Watched_value& first = object.values.front();
    if (!first.fresh || !facts.bus_connected || !first.value.isValid())
        return Style::dim;
    if (first.value.toString() == QLatin1String(unknown_version))
        return Style::warning;
    if (is_switched_output(object) && !object.values[1].value.toBool())
        return Style::warning;
    if (first.has_changed && facts.now_ms - first.changed_ms < recent_ms)
        return Style::recent;
    if (first.value.userType() == QMetaType::Bool)
        return first.value.toBool() == object.entry.kind->values[0].look.words.good ? Style::good
                                                                                    : Style::dim;
    return first.value.userType() == QMetaType::Double && first.value.toDouble() <= no_reading
               ? Style::dim
               : Style::value;
}

// Drawing.

void Screen_view::draw(Canvas& canvas, const Screen_facts& facts)
{
    const bool has_details = canvas.height() >= rows_for_details;
    const bool has_hints = canvas.height() >= rows_for_hints;
    const QString rule(canvas.width(), glyphs_.rule);
    if (has_hints) {
        draw_title(canvas, facts);
        draw_health(canvas, facts);
        draw_prompt(canvas, canvas.height() - 1);
    }
    if (has_details) {
        canvas.put(0, 2, rule, Style::dim);
        canvas.put(0, canvas.height() - 4, rule, Style::dim);
        draw_detail(canvas, canvas.height() - 3, facts);
    }
    if (mode_ == Mode::help)
        draw_help(canvas);
    else
        draw_list(canvas, facts);
}

void Screen_view::draw_title(Canvas& canvas, const Screen_facts& facts) const
{
    canvas.restyle(0, 0, canvas.width(), Style::title);
    const int end = canvas.put(1, 0, QStringLiteral("dov-watch"), Style::title);
    const QString place = QLatin1String(service_name) + QStringLiteral(" on ") + facts.bus;
    canvas.put(end + 3, 0, fitted(place, canvas.width() - end - 13), Style::title);
    canvas.put_right(canvas.width() - 1, 0, facts.clock, Style::title);
}

void Screen_view::draw_health(Canvas& canvas, const Screen_facts& facts) const
{
    const Link_health health = model_.health(facts.now_ms);
    const bool present = facts.bus_connected && !health.owner.isEmpty();
    const QString since = age_text(std::max<qint64>(facts.now_ms - health.since_ms, 0));
    struct Piece {
        QString text;
        Style style;
    };
    std::vector<Piece> pieces;
    if (!facts.bus_connected)
        pieces.push_back({QStringLiteral("%1 no bus").arg(glyphs_.off), Style::bad});
    else if (!present)
        pieces.push_back({QStringLiteral("%1 no service, waiting").arg(glyphs_.off), Style::bad});
    else
        pieces.push_back(
            {QStringLiteral("%1 service %2 up %3").arg(glyphs_.on, health.owner, since),
             Style::good});
    if (present) {
        if (health.versions_known == 0)
            pieces.push_back({QString::fromLatin1(unknown_version), Style::bad});
        else if (health.versions_known == health.versions)
            pieces.push_back({QStringLiteral("versions known"), Style::good});
        else
            pieces.push_back({QStringLiteral("%1 of %2 versions")
                                  .arg(health.versions_known)
                                  .arg(health.versions),
                              Style::warning});
        pieces.push_back({QStringLiteral("digest ") + glyphs_.at_least +
                              QString::number(health.digest_rate, 'f', 1) + QStringLiteral("/s"),
                          health.digest_rate > 0.0 ? Style::plain : Style::dim});
    }
    pieces.push_back(
        {health.last_signal_ms
             ? QStringLiteral("signal %1 ago")
                   .arg(age_text(std::max<qint64>(facts.now_ms - *health.last_signal_ms, 0)))
             : QStringLiteral("no signal yet"),
         Style::plain});
    pieces.push_back({QStringLiteral("%1 signals").arg(health.signals_seen), Style::dim});
    pieces.push_back({facts.interval_ms == 0
                          ? QStringLiteral("no reading")
                          : QStringLiteral("reads every %1 ms").arg(facts.interval_ms),
                      Style::dim});
    int x = 1;
    for (const Piece& piece : pieces) {
        if (x > 1 && x + piece.text.size() > canvas.width())
            break;
        x = canvas.put(x, 1, piece.text, piece.style) + 3;
    }
}

void Screen_view::draw_list(Canvas& canvas, const Screen_facts& facts)
{
    std::vector<Line> lines = list(true);
    Grid grid = make_grid(canvas, lines);
    if (!fits(lines, grid)) {
        lines = list(false);
        grid = make_grid(canvas, lines);
    }
    page_ = grid.height;
    follow_selection(lines, grid);
    if (lines.empty())
        canvas.put(1, grid.top, QStringLiteral("Nothing matches. Escape shows all."), Style::dim);
    const std::vector<Placement> placements = flow(lines, grid, offset_);
    const std::vector<Span> columns = spans(placements, grid, canvas.width());
    for (std::size_t column = 1; column < columns.size(); ++column)
        for (int row = 0; row < grid.height; ++row)
            canvas.put(columns[column].x - 1, grid.top + row, glyphs_.divider, Style::dim);
    const auto shown = std::count_if(placements.begin(), placements.end(),
                                     [](const Placement& each) { return each.line.object >= 0; });
    const auto listed = std::count_if(lines.begin(), lines.end(),
                                      [](const Line& each) { return each.object >= 0; });
    if (shown < listed && canvas.height() >= rows_for_details)
        canvas.put_right(canvas.width() - 2, canvas.height() - 4,
                         QStringLiteral(" %1 of %2 ").arg(shown).arg(listed), Style::dim);
    for (const Placement& placement : placements) {
        const Span& span = columns[static_cast<std::size_t>(placement.column)];
        const int y = grid.top + placement.row;
        if (placement.line.object >= 0)
            draw_object(canvas, facts, span.x, y, span.width, placement.line.object);
        else
            canvas.put(span.x + 1, y, placement.line.heading.toUpper(), Style::heading, span.width);
    }
}

void Screen_view::draw_object(Canvas& canvas, const Screen_facts& facts, int x, int y, int width,
                              int object) const
{
    const Watched_object& watched = model_.objects()[static_cast<std::size_t>(object)];
    const bool is_selected = object == selected_;
    canvas.put(x, y, is_selected ? QString(glyphs_.marker) : QStringLiteral(" "), Style::heading);
    canvas.put(x + 1, y, fitted(watched.entry.title, label_width), Style::plain);
    const int value_x = x + 1 + label_width;
    const int age_end = x + width;
    const bool is_text = watched.values.empty() ||
                         watched.values.front().value.userType() == QMetaType::QString ||
                         watched.values.front().value.userType() == QMetaType::QVariantList;
    const Style style = style_of(watched, facts);
    const int number_end = value_x + value_width + age_width;
    if (is_text) {
        const int columns = std::max(age_end - age_width - value_x - 1, value_width);
        canvas.put(value_x + 1, y, fitted(summary(watched), columns), style);
    } else {
        canvas.put_right(value_x + value_width, y, fitted(summary(watched), value_width), style);
    }
    if (age_end >= number_end)
        canvas.put_right(is_text ? age_end : number_end, y, age_of(watched, facts.now_ms),
                         Style::dim);
    if (watched.entry.kind->spark_span > 0.0)
        draw_sparkline(canvas, number_end + 1, y, age_end - number_end - 1, watched);
    if (is_selected)
        canvas.invert(x, y, width);
}

void Screen_view::draw_sparkline(Canvas& canvas, int x, int y, int width,
                                 const Watched_object& object) const
{
    if (width < least_sparkline)
        return;
    canvas.put(x, y, object.history.sparkline(width, glyphs_.levels, object.entry.kind->spark_span),
               Style::spark);
}

void Screen_view::draw_detail(Canvas& canvas, int y, const Screen_facts& facts) const
{
    const Watched_object& object = model_.objects()[static_cast<std::size_t>(selected_)];
    const int end = canvas.put(1, y, object.entry.path, Style::value);
    canvas.put(end + 2, y, object.entry.interface, Style::dim);

    QStringList parts;
    for (std::size_t i = 0; i < object.values.size(); ++i) {
        const Value_row& row = object.entry.kind->values[i];
        parts += QString::fromUtf8(row.getter != nullptr ? row.getter : row.signal) +
                 QLatin1Char(' ') +
                 (row.getter != nullptr ? text_of(object, i) : QStringLiteral("cannot be read"));
    }
    if (const std::optional<History::Range> range = object.history.range()) {
        const Value_row& row = object.entry.kind->values[0];
        parts += plain(QStringLiteral("last minute %1 to %2")
                           .arg(value_text(row, range->least, glyphs_.dash),
                                value_text(row, range->greatest, glyphs_.dash)));
    }
    if (!object.last_event.isEmpty())
        parts += QStringLiteral("%1, %2 ago")
                     .arg(object.last_event, age_text(facts.now_ms - object.event_ms));
    parts += object.changes == 1 ? QStringLiteral("1 change")
                                 : QStringLiteral("%1 changes").arg(object.changes);
    canvas.put(1, y + 1, fitted(parts.join(QStringLiteral("   ")), canvas.width() - 2));
}

void Screen_view::draw_prompt(Canvas& canvas, int y) const
{
    const QString cursor = QStringLiteral("_");
    if (mode_ == Mode::filter) {
        canvas.put(1, y, QStringLiteral("Show only: ") + filter_ + cursor, Style::heading);
        return;
    }
    if (mode_ == Mode::brightness) {
        canvas.put(1, y, QStringLiteral("Brightness, 0 to 100 %: ") + prompt_ + cursor,
                   Style::heading);
        return;
    }
    if (!message_.isEmpty()) {
        canvas.put(1, y, fitted(message_, canvas.width() - 2), Style::warning);
        return;
    }
    QStringList hints = {QStringLiteral("q quit"),
                         QStringLiteral("? help"),
                         QStringLiteral("/ filter"),
                         glyphs_.arrows + QStringLiteral(" select"),
                         QStringLiteral("space switch output"),
                         QStringLiteral("b brightness"),
                         QStringLiteral("+/- brighter, darker")};
    if (!filter_.isEmpty())
        hints.prepend(QStringLiteral("only \"%1\", escape shows all").arg(filter_));
    int x = 1;
    for (const QString& hint : hints) {
        if (x > 1 && x + hint.size() > canvas.width())
            break;
        x = canvas.put(x, y, hint, Style::dim) + 3;
    }
}

void Screen_view::draw_help(Canvas& canvas) const
{
    int y = canvas.height() >= rows_for_details ? 4 : canvas.height() >= rows_for_hints ? 2 : 0;
    const int end = canvas.height() - (canvas.height() >= rows_for_details ? 4 : 1);
    for (const char* line : help_lines) {
        if (y >= end)
            break;
        canvas.put(2, y++, QString::fromLatin1(line), Style::plain);
    }
}

// Keys.

Action Screen_view::handle_key(const Key& key)
{
    message_.clear();
    switch (mode_) {
    case Mode::help:
        mode_ = Mode::browse;
        return {};
    case Mode::filter:
    case Mode::brightness:
        return prompt_key(key);
    case Mode::browse:
        return browse_key(key);
    }
    return {};
}

Action Screen_view::prompt_key(const Key& key)
{
    QString& text = mode_ == Mode::filter ? filter_ : prompt_;
    switch (key.code) {
    case Key::Code::character:
        if (key.character.isPrint())
            text += key.character;
        return {};
    case Key::Code::backspace:
        text.chop(1);
        return {};
    case Key::Code::escape:
        text.clear();
        mode_ = Mode::browse;
        return {};
    case Key::Code::enter:
        break;
    default:
        return {};
    }
    const bool is_brightness = mode_ == Mode::brightness;
    mode_ = Mode::browse;
    if (!is_brightness)
        select_by(0);
    if (!is_brightness || prompt_.isEmpty())
        return {};
    bool is_number = false;
    const double level = prompt_.toDouble(&is_number);
    if (is_number && level >= 0.0 && level <= 100.0)
        return {Action::Kind::set_brightness, -1, false, level};
    message_ = QStringLiteral("Not a number from 0 to 100: ") + prompt_;
    return {};
}

Action Screen_view::browse_key(const Key& key)
{
    switch (key.code) {
    case Key::Code::up:
        select_by(-1);
        break;
    case Key::Code::down:
        select_by(1);
        break;
    case Key::Code::left:
    case Key::Code::page_up:
        select_by(-page_);
        break;
    case Key::Code::right:
    case Key::Code::page_down:
        select_by(page_);
        break;
    case Key::Code::home:
        select_by(-static_cast<int>(model_.objects().size()));
        break;
    case Key::Code::end:
        select_by(static_cast<int>(model_.objects().size()));
        break;
    case Key::Code::escape:
        filter_.clear();
        break;
    case Key::Code::enter:
        return operate(Action::Kind::switch_output, 0);
    case Key::Code::backspace:
        break;
    case Key::Code::character:
        return letter_key(key.character);
    }
    return {};
}

Action Screen_view::letter_key(QChar letter)
{
    switch (letter.unicode()) {
    case 'q':
        return {Action::Kind::quit, -1, false, 0.0};
    case 'k':
        return browse_key({Key::Code::up, {}});
    case 'j':
        return browse_key({Key::Code::down, {}});
    case 'h':
        return browse_key({Key::Code::left, {}});
    case 'l':
        return browse_key({Key::Code::right, {}});
    case '/':
        mode_ = Mode::filter;
        return {};
    case 'b':
        prompt_.clear();
        mode_ = Mode::brightness;
        return {};
    case '?':
        mode_ = Mode::help;
        return {};
    case ' ':
        return operate(Action::Kind::switch_output, 0);
    case 'e':
        return operate(Action::Kind::enable_output, 1);
    case '+':
        return change_brightness(brightness_step);
    case '-':
        return change_brightness(-brightness_step);
    default:
        return {};
    }
}

Action Screen_view::change_brightness(double by) const
{
    const int found = model_.backlight();
    const Watched_value& level = model_.objects()[static_cast<std::size_t>(found)].values.front();
    if (!level.value.isValid())
        return {};
    return {Action::Kind::set_brightness, -1, false,
            std::clamp(level.value.toDouble() + by, 0.0, 100.0)};
}

Action Screen_view::operate(Action::Kind kind, std::size_t value) const
{
    const Watched_object& object = model_.objects()[static_cast<std::size_t>(selected_)];
    if (!matches(object) || !is_switched_output(object) || !object.values[value].value.isValid())
        return {};
    return {kind, selected_, !object.values[value].value.toBool(), 0.0};
}

void Screen_view::select_by(int lines)
{
    std::vector<int> shown;
    for (const Line& line : list(false))
        if (line.object >= 0)
            shown.push_back(line.object);
    if (shown.empty())
        return;
    const auto at = std::find(shown.begin(), shown.end(), selected_);
    if (at == shown.end()) {
        selected_ = shown.front();
        return;
    }
    const int target = static_cast<int>(at - shown.begin()) + lines;
    selected_ =
        shown[static_cast<std::size_t>(std::clamp(target, 0, static_cast<int>(shown.size()) - 1))];
}
