#include "refusal.h"

#include "playlisttext.h"
#include "queue.h"
#include "tavo/tavokeys.h"

CMError Refusal::conflict(int version, int lastEdit)
{
    return {
        QStringLiteral("conflict"),
        playlistText(
            QT_TRANSLATE_NOOP("Playlist", "The queue has changed: version %1 was given, the last edit made version %2"),
            {QString::number(version), QString::number(lastEdit)})};
}

CMError Refusal::noSuchEntry(EntryId id)
{
    return {
        QStringLiteral("noSuchItem"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "The queue has no entry %1"), {QString::number(id)})};
}

CMError Refusal::nothingToPlay()
{
    return {QStringLiteral("noSuchItem"), playlistText(QT_TRANSLATE_NOOP("Playlist", "There is nothing to play"))};
}

CMError Refusal::outside(const QString& path)
{
    return {
        TavoErrorAccessViolation(),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "'%1' leads out of its worker"), {path})};
}

CMError Refusal::nothingToUndo(int token)
{
    return {
        QStringLiteral("noSuchItem"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "Edit %1 cannot be undone any more"), {QString::number(token)})};
}

CMError Refusal::queueFull()
{
    return {
        QStringLiteral("queueFull"), playlistText(
                                         QT_TRANSLATE_NOOP("Playlist", "The queue takes %1 entries at most"),
                                         {QString::number(Queue::mostEntries)})};
}

CMError Refusal::noOutput()
{
    return {QStringLiteral("noOutput"), playlistText(QT_TRANSLATE_NOOP("Playlist", "There is no output to play on"))};
}

CMError Refusal::noSuchOutput(const QString& name)
{
    return {
        QStringLiteral("noOutput"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "Nobody offers the output '%1'"), {name})};
}

CMError Refusal::notActive(const QString& name)
{
    return {
        QStringLiteral("noOutput"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "Output '%1' is not the active one"), {name})};
}

CMError Refusal::invalidValue(const QString& service, const char* takes)
{
    return {
        QStringLiteral("invalidValue"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "'%1' takes %2"), {service, QString::fromLatin1(takes)})};
}

CMError Refusal::invalidPosition(qint64 position)
{
    return {
        QStringLiteral("invalidValue"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "%1 is no position"), {QString::number(position)})};
}

CMError Refusal::invalidVolume(int volume)
{
    return {
        QStringLiteral("invalidValue"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "Volume %1 is not between 0 and 100"), {QString::number(volume)})};
}

CMError Refusal::failed(const QString& reason)
{
    return {CMError::DefaultName(), playlistText(QT_TRANSLATE_NOOP("Playlist", "The request failed: %1"), {reason})};
}

CMError Refusal::ending()
{
    return {CMError::DefaultName(), playlistText(QT_TRANSLATE_NOOP("Playlist", "The queue ends"))};
}

CMError Refusal::notStored(const QString& reason)
{
    return {
        QStringLiteral("notStored"),
        playlistText(QT_TRANSLATE_NOOP("Playlist", "The queue could not be stored: %1"), {reason})};
}
