#pragma once

#include <functional>

/// While one lives, text collects beyond the end of a line; the last to end writes it, and then
/// lets go what was put behind it.
///
/// Thread: main.
class Console_batch {
public:
    Console_batch() { ++open_; }
    ~Console_batch();
    Console_batch(const Console_batch&) = delete;
    Console_batch& operator=(const Console_batch&) = delete;

    static bool is_open() { return open_ > 0; }

    /// Has `follower` called once, when the texts that have collected so far have left. There is
    /// one at a time.
    static void put_behind(std::function<void()> follower) { follower_ = std::move(follower); }

    /// Calls it, if there is one: the texts have left.
    static void let_go();

private:
    static int open_;
    static std::function<void()> follower_;
};
