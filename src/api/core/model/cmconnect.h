#pragma once

#include "tavo/tavoexport.h"

#include <QMetaMethod>
#include <QObject>

/// True unless the connection would carry arguments between threads, or through an event queue, of a type that the
/// meta-type system does not know.
[[nodiscard]] TAVO_API_EXPORT bool verifyConnectionSignalParameters(
    const QObject* sender, const QMetaMethod& signal, const QObject* receiver, Qt::ConnectionType type);

/// QObject::connect() that does not fail: a connection that cannot be made, or could not deliver, ends the process.
template<typename Sender, typename Signal, typename Receiver, typename Slot>
void cmConnect(
    const Sender* sender, Signal senderSignal, const Receiver* receiver, Slot slot,
    Qt::ConnectionType type = Qt::AutoConnection)
{
    const QMetaMethod signal = QMetaMethod::fromSignal(senderSignal);
    Q_ASSERT(verifyConnectionSignalParameters(sender, signal, receiver, type));
    const QMetaObject::Connection connection = QObject::connect(sender, senderSignal, receiver, slot, type);
    Q_ASSERT(connection);
}
