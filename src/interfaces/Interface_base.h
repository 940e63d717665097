#pragma once

#include "Message.h"
#include "Object_holder.h"

#include <QDBusAbstractAdaptor>
#include <QString>

#include <memory>
#include <string_view>

class DBus_daemon;
class Signal_relay;

/// One object on the bus: an interface at "/com/quorin/system/" and a relative path.
///
/// Its slots are the interface's methods, a reference argument being an output; its signals are
/// the interface's signals. The owner's list of objects deletes it, before the owner goes.
///
/// A derived class declares Q_OBJECT, which this one, whose first base is no QObject, cannot; it
/// calls register_object() at the end of its constructor, when its own meta-object is in force.
///
/// Thread: main.
class Interface_base : public Object_holder, public QDBusAbstractAdaptor {
public:
    /// Appends itself to the owner's list. `relative_path` is appended to the prefix as it is.
    /// With a power name and a loaded power configuration the power mask is read and logged.
    Interface_base(DBus_daemon* owner, const QString& relative_path, const char* power_name);
    ~Interface_base() override;

    /// Offers a message of the controller: `data[0]` the identifier, `len` counts it. Returns
    /// whether the object used it. Here no message is used and each reported on standard error,
    /// an empty one as identifier 0. A derived class hands on what it does not know and what is
    /// shorter than what it reads.
    virtual bool handle_message(const uchar* data, uint len);

    /// Tells the new power state. Does nothing here.
    virtual void power_state_changed(int state);

    /// Writes path, class, class infos and methods to standard output.
    void dump_interface() const;

protected:
    DBus_daemon* owner() const { return owner_; }

    /// Whether the object's device is on in a power state; false for a number that is no state.
    bool is_powered_in(int state) const;

    /// Reports a message that the object does not use; false.
    static bool refuse(const uchar* data, uint len);

    /// Publishes the object. A failure is ignored.
    void register_object();

    /// Sends a command to the controller.
    void send(const Message& command) const;

    /// Sends a command and writes `label` and its bytes to standard output.
    void send_traced(std::string_view label, const Message& command) const;

private:
    void read_power_mask(const char* power_name);

    DBus_daemon* owner_;
    std::unique_ptr<QString> path_;
    quint8 power_mask_ = 0;               ///< bit n: on in power state n
    std::unique_ptr<Signal_relay> relay_; ///< null where QtDBus sends the signals
};
