#include "refusal.h"

#include "i18n/trstring.h"
#include "queue.h"
#include "tavo/tavokeys.h"

#include <QList>

namespace {

TrString text(const char* sourceText, const QList<TrArg>& arguments = {})
{
    return {TrCharData{"Playlist", sourceText}, arguments};
}

} // namespace

CMError Refusal::conflict(int version, int lastEdit)
{
    return {
        QStringLiteral("conflict"), text(
                                        "The queue has changed: version %1 was given, the last edit made version %2",
                                        {QString::number(version), QString::number(lastEdit)})};
}

CMError Refusal::noSuchEntry(EntryId id)
{
    return {QStringLiteral("noSuchItem"), text("The queue has no entry %1", {QString::number(id)})};
}

CMError Refusal::nothingToPlay()
{
    return {QStringLiteral("noSuchItem"), text("There is nothing to play")};
}

CMError Refusal::outside(const QString& path)
{
    return {TavoErrorAccessViolation(), text("'%1' leads out of its worker", {path})};
}

CMError Refusal::nothingToUndo(int token)
{
    return {QStringLiteral("noSuchItem"), text("Edit %1 cannot be undone any more", {QString::number(token)})};
}

CMError Refusal::queueFull()
{
    return {
        QStringLiteral("queueFull"), text("The queue takes %1 entries at most", {QString::number(Queue::mostEntries)})};
}

CMError Refusal::noOutput()
{
    return {QStringLiteral("noOutput"), text("There is no output to play on")};
}

CMError Refusal::noSuchOutput(const QString& name)
{
    return {QStringLiteral("noOutput"), text("Nobody offers the output '%1'", {name})};
}

CMError Refusal::notActive(const QString& name)
{
    return {QStringLiteral("noOutput"), text("Output '%1' is not the active one", {name})};
}

CMError Refusal::invalidValue(const QString& service, const char* takes)
{
    return {QStringLiteral("invalidValue"), text("'%1' takes %2", {service, QString::fromLatin1(takes)})};
}

CMError Refusal::invalidPosition(qint64 position)
{
    return {QStringLiteral("invalidValue"), text("%1 is no position", {QString::number(position)})};
}

CMError Refusal::invalidVolume(int volume)
{
    return {QStringLiteral("invalidValue"), text("Volume %1 is not between 0 and 100", {QString::number(volume)})};
}

CMError Refusal::failed(const QString& reason)
{
    return {CMError::DefaultName(), text("The request failed: %1", {reason})};
}

CMError Refusal::ending()
{
    return {CMError::DefaultName(), text("The queue ends")};
}

CMError Refusal::notStored(const QString& reason)
{
    return {QStringLiteral("notStored"), text("The queue could not be stored: %1", {reason})};
}
