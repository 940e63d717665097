#pragma once

/// How long the process waits for somebody who does not read its texts: without limit, until it is
/// told to quit, and then 200 ms.
///
/// Thread: main.
class Reader_patience {
public:
    /// From the moment `descriptor` is readable, the process is told to quit. No descriptor, the
    /// initial state, is -1.
    static void interrupt_on(int descriptor) { interrupt_ = descriptor; }

    /// The process is told to quit.
    static void end() { ended_ = true; }

    /// Waits until `descriptor` can be written; whether it can in time.
    static bool wait_for(int descriptor);

private:
    static int interrupt_;
    static bool ended_;
};
