#include "cli/commands/arguments.h"
#include "cli/commands/command.h"
#include "cli/commands/queueserver.h"

#include "language/translatable.h"
#include "process/exitstatus.h"
#include "terminal/itemtext.h"
#include "terminal/roletext.h"
#include "terminal/table.h"

#include <tavo/tavoroles.h>

#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr char playerManual[] = QT_TRANSLATE_NOOP("Host", R"(Prints what the player of a running server does.

  tavo player
  tavo player --json)");

constexpr char playManual[] = QT_TRANSLATE_NOOP(
    "Host", R"(Goes on playing, begins with the first entry of the queue, or plays the entry with the ID.

  tavo play
  tavo play 12)");

constexpr char pauseManual[] = QT_TRANSLATE_NOOP("Host", R"(Pauses the player; 'tavo play' resumes it.

  tavo pause)");

constexpr char stopManual[] = QT_TRANSLATE_NOOP("Host", R"(Stops the player; 'tavo play' begins the current entry again.

  tavo stop)");

constexpr char nextManual[] = QT_TRANSLATE_NOOP("Host", R"(Makes the player go to the next entry.

  tavo next)");

constexpr char previousManual[] = QT_TRANSLATE_NOOP("Host", R"(Makes the player go to the entry before.

  tavo previous)");

constexpr char seekManual[] = QT_TRANSLATE_NOOP(
    "Host", R"(Makes the player go to a position in the current entry: seconds, or minutes and seconds, or hours
before them.

  tavo seek 90
  tavo seek 1:30
  tavo seek 1:02:30)");

constexpr char volumeManual[] = QT_TRANSLATE_NOOP("Host", R"(Sets the volume, from 0 to 100.

  tavo volume 40)");

constexpr char repeatManual[] = QT_TRANSLATE_NOOP("Host", R"(Repeats nothing, the queue, or the current entry.

  tavo repeat off
  tavo repeat all
  tavo repeat one)");

constexpr char shuffleManual[] = QT_TRANSLATE_NOOP(
    "Host", R"(Plays the queue in a random order, or in its own. 'tavo queue shuffle' changes the queue itself.

  tavo shuffle on
  tavo shuffle off)");

/// The position now, in milliseconds. `duration`: of the entry; 0: unknown.
qint64 positionOf(const QVariantMap& player, qint64 duration)
{
    const auto number = [&player](const QString& name) { return player.value(name).toLongLong(); };
    const bool isPlaying = player.value(QStringLiteral("state")) == QStringLiteral("playing");
    const qint64 since = isPlaying ? number(QStringLiteral("now")) - number(QStringLiteral("at")) : 0;
    const qint64 position = number(QStringLiteral("position")) + since;
    return duration > 0 ? std::min(position, duration) : position;
}

/// The rows about the current entry.
QVector<QStringList> currentRows(const QVariantMap& player, const QVariantList& entry)
{
    const QVariant mediaData = entry.value(1);
    const QStringList cells = itemCells(entry.value(0), mediaData);
    const QString position = durationText(positionOf(player, itemDuration(mediaData).toLongLong()));
    return {
        {translated(QT_TRANSLATE_NOOP("Host", "entry")), player.value(QStringLiteral("current")).toString()},
        {translated(QT_TRANSLATE_NOOP("Host", "title")), cells.value(0)},
        {translated(QT_TRANSLATE_NOOP("Host", "artist")), cells.value(1)},
        {translated(QT_TRANSLATE_NOOP("Host", "album")), cells.value(2)},
        {translated(QT_TRANSLATE_NOOP("Host", "position")),
         translated(QT_TRANSLATE_NOOP("Host", "%1 of %2"), {position, cells.value(3)})}};
}

QString stateText(const QString& state)
{
    static const QHash<QString, const char*> texts = {
        {QStringLiteral("playing"), QT_TRANSLATE_NOOP("Host", "playing")},
        {QStringLiteral("paused"), QT_TRANSLATE_NOOP("Host", "paused")},
        {QStringLiteral("stopped"), QT_TRANSLATE_NOOP("Host", "stopped")}};
    const char* const text = texts.value(state);
    return text ? translated(text) : state;
}

/// A row for the property, whose label is marked for translation.
QStringList propertyRow(const QVariantMap& player, const QString& name, const char* label)
{
    const QVariant value = player.value(name);
    return {translated(label), value.isNull() ? QStringLiteral("-") : roleText(name, value)};
}

/// `current`: the title and the media record of the current entry; empty: there is none.
QByteArray tableText(const QVariantMap& player, const QVariantList& current, const Terminal& terminal)
{
    Table table({translated(QT_TRANSLATE_NOOP("Host", "PROPERTY")), translated(QT_TRANSLATE_NOOP("Host", "VALUE"))});
    table.addRow(
        {translated(QT_TRANSLATE_NOOP("Host", "state")), stateText(player.value(QStringLiteral("state")).toString())});
    if (!current.isEmpty()) {
        for (const QStringList& row : currentRows(player, current))
            table.addRow(row);
    }
    table.addRow(propertyRow(player, QStringLiteral("output"), QT_TRANSLATE_NOOP("Host", "output")));
    table.addRow(propertyRow(player, QStringLiteral("volume"), QT_TRANSLATE_NOOP("Host", "volume")));
    table.addRow(propertyRow(player, QStringLiteral("repeat"), QT_TRANSLATE_NOOP("Host", "repeat")));
    table.addRow(propertyRow(player, QStringLiteral("shuffle"), QT_TRANSLATE_NOOP("Host", "shuffle")));
    const QString failure = player.value(QStringLiteral("failure")).toString();
    if (!failure.isEmpty())
        table.addRow(
            {translated(QT_TRANSLATE_NOOP("Host", "failed")),
             QStringLiteral("%1: %2").arg(player.value(QStringLiteral("failed")).toString(), failure)});
    return table.toText(terminal);
}

Result<int> printPlayer(int output, const QCommandLineParser& parser)
{
    const Result<QueueServer> server = QueueServer::find(parser);
    if (!server)
        return server.failure();
    const Result<QVariantMap> player = server.value().player();
    if (!player)
        return player.failure();
    if (wantsJson(parser))
        return printJson(output, player.value());
    const QString id = player.value().value(QStringLiteral("current")).toString();
    if (id.isEmpty())
        return print(output, tableText(player.value(), {}, Terminal::at(output)));
    const Result<QVariantList> current =
        server.value().data(QStringLiteral("queue/") + id, {TavoRoles::Title(), TavoRoles::MediaData()});
    // Somebody may have removed it since.
    const QVariantList shown = current ? current.value() : QVariantList();
    return print(output, tableText(player.value(), shown, Terminal::at(output)));
}

/// Has the player carry out the command, unless its value is a failure.
Result<int> steer(const QCommandLineParser& parser, const char* command, const Result<QVariant>& value = QVariant())
{
    if (!value)
        return value.failure();
    const Result<QueueServer> server = QueueServer::find(parser);
    if (!server)
        return server.failure();
    const Result<QVariant> answer = server.value().set(
        QStringLiteral("player/") + QLatin1String(command), value.value(),
        QT_TRANSLATE_NOOP("Host", "the queue has no such entry, or is empty"));
    if (!answer)
        return answer.failure();
    return Success;
}

Result<QVariant> idFrom(const QStringList& arguments)
{
    return arguments.isEmpty() ? QVariant() : entryIdFrom(arguments.first());
}

/// Milliseconds.
Result<QVariant> positionFrom(const QString& text)
{
    static const QRegularExpression pattern(
        QStringLiteral("\\A(?:(?:(\\d{1,3}):)?(\\d{1,4}):)?(\\d{1,6}(?:\\.\\d+)?)\\z"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "'%1' is no position, such as 90, 1:30 or 1:02:30"), {text}));
    constexpr int minute = 60;
    constexpr int hour = 60 * minute;
    constexpr double milliseconds = 1000;
    const int whole = match.captured(1).toInt() * hour + match.captured(2).toInt() * minute;
    return QVariant(qRound64((whole + match.captured(3).toDouble()) * milliseconds));
}

Result<QVariant> volumeFrom(const QString& text)
{
    constexpr int loudest = 100;
    bool isNumber = false;
    const int volume = text.toInt(&isNumber);
    if (!isNumber || volume < 0 || volume > loudest)
        return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "'%1' is no volume from 0 to 100"), {text}));
    return QVariant(volume);
}

Result<QVariant> wordFrom(const QString& text, const QStringList& words)
{
    if (!words.contains(text))
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "'%1' is none of %2"), {text, words.join(QStringLiteral(", "))}));
    return QVariant(text);
}

Result<QVariant> repeatFrom(const QString& text)
{
    return wordFrom(text, {QStringLiteral("off"), QStringLiteral("all"), QStringLiteral("one")});
}

Result<QVariant> shuffleFrom(const QString& text)
{
    const QString on = QStringLiteral("on");
    const Result<QVariant> word = wordFrom(text, {on, QStringLiteral("off")});
    return word ? QVariant(text == on) : word;
}

OptionList playerOptions()
{
    return serverOptions() + jsonOption();
}

QString argumentOf(const QCommandLineParser& parser)
{
    return parser.positionalArguments().value(0);
}

Result<int> runPlay(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "play", idFrom(parser.positionalArguments()));
}

Result<int> runPause(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "pause");
}

Result<int> runStop(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "stop");
}

Result<int> runNext(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "next");
}

Result<int> runPrevious(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "previous");
}

Result<int> runSeek(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "seek", positionFrom(argumentOf(parser)));
}

Result<int> runVolume(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "volume", volumeFrom(argumentOf(parser)));
}

Result<int> runRepeat(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "repeat", repeatFrom(argumentOf(parser)));
}

Result<int> runShuffle(int /*output*/, const QCommandLineParser& parser)
{
    return steer(parser, "shuffle", shuffleFrom(argumentOf(parser)));
}

constexpr Command::ArgumentCount none{0, 0};
constexpr Command::ArgumentCount one{1, 1};

} // namespace

std::vector<Command> playerCommands()
{
    const auto options = serverOptions;
    return {
        {"player", "", QT_TRANSLATE_NOOP("Host", "Print what the player does."), playerManual, none, printPlayer,
         playerOptions},
        {"play",
         QT_TRANSLATE_NOOP("Host", "[ID]"),
         QT_TRANSLATE_NOOP("Host", "Play, or go on playing."),
         playManual,
         {0, 1},
         runPlay,
         options},
        {"pause", "", QT_TRANSLATE_NOOP("Host", "Pause."), pauseManual, none, runPause, options},
        {"stop", "", QT_TRANSLATE_NOOP("Host", "Stop playing."), stopManual, none, runStop, options},
        {"next", "", QT_TRANSLATE_NOOP("Host", "Go to the next entry."), nextManual, none, runNext, options},
        {"previous", "", QT_TRANSLATE_NOOP("Host", "Go to the entry before."), previousManual, none, runPrevious,
         options},
        {"seek", QT_TRANSLATE_NOOP("Host", "POSITION"),
         QT_TRANSLATE_NOOP("Host", "Go to a position in the current entry."), seekManual, one, runSeek, options},
        {"volume", QT_TRANSLATE_NOOP("Host", "0-100"), QT_TRANSLATE_NOOP("Host", "Set the volume."), volumeManual, one,
         runVolume, options},
        {"repeat", QT_TRANSLATE_NOOP("Host", "off|all|one"),
         QT_TRANSLATE_NOOP("Host", "Repeat nothing, the queue, or an entry."), repeatManual, one, runRepeat, options},
        {"shuffle", QT_TRANSLATE_NOOP("Host", "on|off"),
         QT_TRANSLATE_NOOP("Host", "Play in a random order, or in the queue's."), shuffleManual, one, runShuffle,
         options}};
}
