#include "Feed_server.h"

#include <unistd.h>

Feed_server::~Feed_server()
{
    listener_.reset();
    for (Recording_writer& reader : readers_)
        reader.finish();
    constexpr int patience_ms = 200;
    for (Recording_writer& reader : readers_)
        (void)reader.end(patience_ms);
}

QString Feed_server::open(const QString& path, const Recording_writer::Order& order)
{
    order_ = order;
    order_.path = path;
    order_.format = Recording_writer::Format::pcapng;
    order_.complain = nullptr; // readers may go as they like
    listener_ = std::make_unique<Local_listener>();
    QObject::connect(listener_.get(), &Local_listener::connected,
                     [this](int descriptor) { take_reader(descriptor); });
    return listener_->open(path);
}

void Feed_server::write(const Line_record& record)
{
    for (Recording_writer& reader : readers_)
        reader.write(record);
    forget_gone();
}

void Feed_server::take_reader(int descriptor)
{
    forget_gone();
    if (readers() >= most_readers)
        ::close(descriptor);
    else
        readers_.emplace_back().take(descriptor, order_);
}

void Feed_server::forget_gone()
{
    readers_.remove_if([](const Recording_writer& reader) { return reader.has_lost_reader(); });
}
