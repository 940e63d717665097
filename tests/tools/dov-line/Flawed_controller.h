#pragma once

#include "Controller_model.h"
#include "Pseudo_terminal.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>
#include <vector>

/// A controller whose firmware has one flaw, on a pseudo terminal. Its frame code is its own.
class Flawed_controller : public QObject {
    Q_OBJECT
public:
    enum class Flaw {
        none,
        reads_blocks,       ///< takes 13 bytes at a time, wherever they begin
        gives_up_on_sync,   ///< drops everything behind a frame that is none
        forgets_in_pauses,  ///< drops half a frame when the other half is slow
        ignores_checksums,  ///< takes every frame
        dies_of_unknown,    ///< answers nothing behind an identifier that it does not know
        has_slow_digests,   ///< half as many as asked for
        adds_digests,       ///< a new interval beside the one before
        never_ends_digests, ///< interval 0 is no interval
        is_stuck,           ///< commands change nothing
        is_forgetful,       ///< reports what commands ask for, and keeps nothing
        answers_twice,
        mumbles,        ///< bytes between its frames
        speaks_as_host, ///< frames with the host's addresses
        invents,        ///< messages that the protocol does not have
    };

    explicit Flawed_controller(Flaw flaw);

    const QString& device() const { return line_.device(); }

private:
    void receive();
    bool take_frame();
    void handle(const Message& request);
    void follow_digest_request(int interval_ms);
    void send(const Message& message);

    Flaw flaw_;
    Pseudo_terminal line_;
    QSocketNotifier notifier_{line_.own(), QSocketNotifier::Read};
    QByteArray pending_;
    QElapsedTimer clock_;
    qint64 last_byte_ms_ = 0;
    bool is_dead_ = false;
    Controller_model model_;
    std::vector<std::unique_ptr<QTimer>> timers_;
};
