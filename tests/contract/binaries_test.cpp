// What the built files need and offer, read from the files themselves.

#include "process.h"

#include <QRegularExpression>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Names = std::set<std::string>;

/// The first captured text of every line that matches.
Names captured(const QString& text, const QString& pattern)
{
    Names names;
    QRegularExpressionMatchIterator matches =
        QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
    while (matches.hasNext())
        names.insert(matches.next().captured(1).toStdString());
    return names;
}

/// Names of the dynamic symbols that others can bind to, without their versions.
Names exportsOf(const char* file)
{
    const Outcome outcome = runToEnd(
        QStringLiteral(TAVO_NM), {QStringLiteral("--dynamic"), QStringLiteral("--defined-only"),
                                  QStringLiteral("--format=posix"), QString::fromUtf8(file)});
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.output.toStdString();
    return captured(outcome.output, QStringLiteral("^([^ @]+)[^ ]* [A-Za-z] "));
}

/// Whether the library belongs to the compiler, the C library or a sanitizer.
bool isRuntime(const std::string& library)
{
    static const QRegularExpression runtimes(QStringLiteral(
        R"(^(libc|libm|libgcc_s|libstdc\+\+|libc\+\+|libasan|libubsan|libtsan|libdl|libpthread|ld-linux.*)\.so)"));
    return runtimes.match(QString::fromStdString(library)).hasMatch();
}

/// The libraries that the file asks the loader for, by name without version, the runtime's left out.
Names needsOf(const char* file)
{
    const Outcome outcome =
        runToEnd(QStringLiteral(TAVO_READELF), {QStringLiteral("--dynamic"), QString::fromUtf8(file)});
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.output.toStdString();
    Names names;
    for (const std::string& library : captured(outcome.output, QStringLiteral(R"(\(NEEDED\).*\[(.+)\])"))) {
        if (!isRuntime(library))
            names.insert(library.substr(0, library.find_first_of(".-")));
    }
    return names;
}

TEST(Binaries, ModulesExportTheFactoryAndNothingElse)
{
    for (const char* module : {TAVO_MODULE, TAVO_QUEUE_MODULE})
        EXPECT_THAT(exportsOf(module), ElementsAre("worker_create")) << module;
}

TEST(Binaries, ModuleNeedsTheSdkQtCoreAndLog4cplusAlone)
{
    EXPECT_THAT(
        needsOf(TAVO_MODULE),
        UnorderedElementsAre("libtavo_api", "libtavo_tagreader", "libtavo_playlist", "libQt5Core", "liblog4cplus"));
}

TEST(Binaries, QueueModuleNeedsTheSdkQtCoreQtSqlAndLog4cplusAlone)
{
    EXPECT_THAT(
        needsOf(TAVO_QUEUE_MODULE), UnorderedElementsAre("libtavo_api", "libQt5Core", "libQt5Sql", "liblog4cplus"));
}

TEST(Binaries, ModulesLoadWithAllTheirSymbolsBound)
{
    for (const char* file : {TAVO_MODULE, TAVO_QUEUE_MODULE}) {
        void* module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << dlerror();
        EXPECT_NE(dlsym(module, "worker_create"), nullptr) << file;
    }
}

TEST(Binaries, HostNeedsNoModule)
{
    EXPECT_THAT(
        needsOf(TAVO_HOST),
        UnorderedElementsAre("libtavo_api", "libtavo_tagreader", "libQt5Core", "liblog4cplus", "libtomlplusplus"));
}

TEST(Binaries, SdkNeedsQtCoreAndLog4cplusAlone)
{
    EXPECT_THAT(needsOf(TAVO_API), UnorderedElementsAre("libQt5Core", "liblog4cplus"));
}

TEST(Binaries, TagReadersNeedTheSdkAndQtCoreAlone)
{
    EXPECT_THAT(needsOf(TAVO_TAGREADER), UnorderedElementsAre("libtavo_api", "libQt5Core"));
}

TEST(Binaries, TagsAloneNeedTagLibAndQtGui)
{
    EXPECT_THAT(needsOf(TAVO_TAGS), UnorderedElementsAre("libtavo_api", "libQt5Core", "libQt5Gui", "libtag"));
    EXPECT_THAT(exportsOf(TAVO_TAGS), ElementsAre("tavo_tag_functions"));
}

TEST(Binaries, SdkExportsNoInstancesOfForeignTemplates)
{
    static const QRegularExpression foreign(QStringLiteral("^_ZN?K?St|6TagLib"));
    for (const char* library : {TAVO_API, TAVO_TAGREADER, TAVO_PLAYLIST}) {
        Names instances;
        for (const std::string& name : exportsOf(library)) {
            if (foreign.match(QString::fromStdString(name)).hasMatch())
                instances.insert(name);
        }
        EXPECT_THAT(instances, IsEmpty()) << library;
    }
}

TEST(Binaries, PlayListHelperNeedsTheSdkAndQtCoreAlone)
{
    EXPECT_THAT(needsOf(TAVO_PLAYLIST), UnorderedElementsAre("libtavo_api", "libQt5Core"));
}

} // namespace
