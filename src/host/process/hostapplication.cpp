#include "process/hostapplication.h"

#include "process/guardedcall.h"

bool HostApplication::notify(QObject* receiver, QEvent* event)
{
    bool isHandled = true;
    callGuarded([&] { isHandled = QCoreApplication::notify(receiver, event); }, "an event could not be handled");
    return isHandled;
}
