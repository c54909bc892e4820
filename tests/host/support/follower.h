#pragma once

#include "support/sessionclient.h"

#include <QStringList>

/// A client that follows the protocol: reads again after a reset, opens again after a close. Paths are bases.
class Follower : public SessionClient
{
public:
    /// Opens the directory and reads it; false if it is refused.
    [[nodiscard]] bool open(const QString& base);
    /// Reads the rows as a client does that has none.
    [[nodiscard]] QStringList titles(const QString& base);
    /// The message of the error that refuses the rows; empty if they are not refused.
    [[nodiscard]] QString refusal(const QString& base);
    /// Follows the directory's changes until its rows are these.
    [[nodiscard]] bool comesToHold(const QString& base, const QStringList& expected);
    /// Waits until the directory is closed.
    [[nodiscard]] bool isClosed(const QString& base);

    [[nodiscard]] static QString path(const QString& base) { return QStringLiteral("/file/") + base; }

private:
    /// Waits for a change of the directory; empty if the program ends before.
    [[nodiscard]] QJsonObject nextChangeOf(const QString& base);
    [[nodiscard]] QJsonObject rows(const QString& base);
};
