#pragma once

#include "Panel_process.h"
#include "Private_bus.h"

#include <QObject>

#include <memory>

/// Tests of a dov-panel on a bus, both new for each of them.
class Panel_test : public QObject {
    Q_OBJECT

protected:
    Panel_process& panel() { return *panel_; }

    void start(const QStringList& more = {});

    /// Another one, that has not been started, in place of the one before.
    void replace_panel();

private Q_SLOTS:
    void init();
    void cleanup();

private:
    std::unique_ptr<Private_bus> bus_;
    std::unique_ptr<Panel_process> panel_;
};
