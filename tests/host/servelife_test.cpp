// Fifty clients that come and go over a tree that changes hold in every quiet moment exactly what is on the disk.
// TAVO_LIFE_SEED repeats another course.

#include "support/changingtree.h"
#include "support/serving.h"
#include "support/sessionclient.h"
#include "support/webclient.h"

#include <QFileInfo>
#include <QJsonArray>

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <memory>

namespace {

const QString top = QStringLiteral("/file/");
constexpr int clientCount = 50;
constexpr int rounds = 4;
constexpr int changesPerRound = 150;

/// Reads what it opens, and again when it hears of a change.
class Client
{
public:
    explicit Client(quint16 port) : m_client(port) { EXPECT_EQ(m_client.response().status, 101); }

    /// Nothing happens if there is no such directory.
    void open(const QString& path)
    {
        if (errorCode(m_client.call("open", pathParameter(path.toUtf8()))) == 0)
            read(path);
    }

    void close(const QString& path)
    {
        if (m_held.erase(path) == 0)
            return;
        // The server may have closed it meanwhile.
        static_cast<void>(m_client.call("close", pathParameter(path.toUtf8())));
    }

    /// Follows the changes that it hears of until it holds what is on the disk; the first difference if it does not.
    [[nodiscard]] QString difference(const QString& root)
    {
        for (QString path = firstDifference(root); !path.isNull(); path = firstDifference(root)) {
            const QJsonObject change = m_client.nextChange();
            if (change.isEmpty())
                return path;
            follow(change);
        }
        return {};
    }

private:
    /// The first path that is held otherwise than it is on the disk; null if there is none.
    [[nodiscard]] QString firstDifference(const QString& root) const
    {
        for (const auto& [path, titles] : m_held) {
            const QString directory = root + u'/' + path.mid(top.size());
            if (!QFileInfo(directory).isDir() || titles != titlesOnDisk(directory))
                return path;
        }
        return {};
    }

    void follow(const QJsonObject& change)
    {
        const QString path = change.value(QLatin1String("path")).toString();
        if (change.value(QLatin1String("changes")).toArray().contains(QStringLiteral("close")))
            close(path);
        else if (m_held.count(path) > 0)
            read(path);
    }

    void read(const QString& path)
    {
        QJsonObject parameters = pathParameter(path.toUtf8());
        parameters.insert(QStringLiteral("roles"), QJsonArray{QStringLiteral("title")});
        const QJsonObject answer = m_client.call("rows", parameters);
        QStringList titles;
        for (const QJsonValue row : answer[QStringLiteral("result")][QStringLiteral("rows")].toArray())
            titles.append(row[0].toString());
        m_held[path] = titles;
    }

    WebClient m_client;
    std::map<QString, QStringList> m_held;
};

QString anyDirectory(Random& random)
{
    QStringList names;
    for (int depth = below(random, 4); depth > 0; --depth)
        names.append(QStringLiteral("n%1").arg(below(random, 6)));
    return top + names.join(u'/');
}

class ServeLife : public testing::Test
{
protected:
    ServeLife()
    {
        serving.start();
        for (std::unique_ptr<Client>& client : clients)
            client = std::make_unique<Client>(serving.port());
    }

    /// One client opens or closes a directory, or goes, and another one comes.
    void act()
    {
        std::unique_ptr<Client>& client = clients.at(static_cast<std::size_t>(below(random, clientCount)));
        const int choice = below(random, 8);
        if (choice == 0)
            client = std::make_unique<Client>(serving.port());
        else if (choice == 1)
            client->close(anyDirectory(random));
        else
            client->open(anyDirectory(random));
    }

    void expectCurrent()
    {
        const QString root = serving.tree.absolute(QStringLiteral("root"));
        for (const std::unique_ptr<Client>& client : clients)
            ASSERT_EQ(client->difference(root).toStdString(), "");
    }

    const unsigned seed = qEnvironmentVariableIsSet("TAVO_LIFE_SEED") ? qgetenv("TAVO_LIFE_SEED").toUInt() : 1;
    Random random{seed};
    Serving serving;
    std::array<std::unique_ptr<Client>, clientCount> clients;
};

TEST_F(ServeLife, ClientsThatComeAndGoHoldWhatIsOnTheDisk)
{
    SCOPED_TRACE(testing::Message() << "TAVO_LIFE_SEED=" << seed);
    Mutator mutator(serving.tree.absolute(QStringLiteral("root")), seed);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        for (int change = 0; change < changesPerRound; ++change) {
            mutator.change();
            act();
        }
        expectCurrent();
    }
}

} // namespace
