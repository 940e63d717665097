#pragma once

#include "Bound_process.h"
#include "Report.h"

#include <QStringList>

/// dov-line itself.
class Line_process final : public report::Witness {
public:
    /// How it ended, and what it said.
    struct Run {
        int status; ///< -1 when it did not end by itself
        QString out;
        QString err;
    };

    ~Line_process();

    /// Runs it to its end.
    static Run run(const QStringList& arguments);

    void start(const QStringList& arguments);
    void signal(int number) const;
    bool is_running() const { return process_.state() != QProcess::NotRunning; }

    /// Everything that it has written so far.
    const QByteArray& output();

    /// Waits for its end.
    Run end();

    /// What it was asked for and has written, and whether it runs.
    void testify() override;

private:
    Bound_process process_;
    QByteArray output_;
    QByteArray errors_;
};
