#pragma once

#include "Report.h"

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

#include <termios.h>

/// A program on a terminal: a pty of its own, and a small screen that understands what curses
/// writes for TERM=xterm.
class Terminal_screen final : public report::Witness {
public:
    Terminal_screen(const QString& program, const QStringList& arguments);
    ~Terminal_screen();

    int pid() const { return pid_; }
    void type(const QByteArray& keys) const;
    void resize(int columns, int rows);

    /// The screen's rows, a newline after each.
    QString text() const;

    /// Everything that has been written.
    const QByteArray& output() const { return output_; }

    /// Whether the program has ended.
    bool has_ended();
    /// Its exit status, or -1 when a signal ended it.
    int exit_status() const;

    /// The screen, and whether the program runs.
    void testify() override;

    /// Whether the terminal is as it was before the program: its modes, and its normal screen with
    /// a visible cursor.
    bool is_restored() const;

private:
    void receive();
    int take(const QByteArray& bytes, int at);
    int take_escape(const QByteArray& bytes, int at);
    void control(char final, const std::vector<int>& numbers, bool is_private);
    void blank(int from, int to);
    void put(QChar character);

    int master_ = -1;
    int pid_ = -1;
    int status_ = 0;
    bool ended_ = false;
    termios before_ = {};
    std::unique_ptr<QSocketNotifier> notifier_;
    QByteArray output_;
    QByteArray pending_;
    int columns_ = 120;
    int rows_ = 40;
    QString cells_; ///< row by row
    QChar last_;
    int x_ = 0;
    int y_ = 0;
    bool is_alternate_ = false;
    bool is_cursor_visible_ = true;
};
