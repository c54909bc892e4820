#pragma once

#include "support/webserver.h"

/// nginx with a private configuration: one process, sendfile, no log.
class Nginx : public WebServer
{
public:
    explicit Nginx(const QString& root);

private:
    void writeConfiguration(const QString& root) const;
};
