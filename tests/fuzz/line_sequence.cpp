// The port in every mix of its uses: reads, looks, packets, transactions and announcements see the
// one sequence of bytes that a plain line has.

#include "Fuzz_world.h"
#include "Line_trial.h"

#include <QCoreApplication>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static auto* const link = [] {
        auto* made = new Line_trial::Link;
        made->QIODevice::open(QIODevice::ReadWrite); // no device, and no threads
        return made;
    }();
    Choices choices(data, size);
    Line_trial trial(*link, {[&](uint limit) { return choices.below(limit); },
                             [](const QByteArray& bytes) { link->put_received(bytes); },
                             [](const std::function<bool()>& /*done*/) { link->notify_data_rx(); },
                             [] { return QByteArray::fromStdString(captured_output().take()); }});
    while (choices.are_left()) {
        const QByteArray difference = trial.step();
        if (!difference.isEmpty())
            require(false, "one sequence of bytes", (trial.steps() + difference).toStdString());
    }
    QCoreApplication::removePostedEvents(link); // no event loop turns here
    return 0;
}
