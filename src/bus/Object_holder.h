#pragma once

#include <QObject>

/// Holds the object that is registered on the bus.
class Object_holder {
public:
    explicit Object_holder(QObject* parent) : holder_(parent) {}
    virtual ~Object_holder() = default;

protected:
    QObject* holder() { return &holder_; }

private:
    QObject holder_;
};
