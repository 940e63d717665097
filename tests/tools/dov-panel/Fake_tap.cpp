#include "Fake_tap.h"

#include "Line_records.h"
#include "Pcapng_writer.h"
#include "Report.h"

Fake_tap::Fake_tap()
{
    QObject::connect(&listener_, &Local_listener::connected, [this](int descriptor) {
        connection_ = std::make_unique<Local_connection>(descriptor);
        connection_->write(Pcapng_writer::header());
    });
    const QString error = listener_.open(path());
    if (!error.isEmpty())
        report::give_up(error.toUtf8());
}

void Fake_tap::pass(Sender sender, const QByteArray& bytes)
{
    constexpr qint64 begin_us = 1700000000000000;
    constexpr qint64 us_per_ms = 1000;
    connection_->write(
        Pcapng_writer::packet(record_at(0, sender, bytes), begin_us + ++passed_ * us_per_ms));
}
