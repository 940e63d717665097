#pragma once

#include "Interface_base.h"

/// A version or identity text of the terminal, at "version/" and its name. Where the text comes
/// from is the derived classes' affair.
class Version_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.version")
public:
    /// Registers on the bus; the text is empty.
    Version_interface(DBus_daemon* owner, const QString& path);

public Q_SLOTS:
    /// Prints the text as well.
    void get(QString& res);

protected:
    void set_text(const QString& text) { text_ = text; }

private:
    QString text_;
};
