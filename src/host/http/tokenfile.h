#pragma once

#include "content/result.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <utility>

/// The file whose first line is the access token. For one thread at a time; all functions may wait for the disk.
class TokenFile
{
public:
    explicit TokenFile(QString file) : m_file(std::move(file)) {}

    /// The file in a server's state directory.
    [[nodiscard]] static QString inState(const QString& directory) { return directory + QStringLiteral("/token"); }

    /// Makes the file, for its owner alone and with a random token, unless there is one.
    [[nodiscard]] Result<void> makeIfMissing() const;
    /// The token: at least 16 printable ASCII characters, no space at either end. Fails, with a message on one line, if
    /// there is none, or if others than the file's owner have any permission on it.
    [[nodiscard]] Result<QByteArray> read();
    /// As read(), but nothing if the file has not changed since it was read last.
    [[nodiscard]] std::optional<Result<QByteArray>> readIfChanged();

private:
    QString m_file;
    /// That of the file when it was read last.
    QByteArray m_stamp;
};
