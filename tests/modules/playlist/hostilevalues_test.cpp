// Values of every shape for every service: they are refused, or they do what they say.

#include "commandvalue.h"
#include "playlistcommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>

namespace {

using testing::Contains;

constexpr int rounds = 5000;
constexpr int deepest = 4;

/// Makes values as clients can send them, many of them close to right ones.
class ValueMaker
{
public:
    explicit ValueMaker(unsigned seed) : m_random(seed) {}

    QVariant make(int depth = 0)
    {
        switch (number(depth < deepest ? 9 : 7)) {
        case 0:
            return {};
        case 1:
            return QVariant::fromValue(nullptr);
        case 2:
            return number(2) == 0;
        case 3:
            return static_cast<double>(number(8));
        case 4:
            return oddNumber();
        case 5:
        case 6:
            return text();
        case 7:
            return list(depth);
        default:
            return record(depth);
        }
    }

private:
    int number(unsigned limit) { return static_cast<int>(m_random() % limit); }

    template<typename Values>
    auto pick(const Values& values)
    {
        return values[m_random() % std::size(values)];
    }

    double oddNumber()
    {
        using Limits = std::numeric_limits<double>;
        static constexpr double numbers[] = {
            -1,   0.5,  -0.0,  101,   2147483648.0,       -2147483649.0,       9007199254740991.0,
            1e16, 1e99, -1e99, 1e-99, Limits::infinity(), Limits::quiet_NaN(), 9223372036854775808.0};
        return pick(numbers);
    }

    QString text()
    {
        static const char* const texts[] = {"",      "head",     "off",     "phone", "playing",
                                            "error", "/music/a", "/a/../b", "\n",    "1"};
        return number(20) == 0 ? QString(20'000, QLatin1Char('x')) : QString::fromUtf8(pick(texts));
    }

    QVariantList list(int depth)
    {
        QVariantList values;
        for (int i = number(4); i > 0; --i)
            values.append(make(depth + 1));
        return values;
    }

    QVariant record(int depth)
    {
        static const char* const keys[] = {"value", "version",  "operation", "ids",    "after", "id",
                                           "state", "position", "duration",  "serial", "error", "other"};
        QVariantMap fields;
        for (int i = number(5); i > 0; --i)
            fields.insert(QString::fromUtf8(pick(keys)), make(depth + 1));
        return fields;
    }

    std::mt19937 m_random;
};

/// Three entries, and an output that plays the first.
Playlist playing()
{
    Playlist playlist;
    const QueueItem item{QStringLiteral("/music/a"), QStringLiteral("a"), QStringLiteral("audio")};
    static_cast<void>(playlist.offerOutput(QStringLiteral("phone")));
    static_cast<void>(playlist.setOutput(QStringLiteral("phone"), 0));
    static_cast<void>(playlist.playNow({item, item, item}, 0));
    return playlist;
}

const char* const services[] = {
    "playNow",
    "playNext",
    "addToQueue",
    "replaceQueue",
    "remove",
    "move",
    "clear",
    "shuffleQueue",
    "undo",
    "player/play",
    "player/pause",
    "player/stop",
    "player/next",
    "player/previous",
    "player/seek",
    "player/volume",
    "player/repeat",
    "player/shuffle",
    "player/output",
    "outputs/phone/report",
    "outputs/tv/report",
    "outputs//report",
    "nothing"};

/// How reading the value, and running the command that it gives, ends: the error's name, or "done".
std::string outcomeOf(Playlist& playlist, const char* service, const QVariant& value)
{
    const std::optional<CommandValue::Content> content = CommandValue::unwrap(value);
    if (!content)
        return "invalidValue";
    PlaylistCommands::Read read = PlaylistCommands::read(QString::fromUtf8(service), content->value);
    if (const auto* const error = std::get_if<CMError>(&read))
        return error->name().toStdString();
    const auto* command = std::get_if<PlaylistEngine::Command>(&read);
    if (const auto* const restoration = std::get_if<PlaylistCommands::Restoration>(&read))
        command = &restoration->command;
    if (!command)
        return "done";
    const Outcome outcome = (*command)(playlist, 1000);
    return outcome ? "done" : outcome.error.name().toStdString();
}

TEST(PlaylistHostileValues, EndInANamedErrorOrDoWhatTheySay)
{
    ValueMaker maker(1);
    const std::set<std::string> outcomes = {"done", "invalidValue", "noSuchItem", "noOutput", "queueFull"};
    std::set<std::string> found;
    for (int i = 0; i < rounds; ++i) {
        Playlist playlist = playing();
        for (const char* service : services) {
            const std::string outcome = outcomeOf(playlist, service, maker.make());
            ASSERT_THAT(outcomes, Contains(outcome)) << service;
            found.insert(outcome);
            const PlayerState& player = playlist.player();
            ASSERT_TRUE(player.volume >= 0 && player.volume <= 100) << service;
            ASSERT_GE(player.position, 0) << service;
            ASSERT_TRUE(!player.current || playlist.queue().contains(*player.current)) << service;
        }
    }
    EXPECT_EQ(found.size(), 4U) << "some outcome is never reached";
}

} // namespace
