#pragma once

#include <QObject>

#include <chrono>

/// Has the event loop of its thread wait for what comes no more often than once in a span: what
/// comes meanwhile is taken together. What comes after a quiet span is taken at once.
///
/// Signals of the bus and bytes of the line come two thousand times a second, and to be woken costs
/// more than to take them.
class Loop_pace : public QObject {
public:
    explicit Loop_pace(std::chrono::milliseconds span);

private:
    void hold_back();

    std::chrono::milliseconds span_;
    std::chrono::steady_clock::time_point last_;
};
