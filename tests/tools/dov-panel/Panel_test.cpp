#include "Panel_test.h"

void Panel_test::start(const QStringList& more)
{
    panel_->start(QStringList{QStringLiteral("--bus"), bus_->address()} + more);
}

void Panel_test::replace_panel()
{
    panel_ = std::make_unique<Panel_process>();
}

void Panel_test::init()
{
    bus_ = std::make_unique<Private_bus>();
    replace_panel();
}

void Panel_test::cleanup()
{
    panel_.reset();
    bus_.reset();
}
