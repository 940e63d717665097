#pragma once

#include <QByteArray>
#include <QString>

/// Lines on standard output, in large writes.
class Output {
public:
    Output() = default;
    ~Output() { flush(); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void line(const QString& text);
    void line(const QByteArray& text);

    /// Writes what has collected. False, after saying why, once something could not be written.
    bool flush();

private:
    QByteArray collected_;
    bool has_failed_ = false;
};
