#include "commandvalue.h"

#include <QMap>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const QString valueKey = QStringLiteral("value");
const QString versionKey = QStringLiteral("version");
const QString operationKey = QStringLiteral("operation");

constexpr int longestOperation = 200;
constexpr int longestPath = 16'384;
constexpr int longestOutputName = 64;
constexpr int longestError = 1000;
constexpr qint64 largestNumber = (qint64{1} << 53) - 1;

bool isRecord(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap || value.userType() == QMetaType::QVariantHash;
}

/// The members of a record that has no others than these.
std::optional<QVariantHash> members(const QVariant& value, const QStringList& known)
{
    if (!isRecord(value))
        return std::nullopt;
    auto found = value.value<QVariantHash>();
    for (auto member = found.cbegin(); member != found.cend(); ++member) {
        if (!known.contains(member.key()))
            return std::nullopt;
    }
    return found;
}

/// Comparing the values would convert them.
bool isWord(const QVariant& value, const char* word)
{
    return value.userType() == QMetaType::QString && value.toString() == QLatin1String(word);
}

bool isList(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantList || value.userType() == QMetaType::QStringList;
}

std::optional<qint64> wholeNumber(double number)
{
    // False for what is no number, too.
    if (!(std::abs(number) <= static_cast<double>(largestNumber)) || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<qint64>(number);
}

std::optional<OutputReport::State> reportedState(const QVariant& value)
{
    using State = OutputReport::State;
    static const QMap<QString, State> states = {
        {QStringLiteral("playing"), State::Playing},
        {QStringLiteral("paused"), State::Paused},
        {QStringLiteral("ended"), State::Ended},
        {QStringLiteral("error"), State::Error}};
    const auto state = states.constFind(CommandValue::text(value, longestError).value_or(QString()));
    return state == states.cend() ? std::nullopt : std::optional(*state);
}

/// 0 for an absent value.
std::optional<qint64> duration(const QVariant& value)
{
    if (CommandValue::isAbsent(value))
        return 0;
    const std::optional<qint64> milliseconds = CommandValue::number(value);
    return milliseconds && *milliseconds >= 0 ? milliseconds : std::nullopt;
}

} // namespace

bool CommandValue::isAbsent(const QVariant& value)
{
    return !value.isValid() || value.userType() == QMetaType::Nullptr;
}

std::optional<CommandValue::Content> CommandValue::unwrap(const QVariant& value)
{
    const QStringList known = {valueKey, versionKey, operationKey};
    const QVariantHash given = isRecord(value) ? value.value<QVariantHash>() : QVariantHash();
    if (std::none_of(known.cbegin(), known.cend(), [&given](const QString& key) { return given.contains(key); }))
        return Content{value, {}};
    const std::optional<QVariantHash> wrap = members(value, known);
    if (!wrap)
        return std::nullopt;
    Content content{wrap->value(valueKey), {}};
    if (const QVariant version = wrap->value(versionKey); !isAbsent(version)) {
        content.guard.version = smallNumber(version);
        if (!content.guard.version)
            return std::nullopt;
    }
    if (const QVariant operation = wrap->value(operationKey); !isAbsent(operation)) {
        content.guard.operation = text(operation, longestOperation).value_or(QString());
        if (content.guard.operation.isEmpty())
            return std::nullopt;
    }
    return content;
}

std::optional<qint64> CommandValue::number(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::LongLong: {
        const qint64 number = value.toLongLong();
        return std::abs(number) <= largestNumber ? std::optional(number) : std::nullopt;
    }
    case QMetaType::Double:
        return wholeNumber(value.toDouble());
    default:
        return std::nullopt;
    }
}

std::optional<int> CommandValue::smallNumber(const QVariant& value)
{
    const std::optional<qint64> any = number(value);
    if (!any || *any < std::numeric_limits<int>::min() || *any > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(*any);
}

std::optional<bool> CommandValue::truth(const QVariant& value)
{
    return value.userType() == QMetaType::Bool ? std::optional(value.toBool()) : std::nullopt;
}

std::optional<QString> CommandValue::text(const QVariant& value, int longest)
{
    if (value.userType() != QMetaType::QString)
        return std::nullopt;
    QString text = value.toString();
    return text.size() <= longest ? std::optional(std::move(text)) : std::nullopt;
}

std::optional<EntryId> CommandValue::id(const QVariant& value)
{
    return number(value);
}

std::optional<std::optional<EntryId>> CommandValue::idOrNone(const QVariant& value)
{
    using Maybe = std::optional<EntryId>;
    if (isAbsent(value))
        return Maybe();
    const Maybe given = id(value);
    return given ? std::optional<Maybe>(given) : std::nullopt;
}

std::optional<std::vector<EntryId>> CommandValue::ids(const QVariant& value)
{
    if (!isList(value))
        return std::nullopt;
    std::vector<EntryId> ids;
    for (const QVariant& element : value.toList()) {
        const std::optional<EntryId> given = id(element);
        if (!given)
            return std::nullopt;
        ids.push_back(*given);
    }
    return ids;
}

std::optional<CommandValue::Move> CommandValue::move(const QVariant& value)
{
    const QString idsKey = QStringLiteral("ids");
    const QString afterKey = QStringLiteral("after");
    const std::optional<QVariantHash> given = members(value, {idsKey, afterKey});
    if (!given)
        return std::nullopt;
    std::optional<std::vector<EntryId>> moved = ids(given->value(idsKey));
    const QVariant after = given->value(afterKey);
    const bool isHead = isWord(after, "head");
    const std::optional<EntryId> anchor = isHead ? std::nullopt : id(after);
    if (!moved || (!isHead && !anchor))
        return std::nullopt;
    return Move{std::move(*moved), anchor};
}

std::optional<QStringList> CommandValue::paths(const QVariant& value)
{
    const QVariantList given = isList(value) ? value.toList() : QVariantList{value};
    QStringList paths;
    for (const QVariant& element : given) {
        const std::optional<QString> path = text(element, longestPath);
        if (!path)
            return std::nullopt;
        paths.append(*path);
    }
    return paths.isEmpty() ? std::nullopt : std::optional(paths);
}

std::optional<Repeat> CommandValue::repeat(const QVariant& value)
{
    if (isWord(value, "off"))
        return Repeat::Off;
    if (isWord(value, "all"))
        return Repeat::All;
    if (isWord(value, "one"))
        return Repeat::One;
    return std::nullopt;
}

std::optional<QString> CommandValue::outputName(const QVariant& value)
{
    if (isAbsent(value))
        return QString();
    const std::optional<QString> name = text(value, longestOutputName);
    return name && isOutputName(*name) ? name : std::nullopt;
}

std::optional<OutputReport> CommandValue::report(const QVariant& value)
{
    const QStringList known = {QStringLiteral("id"),       QStringLiteral("state"),  QStringLiteral("position"),
                               QStringLiteral("duration"), QStringLiteral("serial"), QStringLiteral("error")};
    const std::optional<QVariantHash> given = members(value, known);
    if (!given)
        return std::nullopt;
    const auto member = [&given](const char* key) { return given->value(QLatin1String(key)); };
    const std::optional<EntryId> entry = id(member("id"));
    const std::optional<OutputReport::State> state = reportedState(member("state"));
    const std::optional<qint64> position = duration(member("position"));
    const std::optional<qint64> length = duration(member("duration"));
    const std::optional<std::optional<qint64>> serial = idOrNone(member("serial"));
    const QVariant error = isAbsent(member("error")) ? QVariant(QString()) : member("error");
    const std::optional<QString> reason = text(error, longestError);
    if (!entry || !state || !position || !length || !serial || !reason)
        return std::nullopt;
    return OutputReport{*entry, *state, *position, *length, *serial, *reason};
}

bool CommandValue::isOutputName(const QString& name)
{
    const auto isForbidden = [](QChar character) {
        return character == u'/' || character.category() == QChar::Other_Control;
    };
    return !name.isEmpty() && name.size() <= longestOutputName && std::none_of(name.cbegin(), name.cend(), isForbidden);
}
