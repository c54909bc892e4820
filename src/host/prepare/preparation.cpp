#include "prepare/preparation.h"

#include "content/session.h"

#include <QElapsedTimer>

Preparation::Preparation(const Session& session, CMPath service, PreparePlan plan, ItemSink& sink)
    : m_session(session), m_service(std::move(service)), m_plan(std::move(plan)), m_sink(sink)
{
}

std::optional<Failure> Preparation::run(const QVector<CMPath>& paths)
{
    m_progress.show(QStringLiteral("looking for files"));
    for (const CMPath& path : paths) {
        if (!m_stopped)
            m_plan.add(path);
    }
    Result<Written> written = Written::All;
    for (int step = 0; step < m_plan.steps().size() && mayGoOn(written);) {
        const int end = requestEnd(step);
        written = request(step, end);
        step = end;
    }
    m_progress.clear();
    if (written)
        written = m_stopped ? m_sink.breakOff() : m_sink.finish();
    return written ? std::nullopt : std::make_optional(written.failure());
}

bool Preparation::mayGoOn(const Result<Written>& written) const
{
    return !m_stopped && written && written.value() == Written::All;
}

int Preparation::requestEnd(int begin) const
{
    int end = begin;
    for (int files = 0; end < m_plan.steps().size() && files < m_filesPerRequest; ++end)
        files += m_plan.steps().at(end).files;
    return end;
}

Result<Written> Preparation::request(int begin, int end)
{
    m_progress.show(m_filesDone, m_plan.files(), shown(m_plan.steps().at(begin)));
    QStringList ids;
    for (int step = begin; step < end; ++step) {
        ids.append(m_plan.steps().at(step).id);
        m_filesDone += m_plan.steps().at(step).files;
    }
    QElapsedTimer timer;
    timer.start();
    const Result<QVariant> items = m_session.set(m_service, ids);
    learnPace(timer.elapsed());
    if (!items)
        return items.failure();
    m_progress.clear();
    return m_sink.add(items.value().toList());
}

void Preparation::learnPace(qint64 milliseconds)
{
    // A request is to take about as long as a progress line may stand still.
    constexpr int mostFiles = 2000;
    if (milliseconds < 100 && m_filesPerRequest < mostFiles)
        m_filesPerRequest *= 2;
    else if (milliseconds > 400 && m_filesPerRequest > 1)
        m_filesPerRequest /= 2;
}

QString Preparation::shown(const PreparePlan::Step& step) const
{
    const QString root = m_session.describe().rootDirectory + QLatin1Char('/');
    const QString path = CMPath::fromEncoded(step.id).base();
    return path.startsWith(root) ? path.mid(root.size()) : path;
}
