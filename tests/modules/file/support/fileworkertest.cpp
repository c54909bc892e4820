#include "fileworkertest.h"

#include "log/dbglog.h"
#include "tavo/tavokeys.h"

#include <thread>

void PrintTo(const CMPath& path, std::ostream* out)
{
    *out << path;
}

QVariantHash fileConfiguration(const QString& root, const QStringList& patterns)
{
    return {{TavoService_Id(), "file"}, {TavoFilesystem_Path(), root}, {TavoFilesystem_Filter(), patterns}};
}

std::unique_ptr<CMFileWorker> makeFileWorker(const QVariantHash& configuration)
{
    return std::unique_ptr<CMFileWorker>(dynamic_cast<CMFileWorker*>(worker_create(nullptr, configuration)));
}

bool isUnlockedMutex(QMutex& mutex)
{
    bool unlocked = false;
    std::thread([&] {
        unlocked = mutex.tryLock();
        if (unlocked)
            mutex.unlock();
    }).join();
    return unlocked;
}

FileWorkerTest::FileWorkerTest() : worker(makeFileWorker(fileConfiguration(tree.root()))), inside(*worker)
{
    log.clear();
}

FileWorkerTest::~FileWorkerTest()
{
    for (const LogCapture::Written& line : log.written()) {
        EXPECT_EQ(line.file, "src/modules/file/cmfileworker") << line.message;
        EXPECT_GT(line.line, 0) << line.message;
    }
}

CMReply<TavoRowsRoles>
FileWorkerTest::rows(const QString& base, int first, int last, int version, const QStringList& roles)
{
    const CMGetRowsRequest request(worker->addPrefix(base), first, last, version, roles);
    worker->getRowsRequest(request);
    return request.reply();
}

CMReply<QVariantList> FileWorkerTest::data(const QString& base, const QStringList& roles)
{
    const CMGetDataRequest request(worker->addPrefix(base), roles);
    worker->getDataRequest(request);
    return request.reply();
}

CMReply<QVariant> FileWorkerTest::set(const QString& service, const QVariant& value) const
{
    const CMSetDataRequest request(worker->addPrefix(service), value);
    worker->setDataRequest(request);
    return request.reply();
}

QVariantList FileWorkerTest::values(const QString& path, const QStringList& roles, CMError* error)
{
    CMReply<QVariantList> reply(new CMReplyData<QVariantList>);
    const QVariantList values = worker->getDataImpl(reply, path, roles);
    if (error)
        *error = reply.error();
    return values;
}

QStringList FileWorkerTest::list(const QString& path, CMError* error)
{
    CMReply<TavoRowsRoles> reply(new CMReplyData<TavoRowsRoles>);
    const QStringList names = inside.entryList(reply, path);
    if (error)
        *error = reply.error();
    return names;
}

bool FileWorkerTest::isUnlocked() const
{
    return isUnlockedMutex(inside.mutex());
}

void FileWorkerTest::open(const QString& base)
{
    Q_EMIT worker->subscribe()->rowsPathAdded(worker->addPrefix(base));
}

void FileWorkerTest::close(const QString& base)
{
    Q_EMIT worker->subscribe()->rowsPathRemoved(worker->addPrefix(base));
}

QVariantList firstColumn(const TavoRowsRoles& page)
{
    QVariantList values;
    for (const QVariant& row : page.rows())
        values.append(row.toList().value(0));
    return values;
}

testing::AssertionResult
messageHas(const CMError& error, const char* context, const char* sourceText, const QStringList& arguments)
{
    const QVariant message = error.value(CMError::Message());
    if (message.userType() != qMetaTypeId<TrString>())
        return testing::AssertionFailure() << "no TrString: " << testing::PrintToString(message);
    const auto text = message.value<TrString>();
    const TrCharData parts = text.charData();
    if (parts.context != context || parts.sourceText != sourceText || !parts.comment.isNull() || parts.n != -1) {
        return testing::AssertionFailure() << parts.context.constData() << ": " << parts.sourceText.constData() << ", "
                                           << parts.comment.constData() << ", " << parts.n;
    }
    QStringList values;
    for (const TrArg& argument : text.arguments()) {
        if (argument.fieldWidth != 0 || argument.fill != QLatin1Char(' '))
            return testing::AssertionFailure() << "padded argument: " << testing::PrintToString(argument.value);
        values.append(argument.value);
    }
    if (values != arguments)
        return testing::AssertionFailure() << "arguments: " << testing::PrintToString(values);
    return testing::AssertionSuccess();
}
