#pragma once

#include "support/webclient.h"

#include <QJsonArray>
#include <QString>

/// An output as any program could be one: it obeys the player and reports, but plays nothing.
class SilentOutput
{
public:
    /// Offers itself under the name.
    SilentOutput(quint16 port, const QString& name);

    /// Reads the player until it commands another thing than before, and reports that this is done. The entry that it
    /// plays then, 0 if it plays none.
    qint64 obey();
    /// Reports that the entry has ended, and obeys what the player commands then.
    qint64 finish();
    /// Reports that the entry has passed into the next one.
    void passOn();
    /// Reports that the entry cannot be played, and obeys what the player commands then.
    qint64 fail();

    /// The player's value, as the output has read it last.
    [[nodiscard]] const QJsonObject& player() const { return m_player; }

private:
    void readPlayer();
    void report(qint64 id, const char* state);

    WebClient m_client;
    QString m_name;
    QJsonObject m_player;
    double m_obeyed = -1;
};

/// The answer to a set request that succeeds.
[[nodiscard]] QJsonValue setOver(WebClient& client, const char* path, const QJsonValue& value = QJsonValue::Null);
