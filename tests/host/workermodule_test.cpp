#include "content/workermodule.h"

#include "support/temporarytree.h"

#include "printers.h"

#include <tavo/tavokeys.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

std::string loadFailure(const char* file)
{
    const Result<WorkerModule> module = WorkerModule::load(QString::fromUtf8(file));
    return module ? std::string() : module.failure().message.toString().toStdString();
}

std::string createFailure(const char* file, const QString& serviceId = QStringLiteral("file"))
{
    const Result<WorkerModule> module = WorkerModule::load(QString::fromUtf8(file));
    EXPECT_TRUE(module) << module.failure().message.toString().toStdString();
    const auto worker = module.value().createWorker({{TavoService_Id(), serviceId}});
    return worker ? std::string() : worker.failure().message.toString().toStdString();
}

TEST(WorkerModule, MakesWorkersFromTheConfiguration)
{
    const TemporaryTree tree;
    const Result<WorkerModule> module = WorkerModule::load(QStringLiteral(TAVO_MODULE));
    ASSERT_TRUE(module) << module.failure().message.toString().toStdString();
    const auto worker =
        module.value().createWorker({{TavoService_Id(), QStringLiteral("disk")}, {TavoFilesystem_Path(), tree.root()}});
    ASSERT_TRUE(worker) << worker.failure().message.toString().toStdString();
    EXPECT_EQ(worker.value()->prefix(), QStringLiteral("disk"));
}

TEST(WorkerModule, MissingFileIsToldInTheLoadersWords)
{
    EXPECT_THAT(loadFailure("/no/such/module.so"), HasSubstr("/no/such/module.so: cannot open shared object file"));
}

TEST(WorkerModule, FileWithoutSlashIsLookedForInTheCurrentDirectory)
{
    EXPECT_THAT(loadFailure("module.so"), HasSubstr("/module.so: cannot open"));
}

TEST(WorkerModule, WhatIsNoLibraryIsNotLoaded)
{
    EXPECT_THAT(loadFailure(TAVO_TEST_DATA "/modules/not_a_library.so"), HasSubstr("not_a_library.so"));
    EXPECT_THAT(loadFailure("/"), HasSubstr("cannot load"));
}

TEST(WorkerModule, LibraryWithoutAFactoryIsNotLoaded)
{
    EXPECT_THAT(loadFailure(MODULE_NO_FACTORY), HasSubstr("undefined symbol: worker_create"));
}

TEST(WorkerModule, LibraryThatLacksASymbolIsNotLoaded)
{
    EXPECT_THAT(loadFailure(MODULE_MISSING_SYMBOL), HasSubstr("undefined symbol: function_of_no_library"));
}

TEST(WorkerModule, FactoryThatThrowsMakesNoWorker)
{
    EXPECT_THAT(createFailure(MODULE_THROWING_FACTORY), HasSubstr("no memory for it"));
    EXPECT_THAT(createFailure(MODULE_THROWING_FACTORY, QStringLiteral("number")), HasSubstr("its factory throws"));
}

TEST(WorkerModule, FactoryMayMakeNothing)
{
    EXPECT_THAT(createFailure(MODULE_NULL_FACTORY), HasSubstr("its factory gives none"));
}

TEST(WorkerModule, FailureIsOneLine)
{
    for (const char* file : {"/no/such/module.so", MODULE_NO_FACTORY, MODULE_MISSING_SYMBOL})
        EXPECT_THAT(loadFailure(file), testing::Not(HasSubstr("\n")));
}

} // namespace
