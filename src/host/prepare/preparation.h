#pragma once

#include "prepare/itemsink.h"
#include "prepare/prepareplan.h"
#include "terminal/progressline.h"

#include <model/cmrequestcontext.h>

/// Has a worker prepare items, request by request, and shows its progress.
class Preparation
{
public:
    using Kind = PreparePlan::Kind;

    /// Host and sink must outlive it.
    Preparation(ContentHost& host, Kind kind, ItemSink& sink);

    /// Runs in a thread that may be busy for long. After stop() it ends soon, and the sink breaks off.
    [[nodiscard]] Result<void> run(const QVector<CMPath>& paths);
    /// From any thread.
    void stop() { m_context.cancel(); }

private:
    [[nodiscard]] Result<void> plan(const QVector<CMPath>& paths);
    [[nodiscard]] Result<Written> requestAll();
    /// Requests the items of the steps from `begin` to before `end`, which have one prefix.
    [[nodiscard]] Result<Written> request(int begin, int end);
    [[nodiscard]] Result<Written> finish();
    /// Behind the last step of the request that begins with this one.
    [[nodiscard]] int requestEnd(int begin) const;
    void adaptSize(qint64 milliseconds);

    ContentHost& m_host;
    const Kind m_kind;
    ItemSink& m_sink;
    CMRequestContext m_context;
    PreparePlan m_plan;
    ProgressLine m_progress;
    int m_filesDone = 0;
    int m_filesPerRequest = 25;
};
