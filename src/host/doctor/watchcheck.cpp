#include "doctor/watchcheck.h"

#include "language/translatable.h"

#include <algorithm>

namespace {

QString raised(const QString& name, qint64 value)
{
    return translated(
        QT_TRANSLATE_NOOP("Host", "raise it: sysctl -w %1=%2; the line %1=%2 in /etc/sysctl.d/tavo.conf makes it last"),
        {name, QString::number(value)});
}

/// Room for as many directories again, and for other programs.
qint64 enoughFor(qint64 directories)
{
    qint64 watches = 524'288;
    while (watches < 2 * directories)
        watches *= 2;
    return watches;
}

Finding watchFinding(const QString& problem, const KernelLimit& limit, qint64 directories)
{
    const qint64 value = std::max(enoughFor(directories), 2 * qint64{limit.value});
    return {QStringLiteral("watchLimit"), problem, raised(limit.name, value)};
}

} // namespace

FreeWatches FreeWatches::find(int instances)
{
    return {!isWatchLimitReached("/"), !isInstanceLimitReached(instances)};
}

Findings checkWatches(const FreeWatches& free, const KernelLimit& limit, qint64 directories)
{
    Findings findings;
    if (!free.instances) {
        const KernelLimit instances = instanceLimit();
        findings.push_back(
            {QStringLiteral("instanceLimit"),
             translated(
                 QT_TRANSLATE_NOOP("Host", "all inotify instances of this user are in use: %1 = %2"),
                 {instances.name, QString::number(instances.value)}),
             raised(instances.name, 2 * qint64{instances.value})});
    }
    if (!free.watch)
        findings.push_back(watchFinding(
            translated(
                QT_TRANSLATE_NOOP("Host", "all inotify watches of this user are in use: %1 = %2"),
                {limit.name, QString::number(limit.value)}),
            limit, directories));
    else if (directories > limit.value)
        findings.push_back(watchFinding(
            translated(
                QT_TRANSLATE_NOOP("Host", "there are %1 directories, and the kernel watches %3 at most: %2 = %3"),
                {QString::number(directories), limit.name, QString::number(limit.value)}),
            limit, directories));
    return findings;
}
