#include "model/cmconnect.h"

#include <QMetaType>

#include <algorithm>

namespace {

bool isQueued(const QObject* sender, const QObject* receiver, Qt::ConnectionType type)
{
    const int kind = type & ~Qt::UniqueConnection;
    return kind == Qt::QueuedConnection ||
           (kind == Qt::AutoConnection && sender && receiver && sender->thread() != receiver->thread());
}

} // namespace

bool verifyConnectionSignalParameters(
    const QObject* sender, const QMetaMethod& signal, const QObject* receiver, Qt::ConnectionType type)
{
    if (!isQueued(sender, receiver, type))
        return true;
    const QList<QByteArray> types = signal.parameterTypes();
    return std::all_of(types.cbegin(), types.cend(), [](const QByteArray& name) {
        return name.endsWith('*') || QMetaType::type(name) != QMetaType::UnknownType;
    });
}
