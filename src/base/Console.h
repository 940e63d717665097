#pragma once

#include "Console_batch.h"
#include "Text_stream.h"

/// The process's two text streams. When both lead to the same file, their texts share one buffer
/// and keep their common order.
///
/// Thread: main.
class Console {
public:
    static Text_stream& out() { return out_; }
    static Text_stream& err() { return err_; }

    /// Opens /dev/null on each of the descriptors 0, 1 and 2 that is closed, so that no file
    /// opened later takes its number and the streams' text; joins the streams when they lead to
    /// one file. Call first.
    static void open();

    /// Writes what has collected, then lets go what was put behind it. What leaves the process in
    /// another way, and follows a text, asks for it first.
    static void flush();

private:
    static Text_stream out_;
    static Text_stream err_;
};
