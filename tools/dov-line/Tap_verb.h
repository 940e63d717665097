#pragma once

#include "Tap_observer.h"
#include "Verb.h"

/// Stands between the daemon and its device, and looks at what passes.
class Tap_verb : public Verb {
public:
    Tap_verb();

    int run(const QStringList& arguments) override;

private:
    void add_size(const char* name, const char* meaning, const std::function<void(quint64)>& take);
    void add_recordings();
    void add_incidents();
    QString wrong_usage() const;

    Tap_observer::Order order_;
    quint64 ring_bytes_ = 0; ///< as asked for; there may be no room for so many
    bool is_quiet_ = false;
};
