#pragma once

#include "Canvas.h"
#include "Watch_model.h"

#include <QString>

#include <vector>

/// The characters that differ between terminals.
struct Glyphs {
    QString levels; ///< of a sparkline, lowest first
    QChar on;
    QChar off;
    QChar marker;
    QChar rule;
    QChar divider;
    QChar ellipsis;
    QString dash;
    QString at_least;
    QString arrows;

    static const Glyphs& utf8();
    static const Glyphs& ascii();

    bool is_ascii() const { return rule == QLatin1Char('-'); }
};

/// A key as the view understands it.
struct Key {
    enum class Code {
        character,
        up,
        down,
        left,
        right,
        page_up,
        page_down,
        home,
        end,
        enter,
        backspace,
        escape,
    };
    Code code = Code::character;
    QChar character;
};

/// What a key asks for beyond the view itself.
struct Action {
    enum class Kind { none, quit, switch_output, enable_output, set_brightness };
    Kind kind = Kind::none;
    int object = -1;    ///< the output
    bool on = false;    ///< switch_output, enable_output
    double level = 0.0; ///< set_brightness, in percent
};

/// What the view shows beside the model.
struct Screen_facts {
    qint64 now_ms = 0;
    QString clock; ///< the time of day
    QString bus;   ///< its address
    bool bus_connected = true;
    int interval_ms = 0; ///< 0 for no reading
};

/// The whole screen: which objects, where, with what selected, and what the keys do. Draws on a
/// canvas of any size; knows no terminal and no bus.
class Screen_view {
public:
    Screen_view(const Watch_model& model, const Glyphs& glyphs, const QString& filter);

    void draw(Canvas& canvas, const Screen_facts& facts);
    Action handle_key(const Key& key);

    /// Shows a text in place of the key hints until the next key.
    void show_message(const QString& text) { message_ = text; }

private:
    enum class Mode { browse, filter, brightness, help };

    /// One line of the list: an object, a section's heading, or neither for a blank.
    struct Line {
        int object = -1;
        QString heading;
    };
    struct Placement {
        Line line;
        int column;
        int row;
    };
    struct Grid {
        int columns;
        int top;
        int height;
    };
    /// A column's first character and its width.
    struct Span {
        int x;
        int width;
    };

    bool matches(const Watched_object& object) const;
    std::vector<Line> list(bool with_blanks) const;
    Grid make_grid(const Canvas& canvas, const std::vector<Line>& lines) const;
    std::vector<Placement> flow(const std::vector<Line>& lines, const Grid& grid,
                                std::size_t offset) const;
    bool fits(const std::vector<Line>& lines, const Grid& grid) const;
    std::vector<Span> spans(const std::vector<Placement>& placements, const Grid& grid,
                            int width) const;
    void follow_selection(const std::vector<Line>& lines, const Grid& grid);

    void draw_title(Canvas& canvas, const Screen_facts& facts) const;
    void draw_health(Canvas& canvas, const Screen_facts& facts) const;
    void draw_list(Canvas& canvas, const Screen_facts& facts);
    void draw_object(Canvas& canvas, const Screen_facts& facts, int x, int y, int width,
                     int object) const;
    void draw_sparkline(Canvas& canvas, int x, int y, int width,
                        const Watched_object& object) const;
    void draw_detail(Canvas& canvas, int y, const Screen_facts& facts) const;
    void draw_prompt(Canvas& canvas, int y) const;
    void draw_help(Canvas& canvas) const;

    QString text_of(const Watched_object& object, std::size_t value) const;
    QString summary(const Watched_object& object) const;
    Style style_of(const Watched_object& object, const Screen_facts& facts) const;
    QString age_of(const Watched_object& object, qint64 now_ms) const;
    QString fitted(const QString& text, int columns) const;
    QString plain(QString text) const;

    Action browse_key(const Key& key);
    Action letter_key(QChar letter);
    Action prompt_key(const Key& key);
    Action change_brightness(double by) const;
    Action operate(Action::Kind kind, std::size_t value) const;
    void select_by(int lines);

    const Watch_model& model_;
    const Glyphs& glyphs_;
    Mode mode_ = Mode::browse;
    QString filter_;
    QString prompt_;
    QString message_;
    int selected_ = 0;       ///< an object, also while the filter hides it
    std::size_t offset_ = 0; ///< the first line shown
    int page_ = 1;           ///< lines a column, as drawn last
};
