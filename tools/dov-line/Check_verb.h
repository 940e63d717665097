#pragma once

#include "Check_report.h"
#include "Device_verb.h"
#include "Exchange.h"

/// Finds out whether a controller's firmware does what the protocol says.
class Check_verb : public Device_verb {
public:
    Check_verb();

    /// The arguments are the names of checks, or of groups of them, with wildcards; none for all.
    int run(const QStringList& arguments) override;

private:
    using Checks = std::vector<Controller_check>;

    QString choose(const QStringList& names, Checks& checks) const;
    int list(const Checks& checks);
    void examine(const Checks& checks, Examiner& examiner);
    Verdict judge(const Controller_check& check, Examiner& examiner) const;
    void report(const Check_result& result);
    void show_progress(const QString& name, std::size_t of) const;
    bool write_junit() const;

    int wait_ms_ = response_time_ms;
    bool change_ = false;
    bool list_ = false;
    bool tap_ = false;
    QString junit_;
    std::vector<Check_result> results_;
};
