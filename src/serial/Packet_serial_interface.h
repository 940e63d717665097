#pragma once

#include "Frame.h"
#include "Threaded_serial_port.h"

/// Turns the bytes of a serial port into frames and back.
///
/// What a frame looks like stands in Frame.h. It carries no length: packet_length() tells. Wrong
/// addresses are reported and accepted. After garbage or a wrong checksum the search goes
/// on at the next byte, so that a frame that begins inside a bad one is found.
///
/// Reports go to standard output. Thread: the owner's.
class Packet_serial_interface : public Threaded_serial_port {
    Q_OBJECT
public:
    static constexpr int max_payload = Frame::max_payload;

    Packet_serial_interface();

    using Threaded_serial_port::open;

    /// Opens the port and sets 115200 baud.
    void open(const char* path) override;

    /// Frames `len` bytes and hands them to the port; false, and nothing written, above 255.
    virtual bool write_packet(const unsigned char* payload, uint len);

    /// Takes the next good frame out of all that has arrived. Returns its payload's length, also
    /// when only `size` bytes of it fitted into `buf`; 0 when no whole frame is there, and when a
    /// turn of the event loop is over (Threaded_serial_port::turn).
    virtual uint read_packet(unsigned char* buf, uint size);

    /// The payload length of the frame that begins with the given bytes: 3 or more, at most 260.
    /// Does not read from the port. A frame longer than 260 bytes is never found.
    virtual uint packet_length(const QByteArray& head) = 0;

Q_SIGNALS:
    /// One good payload, valid during the emission.
    void handle_packet(const unsigned char* payload, uint len);

public Q_SLOTS:
    /// Delivers every whole frame that has arrived, in order, by read_packet() with a buffer of 256
    /// bytes. Connected to readyRead().
    void handle_read();

private:
    const QByteArray& head_of(const uchar* bytes, int size);
    void check_addresses(const uchar* frame) const;
    void take_payload(const View& frame, uint length, uchar* buf, uint size);

    QByteArray head_; ///< for packet_length()
};
