#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

/// Lines on a descriptor, written in a thread of its own. A reader that does not follow, as a
/// terminal that is stopped, loses lines, and the next that it gets says how many.
///
/// Thread: one writes.
class Text_output {
public:
    /// `complain` is told, in the thread of the output, why it ends early.
    Text_output(int descriptor, const std::function<void(const QString&)>& complain);
    /// Writes what waits, but does not wait long for a reader that does not take it.
    ~Text_output();
    Text_output(const Text_output&) = delete;
    Text_output& operator=(const Text_output&) = delete;

    /// A line without its end.
    void line(const QByteArray& text);

private:
    class Work;

    std::shared_ptr<Work> work_; ///< shared with its thread, which may outlive this
};
