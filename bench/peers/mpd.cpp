#include "peers/mpd.h"

#include "support/lines.h"
#include "support/race.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <cstring>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int patience = 20000;

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

} // namespace

Mpd::Mpd(const QString& musicDirectory)
{
    writeConfiguration(musicDirectory);
    m_daemon.setStandardErrorFile(inState("log"));
    m_daemon.setStandardOutputFile(QProcess::nullDevice());
    m_daemon.start(QStringLiteral("mpd"), {QStringLiteral("--no-daemon"), QStringLiteral("--stderr"), inState("conf")});
    require(m_daemon.waitForStarted(), "cannot start mpd");
    connectToDaemon();
}

Mpd::~Mpd()
{
    close(m_socket);
}

QString Mpd::inState(const char* name) const
{
    return m_state.filePath(QString::fromLatin1(name));
}

void Mpd::writeConfiguration(const QString& musicDirectory) const
{
    QString text = QStringLiteral("bind_to_address \"%1\"\n"
                                  "max_output_buffer_size \"1048576\"\n"
                                  "connection_timeout \"3600\"\n"
                                  "filesystem_charset \"UTF-8\"\n"
                                  "audio_output {\n    type \"null\"\n    name \"nothing\"\n}\n")
                       .arg(inState("socket"));
    if (!musicDirectory.isEmpty())
        text += QStringLiteral("music_directory \"%1\"\ndb_file \"%2\"\n").arg(musicDirectory, inState("database"));
    QFile file(inState("conf"));
    require(file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) > 0, "cannot write mpd's configuration");
}

void Mpd::connectToDaemon()
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(inState("socket"));
    require(static_cast<std::size_t>(path.size()) < sizeof address.sun_path, "the path of mpd's socket is too long");
    std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
    m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const QDeadlineTimer deadline(patience);
    while (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        require(!deadline.hasExpired(), "mpd does not answer");
        QThread::msleep(10);
    }
    require(startsWith(Lines(m_socket).next(), "OK MPD"), "mpd does not greet");
}

template<typename PerLine>
void Mpd::command(const std::string& text, const PerLine& perLine)
{
    const std::string line = text + '\n';
    require(write(m_socket, line.data(), line.size()) == static_cast<ssize_t>(line.size()), "mpd hung up");
    Lines lines(m_socket);
    for (std::string_view answer = lines.next(); answer != "OK"; answer = lines.next()) {
        require(!startsWith(answer, "ACK"), "mpd refused a command");
        perLine(answer);
    }
}

std::size_t Mpd::listFiles(const std::string& directory)
{
    std::vector<std::string> names;
    command("listfiles " + quoted(directory), [&names](std::string_view line) {
        if (startsWith(line, "file: ") || startsWith(line, "directory: "))
            names.emplace_back(line.substr(line.find(' ') + 1));
    });
    return names.size();
}

void Mpd::rescan()
{
    command("rescan", [](std::string_view) {});
    bool busy = true;
    while (busy) {
        busy = false;
        command("status", [&busy](std::string_view line) { busy = busy || startsWith(line, "updating_db:"); });
        if (busy)
            command("idle update", [](std::string_view) {});
    }
}
