#include "servedtree.h"

ServedTree::ServedTree()
{
    tree.addFile(QStringLiteral("root/a/old.mp3"));
    tree.addFile(QStringLiteral("other/a/new.mp3"));
    tree.addFile(QStringLiteral("file"));
}

QStringList ServedTree::options(const QStringList& more) const
{
    return QStringList{QStringLiteral("--root"), tree.absolute(root), QStringLiteral("--sweep"), QStringLiteral("1")} +
           more;
}

void ServedTree::start(const QStringList& more)
{
    client.start(options(more));
    ASSERT_TRUE(client.open(directory));
}

void ServedTree::expectChangesArrive()
{
    QStringList rows = client.titles(directory);
    tree.addFile(QStringLiteral("root/a/~new.mp3"));
    rows.append(QStringLiteral("~new.mp3"));
    EXPECT_TRUE(client.comesToHold(directory, rows));
}
