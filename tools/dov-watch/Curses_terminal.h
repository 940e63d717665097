#pragma once

#include "Canvas.h"
#include "Screen_view.h"

#include <optional>

/// The terminal, through curses: shows canvases, gives keys, and is put back as it was when this
/// goes, and when the program crashes. One instance at most.
class Curses_terminal {
public:
    /// Takes over the terminal; is_open() is false when its type is not known or
    /// cannot place characters.
    Curses_terminal();
    ~Curses_terminal();
    Curses_terminal(const Curses_terminal&) = delete;
    Curses_terminal& operator=(const Curses_terminal&) = delete;

    bool is_open() const { return screen_ != nullptr; }
    int width() const;
    int height() const;

    /// Takes the terminal's present size.
    void resize();

    void show(const Canvas& canvas);

    /// The next key that has been pressed, if there is one. Keys that mean nothing are left out.
    std::optional<Key> key();

private:
    void* screen_ = nullptr;
    bool has_colours_ = false;
    bool has_many_colours_ = false;
};
