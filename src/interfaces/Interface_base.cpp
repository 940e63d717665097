#include "Interface_base.h"

#include "Bus_names.h"
#include "Console.h"
#include "DBus_daemon.h"
#include "Power_controller_interface.h"
#include "Signal_relay.h"

#include <QMetaClassInfo>
#include <QMetaMethod>

namespace {

/// By QMetaMethod::MethodType.
constexpr const char* method_prefixes[] = {
    "  Method: ", "  Signal: ", "  Slot:   ", "  Constructor:"};

/// Of every QObject. Which internal ones it has depends on the version of Qt; the listing does not.
constexpr const char* inherited_methods = "  Signal: destroyed(QObject*)\n"
                                          "  Signal: destroyed()\n"
                                          "  Signal: objectNameChanged(QString)\n"
                                          "  Slot:   deleteLater()\n"
                                          "  Slot:   _q_reregisterTimers(void*)\n";

const char* method_prefix(const QMetaMethod& method)
{
    const auto type = static_cast<std::size_t>(method.methodType());
    return type < std::size(method_prefixes) ? method_prefixes[type] : "  Unknown";
}

/// A byte that is handed back is declared `unsigned char&`, which moc of Qt 6 shortens.
QByteArray signature(const QMetaMethod& method)
{
    return method.methodSignature().replace("uchar&", "unsigned char&");
}

} // namespace

Interface_base::Interface_base(DBus_daemon* owner, const QString& relative_path,
                               const char* power_name)
    : Object_holder(owner),
      QDBusAbstractAdaptor(holder()),
      owner_(owner),
      path_(std::make_unique<QString>(QLatin1String(path_prefix) + relative_path))
{
    owner_->add_object(this);
    if (power_name != nullptr && owner_->power_config() != nullptr)
        read_power_mask(power_name);
}

Interface_base::~Interface_base() = default;

bool Interface_base::handle_message(const uchar* data, uint len)
{
    return refuse(data, len);
}

bool Interface_base::refuse(const uchar* data, uint len)
{
    const int id = len > 0 ? data[0] : 0;
    Console::err() << "Unhandled id=" << id << " len=" << len << "\n";
    return false;
}

void Interface_base::power_state_changed(int /*state*/)
{
}

void Interface_base::dump_interface() const
{
    const Console_batch batch;
    Text_stream& out = Console::out();
    const QMetaObject* meta = metaObject();
    out << "Path: " << path_->toUtf8().constData() << "\n";
    out << "  Class:   " << meta->className() << "\n";
    for (int i = 0; i < meta->classInfoCount(); ++i)
        out << "  " << meta->classInfo(i).name() << ": " << meta->classInfo(i).value() << "\n";
    out << inherited_methods;
    for (int i = QDBusAbstractAdaptor::staticMetaObject.methodCount(); i < meta->methodCount();
         ++i) {
        const QMetaMethod method = meta->method(i);
        out << method_prefix(method) << signature(method).constData() << "\n";
    }
}

bool Interface_base::is_powered_in(int state) const
{
    return state >= 0 && state < power_state_count && (power_mask_ >> state & 1) != 0;
}

void Interface_base::register_object()
{
    relay_ = owner_->bus().publish(this, *path_);
}

void Interface_base::send(const Message& command) const
{
    owner_->link()->send_message(command);
}

void Interface_base::send_traced(std::string_view label, const Message& command) const
{
    send(command);
    Console::out().bytes(label, Byte_style::lower_spaced, command.data(), message_size) << "\n";
}

void Interface_base::read_power_mask(const char* power_name)
{
    Logger::OStream& log = owner_->log();
    log << "PWR:";
    for (int state = 0; state < power_state_count; ++state) {
        const bool on =
            get_device_power(owner_->power_config(), state, power_name, default_device_power);
        log << power_state_name(state) << "=" << (on ? "T" : "F") << " ";
        if (on)
            power_mask_ = static_cast<quint8>(power_mask_ | 1 << state);
    }
    log << " " << int{power_mask_} << " for " << path_->toUtf8().constData() << ":" << power_name
        << std::endl;
}
