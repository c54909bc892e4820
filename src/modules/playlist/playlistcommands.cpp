#include "playlistcommands.h"

#include "commandvalue.h"
#include "refusal.h"

#include <algorithm>
#include <array>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Command = PlaylistEngine::Command;
using MaybeCommand = std::optional<Command>;

/// The command that passes the value, and the time if it is wanted, to the operation; none without a value.
template<typename Value, typename Operation>
MaybeCommand commandFor(const std::optional<Value>& value, Operation operation)
{
    if (!value)
        return std::nullopt;
    return Command([value = *value, operation](Playlist& playlist, [[maybe_unused]] qint64 now) {
        if constexpr (std::is_invocable_v<Operation, Playlist&, Value, qint64>)
            return std::invoke(operation, playlist, value, now);
        else
            return std::invoke(operation, playlist, value);
    });
}

/// For an operation without a value.
template<typename Operation>
MaybeCommand commandWithout(const QVariant& value, Operation operation)
{
    if (!CommandValue::isAbsent(value))
        return std::nullopt;
    return Command([operation](Playlist& playlist, qint64 now) { return std::invoke(operation, playlist, now); });
}

MaybeCommand move(const QVariant& value)
{
    return commandFor(CommandValue::move(value), [](Playlist& playlist, const CommandValue::Move& move, qint64 now) {
        return playlist.move(move.ids, move.after, now);
    });
}

struct Service
{
    const char* base;
    /// For people who gave it another value.
    const char* takes;
    MaybeCommand (*read)(const QVariant& value);
};

constexpr char nothing[] = "no value";

using Value = const QVariant&;

const std::vector<Service> services = {
    {"remove", "a list of ids", [](Value value) { return commandFor(CommandValue::ids(value), &Playlist::remove); }},
    {"move", R"({ids, after: an id or "head"})", move},
    {"clear", nothing, [](Value value) { return commandWithout(value, &Playlist::clear); }},
    {"shuffleQueue", nothing, [](Value value) { return commandWithout(value, &Playlist::shuffleQueue); }},
    {"player/play", "an id or null",
     [](Value value) { return commandFor(CommandValue::idOrNone(value), &Playlist::play); }},
    {"player/pause", nothing, [](Value value) { return commandWithout(value, &Playlist::pause); }},
    {"player/stop", nothing, [](Value value) { return commandWithout(value, &Playlist::stop); }},
    {"player/next", nothing, [](Value value) { return commandWithout(value, &Playlist::next); }},
    {"player/previous", nothing, [](Value value) { return commandWithout(value, &Playlist::previous); }},
    {"player/seek", "a position in milliseconds",
     [](Value value) { return commandFor(CommandValue::number(value), &Playlist::seek); }},
    {"player/volume", "a number from 0 to 100",
     [](Value value) { return commandFor(CommandValue::smallNumber(value), &Playlist::setVolume); }},
    {"player/repeat", R"("off", "all" or "one")",
     [](Value value) { return commandFor(CommandValue::repeat(value), &Playlist::setRepeat); }},
    {"player/shuffle", "true or false",
     [](Value value) { return commandFor(CommandValue::truth(value), &Playlist::setShuffle); }},
    {"player/output", "the name of an output or null",
     [](Value value) { return commandFor(CommandValue::outputName(value), &Playlist::setOutput); }},
};

using Add = Outcome (Playlist::*)(std::vector<QueueItem> items, qint64 now);

const std::array<std::pair<const char*, Add>, 4> additions = {{
    {"playNow", &Playlist::playNow},
    {"playNext", &Playlist::playNext},
    {"addToQueue", &Playlist::addToQueue},
    {"replaceQueue", &Playlist::replaceQueue},
}};

PlaylistCommands::Read readAddition(const QString& base, Add add, const QVariant& value)
{
    const std::optional<QStringList> paths = CommandValue::paths(value);
    if (!paths)
        return Refusal::invalidValue(base, "a path or a list of paths");
    return PlaylistCommands::Addition{*paths, add};
}

PlaylistCommands::Read readUndo(const QString& base, const QVariant& value)
{
    MaybeCommand command = commandFor(CommandValue::smallNumber(value), &Playlist::undo);
    if (!command)
        return Refusal::invalidValue(base, "what an edit answered as undo");
    return PlaylistCommands::Restoration{*std::move(command)};
}

/// Empty if the path names no service of an output.
QString reportingOutput(const QString& base)
{
    const QLatin1String begin("outputs/");
    const QLatin1String end("/report");
    const bool isReport = base.startsWith(begin) && base.endsWith(end) && base.size() > begin.size() + end.size();
    const QString name = isReport ? base.mid(begin.size(), base.size() - begin.size() - end.size()) : QString();
    return CommandValue::isOutputName(name) ? name : QString();
}

PlaylistCommands::Read readReport(const QString& base, const QString& output, const QVariant& value)
{
    MaybeCommand command =
        commandFor(CommandValue::report(value), [output](Playlist& playlist, const OutputReport& report, qint64 now) {
            return playlist.report(output, report, now);
        });
    if (!command)
        return Refusal::invalidValue(base, "{id, state, position, duration, serial, error}");
    return *std::move(command);
}

} // namespace

PlaylistCommands::Read PlaylistCommands::read(const QString& base, const QVariant& value)
{
    for (const auto& [name, add] : additions) {
        if (base == QLatin1String(name))
            return readAddition(base, add, value);
    }
    if (base == QLatin1String("undo"))
        return readUndo(base, value);
    if (const QString output = reportingOutput(base); !output.isEmpty())
        return readReport(base, output, value);
    const auto service = std::find_if(services.cbegin(), services.cend(), [&base](const Service& candidate) {
        return base == QLatin1String(candidate.base);
    });
    if (service == services.cend())
        return {};
    MaybeCommand command = service->read(value);
    if (!command)
        return Refusal::invalidValue(base, service->takes);
    return *std::move(command);
}
