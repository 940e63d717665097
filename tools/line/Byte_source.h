#pragma once

#include <QString>

#include <vector>

/// A file's bytes, read a block at a time.
class Byte_source {
public:
    /// What is read at once, in bytes; no line and no pcapng block is longer.
    static constexpr std::size_t block = std::size_t{1} << 20;

    Byte_source() = default;
    ~Byte_source();
    Byte_source(const Byte_source&) = delete;
    Byte_source& operator=(const Byte_source&) = delete;

    /// Opens a file, or standard input for "-". Returns an error's text, or nothing.
    QString open(const QString& path);

    /// Takes a descriptor that is open already, which it closes.
    void take(int descriptor, const QString& name);

    const QString& name() const { return name_; }

    /// The bytes that are read and not consumed.
    const char* begin() const { return buffer_.data() + begin_; }
    std::size_t size() const { return end_ - begin_; }

    /// How many bytes of the file have been consumed.
    quint64 position() const { return position_; }

    void consume(std::size_t count)
    {
        begin_ += count;
        position_ += count;
    }

    /// Reads more behind what is there. False at the end of the file, when a read fails, and when
    /// a whole block waits to be consumed.
    bool fill();

    /// Why a read failed; empty when none did.
    const QString& error() const { return error_; }

private:
    QString name_;
    QString error_;
    int descriptor_ = -1;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    quint64 position_ = 0;
};
