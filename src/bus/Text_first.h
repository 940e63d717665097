#pragma once

#include <QObject>

class QDBusAbstractAdaptor;

/// Lets no signal that QtDBus sends by itself overtake a text: hears it first, and writes what has
/// collected.
///
/// Thread: main.
class Text_first : public QObject {
    Q_OBJECT
public:
    /// Before the adaptor is registered: who is connected first hears first.
    void listen_to(QDBusAbstractAdaptor* adaptor);

    void leave(QDBusAbstractAdaptor* adaptor);

private Q_SLOTS:
    void flush();
};
