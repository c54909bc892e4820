#pragma once

#include <QCoreApplication>

/// The program's application object. It logs an exception that escapes from an event handler, in whatever thread, and
/// continues with the next event.
class HostApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override;
};
