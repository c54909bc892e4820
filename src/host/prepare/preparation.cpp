#include "prepare/preparation.h"

#include "content/contenthost.h"
#include "content/failures.h"
#include "language/translatable.h"

#include <QElapsedTimer>

Preparation::Preparation(ContentHost& host, Kind kind, ItemSink& sink)
    : m_host(host), m_kind(kind), m_sink(sink), m_plan(host, kind)
{
}

Result<void> Preparation::run(const QVector<CMPath>& paths)
{
    const CMRequestContext::Scope scope(m_context);
    m_progress.show(translated(QT_TRANSLATE_NOOP("Host", "looking for files")));
    Result<void> planned = plan(paths);
    Result<Written> written = planned ? requestAll() : planned.failure();
    m_progress.clear();
    if (!written && written.failure().kind != Failure::Kind::Cancelled)
        return written.failure();
    written = finish();
    if (!written)
        return written.failure();
    return {};
}

Result<void> Preparation::plan(const QVector<CMPath>& paths)
{
    for (const CMPath& path : paths) {
        if (Result<void> added = m_plan.add(path); !added)
            return added;
    }
    return {};
}

Result<Written> Preparation::requestAll()
{
    Result<Written> written = Written::All;
    for (int step = 0; step < m_plan.steps().size() && written && written.value() == Written::All;) {
        const int end = requestEnd(step);
        written = request(step, end);
        step = end;
    }
    return written;
}

Result<Written> Preparation::finish()
{
    return m_context.isCancelled() ? m_sink.breakOff() : m_sink.finish();
}

int Preparation::requestEnd(int begin) const
{
    const QVector<PreparePlan::Step>& steps = m_plan.steps();
    int end = begin;
    for (int files = 0; end < steps.size() && files < m_filesPerRequest; ++end) {
        if (steps.at(end).path.prefix() != steps.at(begin).path.prefix())
            break;
        files += steps.at(end).files;
    }
    return end;
}

Result<Written> Preparation::request(int begin, int end)
{
    const CMPath& path = m_plan.steps().at(begin).path;
    const ContentHost::SharedMount mount = m_host.mountAt(path.prefix());
    if (!mount)
        return Failures::invalidPath(path);
    m_progress.show(m_filesDone, m_plan.files(), path.base());
    QStringList ids;
    for (int step = begin; step < end; ++step) {
        ids.append(m_plan.steps().at(step).path.toEncoded());
        m_filesDone += m_plan.steps().at(step).files;
    }
    QElapsedTimer timer;
    timer.start();
    const Result<QVariant> items = Content(m_host).set(PreparePlan::serviceOf(*mount, m_kind), ids);
    adaptSize(timer.elapsed());
    if (!items)
        return items.failure();
    m_progress.clear();
    return m_sink.add(items.value().toList());
}

void Preparation::adaptSize(qint64 milliseconds)
{
    // A request is to take about as long as a progress line may stand still.
    constexpr int mostFiles = 2000;
    if (milliseconds < 100 && m_filesPerRequest < mostFiles)
        m_filesPerRequest *= 2;
    else if (milliseconds > 400 && m_filesPerRequest > 1)
        m_filesPerRequest /= 2;
}
