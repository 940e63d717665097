#pragma once

#include <QString>

#include <termios.h>

/// The pseudo terminal that a host opens in the place of the device: this end of it.
///
/// It is in packet mode, so that bytes and news of the host's come in one order, and its settings
/// have EXTPROC: then every change of them is news. (Without EXTPROC the kernel tells of changes of
/// flow control alone, and looking at the settings again and again would find a speed late.)
/// EXTPROC also keeps the pseudo terminal from echoing or interpreting what comes before a host has
/// set it raw.
class Host_terminal {
public:
    /// What a read finds.
    enum class Found : uchar {
        nothing,  ///< until the descriptor is readable again
        bytes,    ///< from the host
        settings, ///< the host may have changed them
        closed,   ///< no host has it open
    };

    Host_terminal() = default;
    ~Host_terminal() { close(); }
    Host_terminal(const Host_terminal&) = delete;
    Host_terminal& operator=(const Host_terminal&) = delete;

    /// Makes one, raw, with the speed and the other settings of a device. Returns an error's text,
    /// or nothing.
    QString open(const termios& device);

    /// A host that has it open sees a hang-up, as of an adapter that is pulled out.
    void close();

    bool is_open() const { return own_ >= 0; }
    int descriptor() const { return own_; }

    /// What the host opens.
    const QString& name() const { return name_; }

    /// Whether a host has it open.
    bool has_host() const;

    /// Reads what has come from the host; of bytes, `count` are in `bytes`.
    Found read(char* bytes, int size, int& count);

    /// What the host has set.
    termios settings();

    /// Drops what the last host has not read, so that the next one does not get it.
    void forget_unread();

private:
    int own_ = -1;
    QString name_;
};
