#include "Canvas.h"

#include <algorithm>

namespace {

/// From here on there are characters of two columns.
constexpr ushort first_wide = 0x1100;
/// The symbols among them that are one column wide: punctuation to box drawing and shapes.
constexpr ushort first_symbol = 0x2000;
constexpr ushort end_of_symbols = 0x2E80;

QChar one_column(QChar character)
{
    const ushort code = character.unicode();
    const bool may_be_wide = code >= first_wide && (code < first_symbol || code >= end_of_symbols);
    return character.isPrint() && character.category() != QChar::Mark_NonSpacing && !may_be_wide
               ? character
               : QLatin1Char('?');
}

} // namespace

Canvas::Canvas(int width, int height)
    : width_(std::max(width, 0)),
      height_(std::max(height, 0)),
      cells_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_))
{
}

Canvas::Cell* Canvas::cell(int x, int y)
{
    if (x < 0 || x >= width_ || y < 0 || y >= height_)
        return nullptr;
    return &cells_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                   static_cast<std::size_t>(x)];
}

const Canvas::Cell& Canvas::at(int x, int y) const
{
    return cells_.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                     static_cast<std::size_t>(x));
}

int Canvas::put(int x, int y, const QString& text, Style style, int columns)
{
    const int count = static_cast<int>(text.size());
    const int end = columns < 0 ? count : std::min(count, columns);
    for (int i = 0; i < end; ++i) {
        Cell* const target = cell(x + i, y);
        if (target != nullptr) {
            target->character = one_column(text[i]);
            target->style = style;
        }
    }
    return x + end;
}

void Canvas::put_right(int x_end, int y, const QString& text, Style style)
{
    put(x_end - static_cast<int>(text.size()), y, text, style);
}

void Canvas::restyle(int x, int y, int columns, Style style)
{
    for (int i = 0; i < columns; ++i)
        if (Cell* const target = cell(x + i, y))
            target->style = style;
}

void Canvas::invert(int x, int y, int columns)
{
    for (int i = 0; i < columns; ++i)
        if (Cell* const target = cell(x + i, y))
            target->inverse = true;
}

QString Canvas::row(int y) const
{
    QString text;
    for (int x = 0; x < width_; ++x)
        text += at(x, y).character;
    return text;
}
