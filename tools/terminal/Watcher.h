#pragma once

#include "Bus_client.h"
#include "Watch_model.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTimer>

/// Keeps the model true to the bus: subscribes, reads what is due, follows service and bus as they
/// go and come back, and operates what the keys operate.
class Watcher : public QObject {
    Q_OBJECT
public:
    /// What it is to do.
    struct Order {
        QString address;        ///< of the bus; empty for the machine's system bus
        int interval_ms = 1000; ///< of reading what no signal tells; 0 for never
        /// Set in every threshold input while watching, and set back at the end.
        std::optional<unsigned> report_ms = {};
        std::optional<double> hysteresis = {};
    };

    explicit Watcher(const Order& order);
    /// Sets back what it has set in the service.
    ~Watcher() override;

    /// Connects. False when there is no bus; error() says why.
    bool start();
    QString error() const { return bus_.error().message(); }

    /// Connects as soon as there is a bus.
    void start_when_possible();

    /// Whether bus or service refuse what is asked, and why; empty when they do not.
    const QString& refusal() const { return refusal_; }

    const Watch_model& model() const { return model_; }
    bool bus_connected() const { return bus_connected_; }
    bool has_service() const { return !owner_.isEmpty(); }
    qint64 now_ms() const { return clock_.elapsed(); }

    /// Calls a method of an object, and reads the object's values behind it.
    void call(int object, const QString& method, const QVariantList& arguments,
              const Bus_client::Answer& answer, const Bus_client::Failure& failure);

    void switch_output(int object, bool on);
    void enable_output(int object, bool enabled);
    void set_brightness(double percent);

Q_SIGNALS:
    /// Of the model; also for the service itself, at path "com.quorin.system", member "owner".
    void changed(const Change& change);
    /// The service was there and has left the bus, or another process has taken its place.
    void service_left();
    /// The bus has ended. Connecting again is tried as long as the watcher lives.
    void bus_lost();
    /// Something that the keys asked for was refused.
    void refused(const QString& message);
    /// The service was not there when the bus was joined.
    void service_missing();
    /// A value could not be read.
    void unreadable(const QString& message);
    /// Everything that was asked for has been answered, or refused.
    void all_read();

private:
    /// What a threshold input held before the options were set in it.
    struct Setting {
        int object;
        QString setter;
        QVariant value;
    };

    void take_owner(const QString& owner);
    void take_signal(const QDBusMessage& message);
    void lose_bus();
    void try_again();
    void read_due();
    void read(const Value_place& place);
    void end_reading(const QString& key);
    void read_values(int object);
    void set_in_inputs();
    void replace_setting(int object, const QString& name, const QVariant& value);
    void set_back();
    void command(int object, const QString& method, const QVariantList& arguments);
    const Watched_object& object(int index) const;
    void tell(const std::optional<Change>& change);

    Order order_;
    Watch_model model_;
    Bus_client bus_;
    QSet<QString> interfaces_;
    QElapsedTimer clock_;
    QTimer read_timer_;
    QTimer sample_timer_;
    QTimer again_timer_;
    QString owner_;
    QString refusal_;
    bool bus_connected_ = false;
    QSet<QString> reading_;       ///< what has been asked and not answered
    QHash<QString, int> signals_; ///< how many have come, by path
    std::vector<Setting> settings_;
};
