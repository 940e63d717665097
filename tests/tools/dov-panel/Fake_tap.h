#pragma once

#include "Line_record.h"
#include "Local_connection.h"
#include "Local_listener.h"

#include <QTemporaryDir>

#include <memory>

/// In the place of a running dov-line tap: a line on which passes what the test wants.
class Fake_tap {
public:
    /// Listens; for one client.
    Fake_tap();

    QString path() const { return directory_.filePath(QStringLiteral("live")); }
    bool has_client() const { return connection_ != nullptr; }

    /// Has bytes pass, each time a millisecond later. No more than Local_connection::most_waiting
    /// before they have been seen to arrive.
    void pass(Sender sender, const QByteArray& bytes);

    /// How many times something has passed.
    int passed() const { return passed_; }

private:
    QTemporaryDir directory_;
    Local_listener listener_;
    std::unique_ptr<Local_connection> connection_;
    int passed_ = 0;
};
