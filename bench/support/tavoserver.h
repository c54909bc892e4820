#pragma once

#include "support/webserver.h"

#include <QStringList>

/// The product, which serves one root.
class TavoServer : public WebServer
{
public:
    /// `environment`: variables to add, NAME=VALUE.
    explicit TavoServer(const QString& root, const QStringList& patterns, const QStringList& environment = {});
};
