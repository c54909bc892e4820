#pragma once

#include "support/daemon.h"

#include <QJsonObject>
#include <QString>

#include <string>

/// Chromium, steered by a script that measures pages in it.
class Browser
{
public:
    /// Why there is no browser to measure with; empty if there is one.
    [[nodiscard]] static std::string missing();

    Browser();
    ~Browser();
    Q_DISABLE_COPY_MOVE(Browser)

    /// Opens the page for the first time, and returns what one of the script's measurements gives.
    [[nodiscard]] QJsonObject measure(const char* measurement, const QString& address);

private:
    Daemon m_script;
};
