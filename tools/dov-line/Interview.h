#pragma once

#include "Conversation.h"
#include "Line_statistics.h"

#include <QJsonObject>
#include <QMap>
#include <QStringList>

/// Asks a controller, one thing after the other, and counts its answers. What has not been
/// answered in its time is named on standard error.
class Interview {
public:
    /// `wait_ms`: how long an answer may take; 0: none is waited for, and none missed.
    Interview(Conversation& conversation, int wait_ms)
        : conversation_(conversation), wait_ms_(wait_ms)
    {
    }

    /// Has to see every event of the conversation.
    void see(const Line_event& event);

    /// Sends bytes and waits until every request in them is answered; when there is none in them,
    /// for as long as an answer may take.
    void ask(const QByteArray& bytes);

    bool has_unanswered() const { return unanswered_ > 0; }

    /// What has been counted.
    QString text() const;
    QJsonObject json() const;

private:
    Conversation& conversation_;
    int wait_ms_;
    QMap<quint64, uchar> waiting_; ///< identifiers of requests, by the events' numbers
    quint64 asked_ = 0;
    quint64 unanswered_ = 0;
    Time_distribution times_;
};
