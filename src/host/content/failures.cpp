#include "content/failures.h"

#include <model/cmabstractworker.h>
#include <tavo/tavokeys.h>

#include <exception>

namespace {

constexpr char context[] = "Host";

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
    return {Failure::Kind::Refused, error.message(), error.name(), error.title()};
}

Failure Failures::invalidPath(const CMPath& path)
{
    return refused(CMAbstractWorker::createErrorInvalidPath(path));
}

Failure Failures::notOpen(const CMPath& path)
{
    return refused({TavoErrorInvalidPath(), TrString({context, "'%1' is not open"}, path.toEncoded())});
}

Failure Failures::accessViolation(const QString& base, const QString& directory)
{
    const QList<TrArg> arguments = {base, directory};
    return refused(
        {TavoErrorAccessViolation(), TrString({context, "Access violation: path '%1' is outside '%2'"}, arguments)});
}

Failure Failures::noReadPermission(const QString& base)
{
    return refused({TavoErrorAccessViolation(), TrString({context, "No permission to read directory '%1'"}, base)});
}

Failure Failures::unreadable(const CMPath& path, int errorNumber)
{
    const QList<TrArg> arguments = {path.toEncoded(), qt_error_string(errorNumber)};
    return refused({CMError::DefaultName(), TrString({context, "'%1' cannot be read: %2"}, arguments)});
}

Failure Failures::tooManyOpen(int limit)
{
    return refused(
        {CMError::DefaultName(), TrString({context, "No more than %1 paths can be open"}, QString::number(limit))});
}

Failure Failures::unanswered(const CMPath& path)
{
    return {Failure::Kind::Unanswered, QStringLiteral("'%1' gives no answer").arg(path.toEncoded())};
}

Failure Failures::cancelled()
{
    return {Failure::Kind::Cancelled, QStringLiteral("the request was cancelled")};
}

Failure Failures::timedOut()
{
    return {Failure::Kind::Cancelled, QStringLiteral("the request took too long")};
}

Failure Failures::stopping()
{
    return {Failure::Kind::Cancelled, QStringLiteral("the host is stopping")};
}

Failure Failures::tooLarge()
{
    return {Failure::Kind::TooLarge, QStringLiteral("the answer would be too large")};
}

Failure Failures::busy()
{
    return {Failure::Kind::Busy, QStringLiteral("the host has too much under way")};
}

Failure Failures::fromException()
{
    const QString reason = reasonOfException();
    return refused({CMError::DefaultName(), TrString({context, "The request failed: %1"}, reason)});
}

Failure Failures::shownTo(Reach reach, Failure failure, const CMPath& path)
{
    if (reach == Reach::Network && failure.kind == Failure::Kind::Refused)
        failure.message = QStringLiteral("'%1' is refused: %2").arg(path.toEncoded(), failure.name);
    return failure;
}
