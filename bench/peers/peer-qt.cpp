// Plain Qt: QSerialPort and QtDBus adaptors on the main thread, and no texts.

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QQueue>
#include <QSerialPort>
#include <QTimer>

#include <array>
#include <cmath>
#include <vector>

namespace {

const QString prefix = QStringLiteral("/com/quorin/system/");

QByteArray command(uchar id, uchar b1 = 0, uchar b2 = 0)
{
    QByteArray payload(8, '\0');
    payload[0] = static_cast<char>(id);
    payload[1] = static_cast<char>(b1);
    payload[2] = static_cast<char>(b2);
    return payload;
}

char checksum(const QByteArray& payload)
{
    uint sum = 0xD8;
    for (const char byte : payload)
        sum += static_cast<uchar>(byte);
    return static_cast<char>(sum);
}

double big_endian(const QByteArray& payload, int at)
{
    return static_cast<uchar>(payload[at]) << 8 | static_cast<uchar>(payload[at + 1]);
}

} // namespace

class Link : public QObject {
    Q_OBJECT
public:
    explicit Link(const QString& path)
    {
        port_.setPortName(path);
        port_.setBaudRate(QSerialPort::Baud115200);
        port_.open(QIODevice::ReadWrite);
        timer_.setSingleShot(true);
        connect(&port_, &QSerialPort::readyRead, this, &Link::read);
        connect(&timer_, &QTimer::timeout, this, &Link::next);
    }

    void send(const QByteArray& payload)
    {
        queue_.enqueue(payload);
        if (queue_.size() == 1)
            transmit();
    }

Q_SIGNALS:
    void message(const QByteArray& payload);

private:
    void transmit()
    {
        const QByteArray& payload = queue_.head();
        port_.write(QByteArray("\x18\xef\x78\x59") + payload + checksum(payload));
        timer_.start(300);
    }

    void next()
    {
        if (!queue_.isEmpty())
            queue_.dequeue();
        if (!queue_.isEmpty())
            transmit();
    }

    void read()
    {
        buffer_ += port_.readAll();
        decltype(buffer_.size()) at = 0;
        while (buffer_.size() - at >= 13) {
            const auto sync = buffer_.indexOf("\x18\xef", at);
            at = sync < 0 ? buffer_.size() - 1 : sync;
            if (buffer_.size() - at < 13)
                break;
            const QByteArray payload = buffer_.mid(at + 4, 8);
            if (checksum(payload) != buffer_.at(at + 12)) {
                ++at;
                continue;
            }
            at += 13;
            Q_EMIT message(payload);
            if (!queue_.isEmpty() && queue_.head().at(0) == payload.at(0) - 1)
                next();
        }
        buffer_.remove(0, at);
    }

    QSerialPort port_;
    QByteArray buffer_;
    QQueue<QByteArray> queue_;
    QTimer timer_;
};

class Digital_input : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.digital")
public:
    explicit Digital_input(QObject* holder) : QDBusAbstractAdaptor(holder) {}
    void update(bool on)
    {
        if (on != on_)
            Q_EMIT changed(on);
        on_ = on;
    }
public Q_SLOTS:
    void is_on(bool& res) { res = on_; }
Q_SIGNALS:
    void changed(bool ret);

private:
    bool on_ = false;
};

class Analog_input : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.analog")
public:
    explicit Analog_input(QObject* holder) : QDBusAbstractAdaptor(holder) {}
    void update(double value)
    {
        value_ = value;
        if (std::fabs(reported_ - value) <= hysteresis_)
            return;
        reported_ = value;
        Q_EMIT val_changed(value, false);
    }
public Q_SLOTS:
    void get_value(double& val) { val = value_; }
    void set_hysteresis(double val) { hysteresis_ = val; }
Q_SIGNALS:
    void val_changed(double val, bool timeout);

private:
    double value_ = -1e6;
    double reported_ = -1e6;
    double hysteresis_ = 1e6;
};

class Digital_output : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.output.digital")
public:
    Digital_output(QObject* holder, Link* link, uint channel)
        : QDBusAbstractAdaptor(holder), link_(link), channel_(channel)
    {
    }
public Q_SLOTS:
    void set(bool val, bool enabled)
    {
        const auto field = static_cast<uchar>((!enabled ? 3 : val ? 2 : 1) << channel_ * 2);
        link_->send(command(0x33, field, field));
        on_ = val;
    }
    void is_on(bool& res) { res = on_; }

private:
    Link* link_;
    uint channel_;
    bool on_ = false;
};

class Dimmable : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.dimmable")
public:
    explicit Dimmable(QObject* holder) : QDBusAbstractAdaptor(holder) {}
public Q_SLOTS:
    void set_brightness(double val) { brightness_ = val; }
    void get_brightness(double& val) { val = brightness_; }

private:
    double brightness_ = 100.0;
};

class Peer : public QObject {
    Q_OBJECT
public:
    explicit Peer(const QString& path) : link_(path)
    {
        for (uint i = 0; i < 4; ++i) {
            inputs_[i] = publish<Digital_input>(numbered("device/io/input/digital/", i));
            publish<Digital_output>(numbered("device/io/output/digital/", i), &link_, i)
                ->set(false, true);
        }
        analog_ = publish<Analog_input>(QStringLiteral("device/io/input/analog/0"));
        light_ = publish<Analog_input>(QStringLiteral("device/io/input/ambientlight/0"));
        frequency_ = publish<Analog_input>(QStringLiteral("device/io/input/frequency/0"));
        for (uint i = 0; i < 6; ++i) {
            publish<Analog_input>(numbered("device/io/input/voltage/", i));
            publish<Analog_input>(numbered("device/io/input/temperature/", i));
        }
        for (uint i = 0; i < 20; ++i)
            publish<Dimmable>(numbered("multi_led/", i));
        publish<Dimmable>(QStringLiteral("device/display/backlight"));
        connect(&link_, &Link::message, this, &Peer::handle);
        connect(&timer_, &QTimer::timeout, this, &Peer::poll);
        timer_.start(3000);
        poll();
    }

private:
    static QString numbered(const char* path, uint number)
    {
        return QLatin1String(path) + QString::number(number);
    }

    template <class Adaptor, class... Arguments>
    Adaptor* publish(const QString& path, Arguments... arguments)
    {
        auto* holder = new QObject(this);
        auto* adaptor = new Adaptor(holder, arguments...);
        QDBusConnection::systemBus().registerObject(prefix + path, holder);
        return adaptor;
    }

    void handle(const QByteArray& payload)
    {
        if (payload[0] != 0x36)
            return;
        for (uint i = 0; i < 4; ++i)
            inputs_[i]->update((payload[1] >> i & 1) != 0);
        light_->update(std::min(100.0, big_endian(payload, 4) * 0.001 * 100 / 4.995));
        analog_->update(big_endian(payload, 2) * 0.001);
        frequency_->update(big_endian(payload, 6));
    }

    void poll()
    {
        for (const int id : {0x1b, 0x21, 0x23, 0x27, 0x19, 0x11, 0x15})
            link_.send(command(static_cast<uchar>(id)));
    }

    Link link_;
    QTimer timer_;
    std::array<Digital_input*, 4> inputs_{};
    Analog_input* analog_ = nullptr;
    Analog_input* light_ = nullptr;
    Analog_input* frequency_ = nullptr;
};

int main(int count, char** arguments)
{
    QCoreApplication application(count, arguments);
    QDBusConnection::systemBus().registerService(QStringLiteral("com.quorin.system"));
    const Peer peer(QString::fromLocal8Bit(arguments[2]));
    return QCoreApplication::exec();
}

#include "peer-qt.moc"
