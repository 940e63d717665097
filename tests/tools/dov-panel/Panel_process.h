#pragma once

#include "Bound_process.h"
#include "Report.h"

#include <QStringList>

/// dov-panel itself.
class Panel_process final : public report::Witness {
public:
    ~Panel_process();

    /// Starts it at a port that is free, and waits until it serves.
    void start(const QStringList& arguments = {});

    /// Runs it to its end, with nothing added; whether it ended by itself.
    bool run(const QStringList& arguments);

    /// Asks it to end; whether it does, with status 0.
    bool ends_cleanly();

    int port() const { return port_; }

    /// What pages of its own have for their origin.
    QByteArray origin() const { return "http://127.0.0.1:" + QByteArray::number(port_); }

    /// Of the address that it has printed; empty without one.
    const QByteArray& token() const { return token_; }

    const QByteArray& output();
    const QByteArray& errors();
    int exit_code() const { return process_.exitCode(); }
    qint64 pid() const { return process_.processId(); }

    void testify() override;

private:
    Bound_process process_;
    QByteArray output_;
    QByteArray errors_;
    QByteArray token_;
    int port_ = 0;
};
