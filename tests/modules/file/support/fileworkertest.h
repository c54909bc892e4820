#pragma once

#include "cmfileworkerinspector.h"
#include "eventloop.h"
#include "filetree.h"
#include "logcapture.h"
#include "printers.h"
#include "signatures.h"
#include "tavo/tavoroles.h"

#include <gmock/gmock.h>

#include <memory>

/// For failed expectations.
void PrintTo(const CMPath& path, std::ostream* out);

extern "C" CMWorker* worker_create(void* host, const QVariantHash& configuration);

/// A worker with the prefix and service id "file".
[[nodiscard]] QVariantHash
fileConfiguration(const QString& root, const QStringList& patterns = {"*.mp3", "*.flac", "*.m3u"});
/// As a host makes it.
[[nodiscard]] std::unique_ptr<CMFileWorker> makeFileWorker(const QVariantHash& configuration);

/// True if another thread can take the mutex now.
[[nodiscard]] bool isUnlockedMutex(QMutex& mutex);

/// A worker over a real tree, its log collected from after its construction.
class FileWorkerTest : public testing::Test
{
protected:
    FileWorkerTest();
    /// Expects of every line collected that it carries the file's tag and a line.
    ~FileWorkerTest() override;

    [[nodiscard]] CMReply<TavoRowsRoles> rows(
        const QString& base, int first = 0, int last = 99, int version = 0,
        const QStringList& roles = {TavoRoles::Title()});
    [[nodiscard]] CMReply<QVariantList> data(const QString& base, const QStringList& roles = {TavoRoles::Title()});
    [[nodiscard]] CMReply<QVariant> set(const QString& service, const QVariant& value) const;
    /// Without a request; the error is that of the list's reply, if there is one.
    [[nodiscard]] QVariantList values(const QString& path, const QStringList& roles, CMError* error = nullptr);
    [[nodiscard]] QStringList list(const QString& path, CMError* error = nullptr);

    [[nodiscard]] bool isUnlocked() const;

    /// Emit the signals with which CMSubscribe reports that a path was opened or closed.
    void open(const QString& base);
    void close(const QString& base);

    FileTree tree;
    LogCapture log;
    const std::unique_ptr<CMFileWorker> worker;
    const CMFileWorkerInspector inside;
};

/// The first value of every row.
[[nodiscard]] QVariantList firstColumn(const TavoRowsRoles& page);

/// Whether the message of the error has these parts: its arguments are substituted as they are.
[[nodiscard]] testing::AssertionResult
messageHas(const CMError& error, const char* context, const char* sourceText, const QStringList& arguments);
