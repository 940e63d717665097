#pragma once

#include "Console.h"

#include <QByteArray>

#include <cstdio>

#include <unistd.h>

/// Takes what goes to a descriptor while it lives.
class Captured_descriptor {
public:
    explicit Captured_descriptor(int descriptor)
        : descriptor_(descriptor), original_(dup(descriptor)), file_(std::tmpfile())
    {
        Console::flush();
        dup2(fileno(file_), descriptor_);
    }
    ~Captured_descriptor()
    {
        Console::flush();
        dup2(original_, descriptor_);
        ::close(original_);
        (void)std::fclose(file_);
    }
    Captured_descriptor(const Captured_descriptor&) = delete;
    Captured_descriptor& operator=(const Captured_descriptor&) = delete;

    /// Everything so far.
    QByteArray text()
    {
        Console::flush();
        QByteArray bytes;
        char part[4096];
        off_t at = 0;
        for (;;) {
            const ssize_t count = pread(fileno(file_), part, sizeof part, at);
            if (count <= 0)
                return bytes;
            bytes.append(part, static_cast<int>(count));
            at += count;
        }
    }

private:
    int descriptor_;
    int original_;
    std::FILE* file_;
};
