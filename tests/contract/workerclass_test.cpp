// The shape of the module's class as other binaries rely on it, read from a live worker's virtual table.

#include "model/cmworker.h"
#include "process.h"
#include "tavo/tavokeys.h"

#include <QDir>
#include <QStringList>

#include <cxxabi.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

/// The function's name with its scope, without its parameters.
std::string readable(const char* symbol)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
    const std::string full = status == 0 ? text.get() : symbol;
    return full.substr(0, full.find('('));
}

/// All symbols that a file defines, the hidden ones too, by their offset in it.
std::map<std::uintptr_t, std::string> symbolsOf(const char* file)
{
    const Outcome outcome = runToEnd(
        QStringLiteral(TAVO_NM),
        {QStringLiteral("--defined-only"), QStringLiteral("--format=posix"), QString::fromUtf8(file)});
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.output.toStdString();
    std::map<std::uintptr_t, std::string> symbols;
    for (const QString& line : outcome.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(QLatin1Char(' '));
        symbols.emplace(fields.value(2).toULongLong(nullptr, 16), fields.first().toStdString());
    }
    return symbols;
}

/// Slots that QObject's own virtual table has. Its functions have no names of their own: equal ones share their code.
constexpr std::size_t qobjectSlots = 12;

const void* functionAt(const QObject* object, std::size_t index)
{
    return (*reinterpret_cast<void* const* const*>(object))[index];
}

class WorkerClass : public testing::Test
{
protected:
    void SetUp() override
    {
        void* module = dlopen(TAVO_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << dlerror();
        const auto create = reinterpret_cast<CMWorkerCreate>(dlsym(module, "worker_create"));
        ASSERT_NE(create, nullptr);
        m_worker.reset(create(nullptr, {{TavoFilesystem_Path(), QDir::tempPath()}}));
        m_symbols = symbolsOf(TAVO_MODULE);
    }

    /// The name of the function in the given slot of the worker's virtual table.
    [[nodiscard]] std::string slot(std::size_t index) const
    {
        const void* function = functionAt(m_worker.get(), index);
        if (index < qobjectSlots && function == functionAt(&m_plain, index))
            return "QObject's";
        Dl_info info = {};
        if (dladdr(function, &info) == 0)
            return "unknown";
        const auto inModule = m_symbols.find(
            reinterpret_cast<std::uintptr_t>(function) - reinterpret_cast<std::uintptr_t>(info.dli_fbase));
        if (info.dli_fname == std::string(TAVO_MODULE) && inModule != m_symbols.end())
            return readable(inModule->second.c_str());
        return info.dli_sname != nullptr ? readable(info.dli_sname) : "unnamed";
    }

    const QObject m_plain;
    std::unique_ptr<CMWorker> m_worker;
    std::map<std::uintptr_t, std::string> m_symbols;
};

TEST_F(WorkerClass, VirtualOperationsStandInTheirSlots)
{
    const std::vector<std::string> expected = {
        "CMFileWorker::metaObject",
        "CMFileWorker::qt_metacast",
        "CMFileWorker::qt_metacall",
        "CMFileWorker::~CMFileWorker",
        "CMFileWorker::~CMFileWorker",
        "QObject's",
        "QObject's",
        "QObject's",
        "QObject's",
        "QObject's",
        "QObject's",
        "QObject's",
        "CMAbstractWorker::request",
        "CMWorker::ping",
        "CMWorker::trace",
        "CMFileWorker::getDataRequest",
        "CMFileWorker::getRowsRequest",
        "CMWorker::matchRowRequest",
        "CMFileWorker::setDataRequest",
        "CMWorker::connectChange",
        "CMWorker::disconnectChange",
        "CMFileWorker::getDataImpl"};
    std::vector<std::string> found;
    for (std::size_t index = 0; index < expected.size(); ++index)
        found.push_back(slot(index));
    EXPECT_EQ(found, expected);
}

} // namespace
