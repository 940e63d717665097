#include "Curses_terminal.h"

#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#define NCURSES_NOMACROS
#define NCURSES_WIDECHAR 1
#include <curses.h>
#include <term.h>

namespace {

constexpr int escape_key = 27;
constexpr int escape_delay_ms = 25;
constexpr int delete_key = 127;

/// A foreground and a background; -1 for the terminal's own.
struct Colours {
    short foreground;
    short background;
};

/// How a style looks on terminals of 256 colours, of eight, and of none.
struct Look {
    Colours many;
    Colours few;
    attr_t coloured;
    attr_t colourless;
};

/// In the order of Style.
constexpr std::array<Look, 10> looks = {{
    {{-1, -1}, {-1, -1}, A_NORMAL, A_NORMAL},
    {{245, -1}, {-1, -1}, A_NORMAL, A_NORMAL},
    {{231, 24}, {COLOR_WHITE, COLOR_BLUE}, A_BOLD, A_REVERSE},
    {{75, -1}, {COLOR_BLUE, -1}, A_BOLD, A_BOLD},
    {{255, -1}, {-1, -1}, A_NORMAL, A_NORMAL},
    {{221, -1}, {COLOR_YELLOW, -1}, A_BOLD, A_BOLD},
    {{114, -1}, {COLOR_GREEN, -1}, A_NORMAL, A_NORMAL},
    {{215, -1}, {COLOR_YELLOW, -1}, A_NORMAL, A_BOLD},
    {{203, -1}, {COLOR_RED, -1}, A_BOLD, A_BOLD},
    {{80, -1}, {COLOR_CYAN, -1}, A_NORMAL, A_NORMAL},
}};

constexpr int many_colours = 256;
constexpr short selected_background = 238;

/// The pairs of the styles begin with 1, and on terminals of 256 colours there is a second set
/// behind them for what is selected.
short pair_of(std::size_t style, bool selected)
{
    return static_cast<short>(1 + style + (selected ? looks.size() : 0));
}

/// What puts the terminal back when the program crashes: no curses then, only writes.
struct Rescue {
    termios modes;
    std::array<char, 256> sequence;
    std::size_t length;
};
Rescue rescue = {};

constexpr int crashes[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

void put_back(int number)
{
    (void)!::write(STDOUT_FILENO, rescue.sequence.data(), rescue.length);
    (void)tcsetattr(STDIN_FILENO, TCSANOW, &rescue.modes);
    std::signal(number, SIG_DFL);
    (void)std::raise(number);
}

void add_to_rescue(const char* capability)
{
    if (capability == nullptr)
        return;
    const std::size_t length = std::strlen(capability);
    if (rescue.length + length > rescue.sequence.size())
        return;
    std::memcpy(rescue.sequence.data() + rescue.length, capability, length);
    rescue.length += length;
}

void prepare_rescue()
{
    add_to_rescue(tigetstr("sgr0"));
    add_to_rescue(tigetstr("rmcup"));
    add_to_rescue(tigetstr("rmkx"));
    add_to_rescue(tigetstr("cnorm"));
    for (const int number : crashes)
        std::signal(number, put_back);
}

std::optional<Key> special_key(int code)
{
    static constexpr struct {
        int code;
        Key::Code key;
    } keys[] = {
        {KEY_UP, Key::Code::up},         {KEY_DOWN, Key::Code::down},
        {KEY_LEFT, Key::Code::left},     {KEY_RIGHT, Key::Code::right},
        {KEY_PPAGE, Key::Code::page_up}, {KEY_NPAGE, Key::Code::page_down},
        {KEY_HOME, Key::Code::home},     {KEY_END, Key::Code::end},
        {KEY_ENTER, Key::Code::enter},   {'\n', Key::Code::enter},
        {'\r', Key::Code::enter},        {KEY_BACKSPACE, Key::Code::backspace},
        {'\b', Key::Code::backspace},    {delete_key, Key::Code::backspace},
        {escape_key, Key::Code::escape},
    };
    for (const auto& each : keys)
        if (each.code == code)
            return Key{each.key, {}};
    return std::nullopt;
}

} // namespace

Curses_terminal::Curses_terminal()
{
    (void)tcgetattr(STDIN_FILENO, &rescue.modes);
    SCREEN* const screen = newterm(nullptr, stdout, stdin);
    if (screen == nullptr)
        return;
    if (tigetstr("cup") == nullptr) {
        endwin();
        delscreen(screen);
        return;
    }
    screen_ = screen;
    prepare_rescue();
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, true);
    nodelay(stdscr, true);
    set_escdelay(escape_delay_ms);
    curs_set(0);
    const char* const no_colour = std::getenv("NO_COLOR");
    has_colours_ = (no_colour == nullptr || *no_colour == '\0') && has_colors();
    if (!has_colours_)
        return;
    start_color();
    use_default_colors();
    has_many_colours_ = COLORS >= many_colours;
    for (std::size_t style = 0; style < looks.size(); ++style) {
        const Look& look = looks[style];
        const Colours& colours = has_many_colours_ ? look.many : look.few;
        init_pair(pair_of(style, false), colours.foreground, colours.background);
        if (has_many_colours_)
            init_pair(pair_of(style, true), colours.foreground, selected_background);
    }
}

Curses_terminal::~Curses_terminal()
{
    if (screen_ == nullptr)
        return;
    for (const int number : crashes)
        std::signal(number, SIG_DFL);
    // Where there is no screen to go back to, the next prompt finds an empty line.
    wmove(stdscr, height() - 1, 0);
    wclrtoeol(stdscr);
    wrefresh(stdscr);
    endwin();
    delscreen(static_cast<SCREEN*>(screen_));
}

int Curses_terminal::width() const
{
    return getmaxx(stdscr);
}

int Curses_terminal::height() const
{
    return getmaxy(stdscr);
}

void Curses_terminal::resize()
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0)
        resizeterm(size.ws_row, size.ws_col);
    clearok(curscr, true);
}

void Curses_terminal::show(const Canvas& canvas)
{
    werase(stdscr);
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            const Canvas::Cell& cell = canvas.at(x, y);
            const auto style = static_cast<std::size_t>(cell.style);
            const bool has_own_pair = cell.inverse && has_many_colours_;
            attr_t attributes = has_colours_ ? looks[style].coloured : looks[style].colourless;
            if (cell.inverse && !has_own_pair)
                attributes |= A_REVERSE;
            const std::array<wchar_t, 2> text = {static_cast<wchar_t>(cell.character.unicode()), 0};
            cchar_t character = {};
            setcchar(&character, text.data(), attributes,
                     has_colours_ ? pair_of(style, has_own_pair) : short{0}, nullptr);
            // The last corner moves the cursor out of the screen, which curses calls an error.
            (void)mvwadd_wch(stdscr, y, x, &character);
        }
    }
    wrefresh(stdscr);
}

std::optional<Key> Curses_terminal::key()
{
    for (;;) {
        wint_t code = 0;
        const int kind = wget_wch(stdscr, &code);
        if (kind == ERR)
            return std::nullopt;
        if (const std::optional<Key> special = special_key(static_cast<int>(code)))
            return special;
        if (kind == OK && code < 0xFFFF)
            return Key{Key::Code::character, QChar(static_cast<ushort>(code))};
    }
}
