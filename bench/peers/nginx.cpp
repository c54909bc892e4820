#include "peers/nginx.h"

#include "support/socket.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

namespace {

constexpr int patience = 20000;

} // namespace

Nginx::Nginx(const QString& root) : WebServer("/")
{
    setPort(Socket::freePort());
    writeConfiguration(root);
    setStandardErrorFile(inState("log"));
    // Users have no directory of system programs in their path.
    start(
        QStringLiteral("/usr/sbin/nginx"), {QStringLiteral("-e"), QStringLiteral("stderr"), QStringLiteral("-p"),
                                            inState(""), QStringLiteral("-c"), inState("conf")});
    const QDeadlineTimer deadline(patience);
    while (!Socket::canConnect(port())) {
        require(state() != QProcess::NotRunning && !deadline.hasExpired(), "nginx does not start");
        QThread::msleep(10);
    }
}

void Nginx::writeConfiguration(const QString& root) const
{
    const QString text = QStringLiteral("daemon off;\n"
                                        "master_process off;\n"
                                        "pid pid;\n"
                                        "events {}\n"
                                        "http {\n"
                                        "    access_log off;\n"
                                        "    sendfile on;\n"
                                        "    keepalive_requests 1000000000;\n"
                                        "    client_body_temp_path body;\n"
                                        "    fastcgi_temp_path fastcgi;\n"
                                        "    proxy_temp_path proxy;\n"
                                        "    scgi_temp_path scgi;\n"
                                        "    uwsgi_temp_path uwsgi;\n"
                                        "    server {\n"
                                        "        listen 127.0.0.1:%1;\n"
                                        "        root \"%2\";\n"
                                        "    }\n"
                                        "}\n")
                             .arg(QString::number(port()), root);
    QFile file(inState("conf"));
    require(file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) > 0, "cannot write nginx's configuration");
}
