#pragma once

#include "Panel_process.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QWebSocket>

/// A page of dov-panel's, without a browser: what it is told, and what it asks for.
class Panel_page : public QObject {
    Q_OBJECT
public:
    /// Opens it; hello() is there when it is.
    explicit Panel_page(const Panel_process& panel);

    bool is_open() const;

    /// Why it could not be opened; empty while that is not known.
    QString refusal() const
    {
        return socket_.state() == QAbstractSocket::UnconnectedState ? socket_.errorString()
                                                                    : QString();
    }

    /// Waits until it is open and has been told what is known. Every message from then on has to be
    /// an object with a type; the test ends at one that is not.
    bool opens();

    /// Waits until the panel has closed it; by which code, or 0.
    int close_code();

    /// Sends a text, or bytes.
    void send(const QByteArray& text);
    void send_bytes(const QByteArray& bytes) { socket_.sendBinaryMessage(bytes); }

    /// Sends a request with an id of its own, and waits for its answer; empty without one.
    QJsonObject ask(QJsonObject request);

    /// The same; the error, which is empty when it has been done.
    QString error_of(const QJsonObject& request);

    QString take_token(const QByteArray& token);
    QString bench(const QString& line);
    /// Of an object by its relative path, on its own interface.
    QJsonObject call(const QString& path, const QString& method, const QJsonArray& arguments = {});

    /// The last message of a type, and how many have come.
    QJsonObject last(const QString& type) const { return last_.value(type); }
    int count(const QString& type) const { return counts_.value(type); }
    QString partner(const QString& name) const;

    /// What it has been told last of a value, by the relative path of its object.
    QJsonValue value(const QString& path, const QString& member) const;
    bool knows(const QString& path, const QString& member, const QJsonValue& value) const;

    int object(const QString& path) const;

    /// Wants to be told of frames, or not any more.
    QString watch(bool frames);

    /// Every frame that it has been told of, and how many it has been told to be missing.
    const QJsonArray& frames() const { return frames_; }
    int dropped() const { return dropped_; }

private:
    void take(const QString& text);

    QWebSocket socket_;
    QHash<QString, QJsonObject> last_;
    QHash<QString, int> counts_;
    QMap<int, QJsonObject> answers_;
    QMap<QPair<int, QString>, QJsonValue> values_;
    QJsonArray frames_;
    int dropped_ = 0;
    int last_id_ = 0;
};
