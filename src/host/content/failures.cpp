#include "content/failures.h"

#include "language/translatable.h"

#include <model/cmabstractworker.h>
#include <tavo/tavokeys.h>

#include <exception>

namespace {

/// A worker may also have used a text without translations.
TrString textOf(const QVariant& value)
{
    return value.userType() == qMetaTypeId<TrString>() ? value.value<TrString>() : TrString(value.toString());
}

QString reasonOfException()
{
    try {
        throw;
    } catch (const std::exception& exception) {
        return QString::fromLocal8Bit(exception.what());
    } catch (...) {
        return QStringLiteral("unknown exception");
    }
}

} // namespace

Failure Failures::refused(const CMError& error)
{
    const TrString message = textOf(error.value(CMError::Message()));
    return {Failure::Kind::Refused, message, error.name(), textOf(error.value(CMError::Title()))};
}

Failure Failures::invalidPath(const CMPath& path)
{
    return refused(CMAbstractWorker::createErrorInvalidPath(path));
}

Failure Failures::notOpen(const CMPath& path)
{
    return refused(
        {TavoErrorInvalidPath(), translatable(QT_TRANSLATE_NOOP("Host", "'%1' is not open"), {path.toEncoded()})});
}

Failure Failures::accessViolation(const QString& base, const QString& directory)
{
    const char* const outside = QT_TRANSLATE_NOOP("Host", "Access violation: path '%1' is outside '%2'");
    return refused({TavoErrorAccessViolation(), translatable(outside, {base, directory})});
}

Failure Failures::noReadPermission(const QString& base)
{
    return refused(
        {TavoErrorAccessViolation(),
         translatable(QT_TRANSLATE_NOOP("Host", "No permission to read directory '%1'"), {base})});
}

Failure Failures::unreadable(const CMPath& path, int errorNumber)
{
    const char* const sourceText = QT_TRANSLATE_NOOP("Host", "'%1' cannot be read: %2");
    return refused(
        {CMError::DefaultName(), translatable(sourceText, {path.toEncoded(), qt_error_string(errorNumber)})});
}

Failure Failures::tooManyOpen(int limit)
{
    const char* const sourceText = QT_TRANSLATE_NOOP("Host", "No more than %1 paths can be open");
    return refused({CMError::DefaultName(), translatable(sourceText, {QString::number(limit)})});
}

Failure Failures::unanswered(const CMPath& path)
{
    return {
        Failure::Kind::Unanswered, translatable(QT_TRANSLATE_NOOP("Host", "'%1' gives no answer"), {path.toEncoded()})};
}

Failure Failures::cancelled()
{
    return {Failure::Kind::Cancelled, translatable(QT_TRANSLATE_NOOP("Host", "the request was cancelled"))};
}

Failure Failures::timedOut()
{
    return {Failure::Kind::Cancelled, translatable(QT_TRANSLATE_NOOP("Host", "the request took too long"))};
}

Failure Failures::stopping()
{
    return {Failure::Kind::Cancelled, translatable(QT_TRANSLATE_NOOP("Host", "the host is stopping"))};
}

Failure Failures::tooLarge()
{
    return {Failure::Kind::TooLarge, translatable(QT_TRANSLATE_NOOP("Host", "the answer would be too large"))};
}

Failure Failures::busy()
{
    return {Failure::Kind::Busy, translatable(QT_TRANSLATE_NOOP("Host", "the host has too much under way"))};
}

Failure Failures::rootHangs(const QString& prefix)
{
    const QString root = CMPath(prefix, QString()).toEncoded();
    return {
        Failure::Kind::Busy,
        translatable(QT_TRANSLATE_NOOP("Host", "'%1' does not answer: earlier requests still wait for it"), {root})};
}

Failure Failures::fromException()
{
    const QString reason = reasonOfException();
    return refused(
        {CMError::DefaultName(), translatable(QT_TRANSLATE_NOOP("Host", "The request failed: %1"), {reason})});
}

Failure Failures::shownTo(Reach reach, Failure failure, const CMPath& path)
{
    if (reach == Reach::Network && failure.kind == Failure::Kind::Refused)
        failure.message =
            translatable(QT_TRANSLATE_NOOP("Host", "'%1' is refused: %2"), {path.toEncoded(), failure.name});
    return failure;
}
