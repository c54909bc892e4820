#include "doctor/watchcheck.h"

#include <algorithm>

namespace {

QString raised(const QString& name, qint64 value)
{
    return QStringLiteral("raise it: sysctl -w %1=%2; the line %1=%2 in /etc/sysctl.d/tavo.conf makes it last")
        .arg(name)
        .arg(value);
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
             QStringLiteral("all inotify instances of this user are in use: %1 = %2")
                 .arg(instances.name)
                 .arg(instances.value),
             raised(instances.name, 2 * qint64{instances.value})});
    }
    if (!free.watch)
        findings.push_back(watchFinding(
            QStringLiteral("all inotify watches of this user are in use: %1 = %2").arg(limit.name).arg(limit.value),
            limit, directories));
    else if (directories > limit.value)
        findings.push_back(watchFinding(
            QStringLiteral("there are %1 directories, and the kernel watches %3 at most: %2 = %3")
                .arg(directories)
                .arg(limit.name)
                .arg(limit.value),
            limit, directories));
    return findings;
}
