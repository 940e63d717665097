#pragma once

#include <QtGlobal>

#include <string_view>

/// A number as text.
class Number_text {
public:
    /// In decimal.
    explicit Number_text(int number);
    explicit Number_text(uint number);

    /// As "%g" spells it, with a point in every locale. A number that was spelled a short while ago
    /// is not spelled anew: most inputs report the same ones again. Thread: main.
    explicit Number_text(double number);

    std::string_view view() const { return {text_, size_}; }

private:
    char text_[15]; ///< "-1.23457e+308" is the longest
    quint8 size_;
};
