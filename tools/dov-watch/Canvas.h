#pragma once

#include <QString>

#include <vector>

/// How a character looks; the terminal decides on colours and attributes.
enum class Style : quint8 {
    plain,
    dim,
    title,   ///< the bar at the top
    heading, ///< of a section
    value,
    recent, ///< a value that has just changed
    good,
    warning,
    bad,
    spark,
};

/// A grid of characters, each one column wide, on which a screen is drawn.
class Canvas {
public:
    struct Cell {
        QChar character = QLatin1Char(' ');
        Style style = Style::plain;
        bool inverse = false;
    };

    Canvas(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }
    const Cell& at(int x, int y) const;

    /// Writes a text from (x, y) to the right, cut at the edge and after at most columns
    /// characters. What would not be one column wide is shown as '?'. Returns the column after it.
    int put(int x, int y, const QString& text, Style style = Style::plain, int columns = -1);

    /// The same, ending at the column before x_end.
    void put_right(int x_end, int y, const QString& text, Style style = Style::plain);

    /// Gives columns of a row a style, and keeps their characters.
    void restyle(int x, int y, int columns, Style style);
    void invert(int x, int y, int columns);

    /// A row's characters, for tests and for people.
    QString row(int y) const;

private:
    Cell* cell(int x, int y);

    int width_;
    int height_;
    std::vector<Cell> cells_;
};
