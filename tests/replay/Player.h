#pragma once

#include "Scenario.h"
#include "Terminal.h"

#include <QRandomGenerator>

/// How the controller's messages get to the daemon.
enum class Delivery {
    whole,       ///< each by itself
    split,       ///< in pieces of 1 to 12 bytes
    merged,      ///< all that come between two calls in one piece
    duplicated,  ///< each twice
    dropped,     ///< one of them without one of its bytes
    bit_flipped, ///< one of them with one wrong bit
};

/// A terminal that scenarios are played on, one after the other.
///
/// The controller answers what the poll asks, with values of its own that no scenario uses; its
/// texts are left out of what is seen. What the scenario's own calls ask is left to the scenario.
class Player {
public:
    /// What came of a scenario: its outcome, and what became of its messages on the way.
    struct Played {
        Scenario::Outcome outcome;
        QByteArrayList arrived; ///< the identifiers of those that got there, in hexadecimal
        bool checksum_is_wrong = false;
        bool address_is_wrong = false;
    };

    explicit Player(quint32 seed) : random_(seed) {}

    /// Starts the daemon, with the scenario's files and answers if there is one.
    void start(const Scenario* scenario = nullptr);

    /// Waits until the daemon has found out what controller it has; whether it has.
    bool wait_for_detection();

    Played play(const Scenario& scenario, Delivery delivery);

private:
    void prepare(const Scenario& scenario);
    void do_step(const Scenario::Step& step, Played& played);
    void deliver(const QByteArray& bytes);
    QByteArray damage(QByteArray frame, Played& played);
    QByteArray drop_byte(const QByteArray& frame);
    void send_pending();
    void finish();
    Scenario::Outcome outcome(const Scenario& scenario);

    int below(int limit) { return static_cast<int>(random_.bounded(limit)); }

    Delivery delivery_ = Delivery::whole;
    QRandomGenerator random_;
    std::unique_ptr<Terminal> terminal_;
    QByteArray pending_;     ///< bytes that wait for those behind them
    int until_damaged_ = -1; ///< messages before the one that is damaged
    QStringList results_;
};
