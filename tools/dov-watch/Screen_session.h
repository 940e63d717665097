#pragma once

#include "Curses_terminal.h"
#include "Options.h"
#include "Watcher.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

/// The watcher on the full screen: draws what it knows, and passes on what the keys ask for.
class Screen_session : public QObject {
    Q_OBJECT
public:
    Screen_session(Watcher& watcher, const Options& options);

    /// Whether the terminal could be taken over.
    bool is_open() const { return terminal_.is_open(); }

    void resize();

Q_SIGNALS:
    void end_asked();

private:
    void draw();
    void draw_soon();
    void take_keys();
    void carry_out(const Action& action);

    Watcher& watcher_;
    Options options_;
    Curses_terminal terminal_;
    Screen_view view_;
    QSocketNotifier keys_;
    QTimer redraw_timer_; ///< the ages grow also when nothing happens
    QTimer soon_timer_;   ///< many changes make one drawing
};
