#include "ATX_interface.h"

#include "DBus_daemon.h"
#include "Field_catalogue.h"

ATX_interface::ATX_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool ATX_interface::handle_message(const uchar* data, uint len)
{
    if (len < 1 || data[0] != Message_id::atx)
        return refuse(data, len);
    Q_EMIT received();
    owner()->log() << "ATX acknowledge received" << std::endl;
    return true;
}

void ATX_interface::send_ack()
{
    send(blank_message(Message_id::atx_acknowledge));
    owner()->log() << "ATX acknowledge sent" << std::endl;
}
