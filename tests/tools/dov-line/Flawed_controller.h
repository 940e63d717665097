#pragma once

#include "Controller_model.h"

#include <map>
#include <vector>

/// A controller whose firmware has one flaw, with neither line nor clock: who has them tells it
/// what arrives and when, and asks it what it sends. Its frame code is its own.
class Flawed_controller {
public:
    enum class Flaw {
        none,
        reads_blocks,       ///< takes 13 bytes at a time, wherever they begin
        gives_up_on_sync,   ///< drops everything behind a frame that is none
        forgets_in_pauses,  ///< drops half a frame when the other half comes 40 ms later
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
        is_silent,
        is_late,          ///< its answers, not its digests: 800 ms
        is_very_late,     ///< an hour
        breaks_one_frame, ///< the first
        breaks_frames,
        babbles, ///< bytes every 50 ms

        // These are none, but what a right controller may do.
        forgets_in_long_pauses, ///< of 200 ms
        sends_pieces,           ///< of four bytes, 5 ms apart
        starts_with_digests,    ///< that nobody has asked for
    };

    explicit Flawed_controller(Flaw flaw);

    /// Bytes arrive; times never go back.
    void receive(const QByteArray& bytes, qint64 now_ms);

    /// When it sends something next; never 0, and -1 for not at all.
    qint64 next_ms() const;

    /// What it sends then; nothing when it only begins to.
    QByteArray send_next();

private:
    /// What comes again and again.
    struct Rhythm {
        qint64 interval_ms;
        qint64 next_ms;
        QByteArray bytes; ///< empty: a digest
    };

    bool take_frame(qint64 now_ms);
    void handle(const Message& request, qint64 now_ms);
    void follow_digest_request(int interval_ms, qint64 now_ms);
    void send(const Message& message, qint64 at_ms);
    QByteArray frame_of(const Message& message);

    Flaw flaw_;
    QByteArray pending_;
    qint64 last_byte_ms_ = 0;
    bool is_dead_ = false;
    bool has_broken_ = false;
    Controller_model model_;
    std::multimap<qint64, QByteArray> outbox_; ///< by time
    qint64 free_ms_ = 0;                       ///< when it has sent all pieces
    std::vector<Rhythm> rhythms_;
};
