#pragma once

#include "support/lines.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <string_view>

#include <sys/types.h>

/// The message that asks for rows of a directory, which is relative to the root. On one line, without its end.
[[nodiscard]] QByteArray rowsRequest(const QString& directory, int first, int last, const QStringList& roles);

/// A host in another process, connected by pipes.
class HostSession
{
public:
    HostSession(const QString& root, const QStringList& patterns);
    ~HostSession();
    Q_DISABLE_COPY_MOVE(HostSession)

    /// Asks for rows of a directory, which is relative to the root, and returns the answer's line, valid until the next
    /// call. An error ends the program.
    std::string_view rows(const QString& directory, int first, int last, const QStringList& roles);

    /// Asks without waiting for the answer.
    void ask(const QByteArray& request) const;
    /// The line of the next answer, as rows() returns it.
    std::string_view answer();
    /// Has input when an answer comes.
    [[nodiscard]] int descriptor() const { return m_output; }

    [[nodiscard]] pid_t process() const { return m_process; }

private:
    pid_t m_process = 0;
    int m_input = -1;
    int m_output = -1;
    std::unique_ptr<Lines> m_answers;
};
