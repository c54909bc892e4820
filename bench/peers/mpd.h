#pragma once

#include "support/daemon.h"

#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <string>

/// A Music Player Daemon with a private configuration, and a client of it.
class Mpd
{
public:
    /// Starts the daemon on `musicDirectory`, without a database if that is empty.
    explicit Mpd(const QString& musicDirectory = QString());
    ~Mpd();
    Q_DISABLE_COPY_MOVE(Mpd)

    /// Lists any directory, inside the music directory or not. Returns the number of entries.
    std::size_t listFiles(const std::string& directory);
    /// Reads all tags of the music directory again; blocks until all are read.
    void rescan();

private:
    void writeConfiguration(const QString& musicDirectory) const;
    [[nodiscard]] QString inState(const char* name) const;
    void connectToDaemon();
    /// Sends a command and returns the lines of the answer.
    template<typename PerLine>
    void command(const std::string& text, const PerLine& perLine);

    QTemporaryDir m_state;
    Daemon m_daemon;
    int m_socket = -1;
};
