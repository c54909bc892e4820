#pragma once

#include "prepare/itemsink.h"
#include "prepare/prepareplan.h"
#include "terminal/progressline.h"

#include <atomic>
#include <optional>

class Session;

/// Has items prepared, request by request, and shows how far it is.
class Preparation
{
public:
    /// `service`: the worker's, for what the plan is made for.
    Preparation(const Session& session, CMPath service, PreparePlan plan, ItemSink& sink);

    /// Runs in a thread that may be busy for long. Why it failed, if so.
    [[nodiscard]] std::optional<Failure> run(const QVector<CMPath>& paths);
    /// From any thread: ends after the request under way.
    void stop() { m_stopped = true; }

private:
    Result<Written> request(int begin, int end);
    [[nodiscard]] bool mayGoOn(const Result<Written>& written) const;
    /// Behind the last step of the request that begins with this one.
    [[nodiscard]] int requestEnd(int begin) const;
    void learnPace(qint64 milliseconds);
    /// As a person knows it.
    [[nodiscard]] QString shown(const PreparePlan::Step& step) const;

    const Session& m_session;
    const CMPath m_service;
    PreparePlan m_plan;
    ItemSink& m_sink;
    std::atomic_bool m_stopped = false;
    ProgressLine m_progress;
    int m_filesDone = 0;
    int m_filesPerRequest = 25;
};
