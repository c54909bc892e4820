#include "support/browser.h"

#include "support/race.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>

namespace {

constexpr int patience = 120000;

} // namespace

std::string Browser::missing()
{
    const bool isThere = !QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty() &&
                         QFileInfo(QStringLiteral("/usr/bin/chromium")).isExecutable() &&
                         QFileInfo::exists(QStringLiteral(TAVO_WEB_TOOLS "/playwright-core"));
    return isThere ? "" : "needs Chromium and Node.js with the packages of web/, which \"scripts/setup web\" installs";
}

Browser::Browser()
{
    m_script.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_script.start(QStringLiteral("node"), {QStringLiteral(TAVO_BROWSER_SCRIPT)});
}

Browser::~Browser()
{
    // The script closes the browser at the end of its input.
    m_script.closeWriteChannel();
    m_script.waitForFinished();
}

QJsonObject Browser::measure(const char* measurement, const QString& address)
{
    const QJsonObject request = {
        {QStringLiteral("measure"), QLatin1String(measurement)}, {QStringLiteral("address"), address}};
    m_script.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    while (!m_script.canReadLine())
        require(m_script.waitForReadyRead(patience), "the browser does not answer");
    return QJsonDocument::fromJson(m_script.readLine()).object();
}
