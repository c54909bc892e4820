// A worker that answers each path in its own way, as faulty and slow workers do.
#include <model/cmrequestcontext.h>
#include <model/cmworker.h>
#include <tavo/tavokeys.h>

#include <QDir>
#include <QFile>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

/// Waits until somebody has opened the FIFO for writing and closed it again.
void waitForFifo(const QString& name)
{
    QFile fifo(name);
    if (fifo.open(QIODevice::ReadOnly))
        fifo.readAll();
}

class ScriptedWorker : public CMWorker
{
public:
    explicit ScriptedWorker(const QVariantHash& configuration)
        : CMWorker(configuration, QStringLiteral("ScriptedWorker")),
          m_root(configuration.value(TavoFilesystem_Path()).toString())
    {
        connect(
            subscribe(), &CMSubscribe::rowsPathAdded, this,
            [](const CMPath& path) {
                if (path.base() == QLatin1String("throw"))
                    throw std::runtime_error("no memory for it");
            },
            Qt::DirectConnection);
        // Somebody may remove it just then.
        if (configuration.value(TavoService_Id()) == QLatin1String("vanishing"))
            QDir().rmdir(m_root);
    }

    /// As many rows as the base says, or what its word says.
    void getRowsRequest(const CMGetRowsRequest& request) override
    {
        const QString& base = request.path().base();
        if (base == QLatin1String("throw"))
            throw std::runtime_error("no memory for it");
        if (base == QLatin1String("throw number"))
            throw 1;
        if (base == QLatin1String("throw later"))
            QMetaObject::invokeMethod(
                this, [] { throw std::runtime_error("thrown later"); }, Qt::QueuedConnection);
        if (base == QLatin1String("silence"))
            return;
        if (base == QLatin1String("fifo"))
            waitForFifo(filePath(base));
        TavoRowsRoles page;
        page.setRowsCount(base.toInt());
        page.setRowsVersion(0);
        QVariantList rows;
        for (int i = request.first(); i < base.toInt() && i <= request.last(); ++i)
            rows.append(QVariant(QVariantList{QString(100, QLatin1Char('x'))}));
        page.setRows(rows);
        request.reply().setValue(page);
    }

    /// The base is a FIFO's.
    void getDataRequest(const CMGetDataRequest& request) override
    {
        waitForFifo(filePath(request.path().base()));
        request.reply().setValue(QVariantList{true});
    }

    /// The service for the library works until it is cancelled, "later" answers from the event loop, "silence" never.
    void setDataRequest(const CMSetDataRequest& request) override
    {
        const QString& base = request.path().base();
        if (base == QLatin1String("silence"))
            return;
        if (base == QLatin1String("later")) {
            QMetaObject::invokeMethod(
                this, [request] { request.reply().setValue(request.value()); }, Qt::QueuedConnection);
            return;
        }
        const CMRequestContext* const context = CMRequestContext::current();
        if (base == TavoMusicLibraryPrepareItems()) {
            while (context && context->mayContinue())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        request.reply().setValue(request.value());
    }

private:
    [[nodiscard]] QString filePath(const QString& base) const { return m_root + QLatin1Char('/') + base; }

    const QString m_root;
};

} // namespace

extern "C" Q_DECL_EXPORT CMWorker* worker_create(void* /*host*/, const QVariantHash& configuration)
{
    return std::make_unique<ScriptedWorker>(configuration).release();
}
