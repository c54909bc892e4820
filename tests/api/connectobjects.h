#pragma once

#include "model/cmpath.h"

#include <QObject>

/// Not registered with the meta-type system.
struct Unregistered
{
    int number = 0;
};

class Sender : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void sentNumber(int number);
    void sentPath(const CMPath& path);
    void sentUnregistered(const Unregistered& value);
    void sentPointer(Unregistered* value);
    void sentBoth(int number, const Unregistered& value);
};

class Receiver : public QObject
{
    Q_OBJECT
public:
    void takeNumber(int number) { sum += number; }
    void takePath(const CMPath& path) { base = path.base(); }
    void takeUnregistered(const Unregistered& value) { sum += value.number; }
    void takePointer(const Unregistered* value) { sum += value->number; }

    int sum = 0;
    QString base;
};
