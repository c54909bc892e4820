#pragma once

#include "support/daemon.h"

#include <QTemporaryDir>

#include <string>

/// A server of files in another process, at a free port of 127.0.0.1. It accepts connections when it is constructed.
class WebServer : public Daemon
{
public:
    [[nodiscard]] int port() const { return m_port; }
    /// The target of a request for a file, whose name needs no escapes, below the server's root.
    [[nodiscard]] std::string targetOf(const std::string& file) const { return m_place + file; }

protected:
    explicit WebServer(std::string place) : m_place(std::move(place)) {}

    [[nodiscard]] QString inState(const char* name) const { return m_state.filePath(QString::fromLatin1(name)); }
    void setPort(int port) { m_port = port; }

private:
    std::string m_place;
    QTemporaryDir m_state;
    int m_port = 0;
};
