#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <string>

/// A Music Player Daemon of our own, with a private configuration, and a client of it.
class Mpd
{
public:
    /// Starts the daemon on `musicDirectory`, without a database if that is empty.
    explicit Mpd(const QString& musicDirectory = QString());
    ~Mpd();
    Q_DISABLE_COPY_MOVE(Mpd)

    /// Lists a directory, which need not lie in the music directory. Returns the number of entries.
    std::size_t listFiles(const std::string& directory);
    /// Reads all tags of the music directory anew and waits until that is done.
    void rescan();

private:
    void writeConfiguration(const QString& musicDirectory) const;
    [[nodiscard]] QString inState(const char* name) const;
    void connectToDaemon();
    /// Sends a command and hands over the lines of the answer.
    template<typename PerLine>
    void command(const std::string& text, const PerLine& perLine);

    /// Ends with this program, however that ends.
    class Daemon : public QProcess
    {
        void setupChildProcess() override;
    };

    QTemporaryDir m_state;
    Daemon m_daemon;
    int m_socket = -1;
};
