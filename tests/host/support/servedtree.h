#pragma once

#include "support/follower.h"
#include "support/temporarytree.h"

#include <gtest/gtest.h>

/// A program that serves root/ to a client, which has the directory a open.
class ServedTree : public testing::Test
{
protected:
    /// root/a/old.mp3, other/a/new.mp3 and file.
    ServedTree();

    [[nodiscard]] QStringList options(const QStringList& more = {}) const;
    void start(const QStringList& more = {});
    /// Expects that the client receives a new change of its directory.
    void expectChangesArrive();

    const QString root = QStringLiteral("root");
    const QString directory = QStringLiteral("a");
    const QStringList oldRows = {QStringLiteral("old.mp3")};
    const QStringList newRows = {QStringLiteral("new.mp3")};
    TemporaryTree tree;
    Follower client;
};
