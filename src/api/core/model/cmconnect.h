#pragma once

#include "tavo/tavoexport.h"

#include <QMetaMethod>
#include <QObject>

/// False if the connection is queued and the meta-type system does not know the type of one of the signal's arguments,
/// so that no call could be delivered. Thread-safe.
///
/// An automatic connection counts as queued if sender and receiver belong to different threads now.
[[nodiscard]] TAVO_API_EXPORT bool verifyConnectionSignalParameters(
    const QObject* sender, const QMetaMethod& signal, const QObject* receiver, Qt::ConnectionType type);

/// QObject::connect() for connections that must not fail: one that cannot be made or could not deliver ends the
/// process.
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
