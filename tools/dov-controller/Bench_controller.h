#pragma once

#include "Controller_model.h"
#include "Faults.h"
#include "Frame_reader.h"
#include "Line.h"
#include "Schedule.h"
#include "Trace.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>

/// A controller at work: the model on a line, with its faults and its clock.
///
/// Thread: the one of its event loop.
class Bench_controller : public QObject {
    Q_OBJECT
public:
    using Action = std::function<void(Bench_controller&)>;
    using Printer = std::function<void(const QString& text)>;

    /// Where the line is.
    struct Place {
        QString link;   ///< symbolic link to the pseudo terminal, or empty
        QString device; ///< a serial device in place of a pseudo terminal, or empty
        int baud = 115200;
    };

    Bench_controller();

    /// Opens the line and starts the clock. Returns an error's text, or nothing.
    QString start(const Place& place);

    Controller_model model;
    Faults faults;

    /// Time since the start.
    qint64 now_ms() const;
    qint64 now_us() const;

    /// Whether commands are carried out and answered, and digests pushed. They are, unless
    /// somebody else plays the controller's part.
    void set_answering(bool answering) { answering_ = answering; }

    const Line& line() const { return line_; }

    /// Pushes the message that tells `id`; nothing for an identifier that is not the controller's.
    void push_report(uchar id);

    /// Pushes any message, as faulty as the line is.
    void push(const Message& message);

    /// Sends bytes as they are, when their turn comes.
    void send_bytes(const QByteArray& bytes);

    /// Hangs up, and opens the line again: a new pseudo terminal, or the same device.
    void disconnect_line();
    void connect_line();

    /// Hangs up for so long.
    void disconnect_line_for(qint64 time_ms);

    /// Has the digests follow the interval of the model's state.
    void follow_digest_interval();

    /// Puts the state back to what it was at the start.
    void restart();

    /// Whether all that is to be sent has been sent and taken.
    bool is_idle() const;

    /// What has passed since the start.
    struct Counters {
        qint64 commands = 0; ///< frames for the controller
        qint64 sent = 0;     ///< bytes
        qint64 ignored = 0;  ///< bytes that are none of a frame's for the controller
        qint64 lost = 0;     ///< bytes that the host did not read
    };
    Counters counters() const;

    /// What the controller keeps and what has passed, in the form of commands and comments.
    QString state_text() const;

    /// Does a command for somebody whom what it prints is for.
    void carry_out(const Action& action, const Printer& printer);

    /// Prints a text for whoever has given the command that is being done, or on standard output.
    void print(const QString& text);

Q_SIGNALS:
    /// The host can open this device now.
    void line_opened(const QString& device);
    /// The line could not be opened again, or is gone.
    void line_failed(const QString& why);
    /// The host's first byte has come.
    void host_heard();
    /// Bytes have gone over the line.
    void passed(const Trace_entry& entry);
    /// Something asks for the end.
    void quit_asked();
    /// For standard output.
    void text_printed(const QString& text);

private:
    QString open_line();
    void take(const QByteArray& bytes);
    void take_frame(const QByteArray& frame);
    void send(const Message& message, Faults::Origin origin);
    void send_due();
    void push_digest();
    void note(bool from_controller, const QByteArray& bytes);

    Place place_;
    Line line_;
    Frame_reader reader_;
    Schedule schedule_;
    QTimer send_timer_;
    QTimer digest_timer_;
    QTimer reconnect_timer_;
    QElapsedTimer clock_;
    Controller_state start_state_;
    qint64 digest_due_ms_ = -1;
    bool answering_ = true;
    bool heard_ = false;
    Counters counters_; ///< but for those that the line counts
    Printer printer_;   ///< of the command that is being done
};
