#include "support/changingtree.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

void write(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write("x");
}

void remove(const QString& path)
{
    QDir(path).removeRecursively();
    QFile::remove(path);
}

} // namespace

int below(Random& random, int limit)
{
    return static_cast<int>(random() % static_cast<unsigned>(limit));
}

QStringList titlesOnDisk(const QString& directory)
{
    std::vector<QByteArray> directories;
    std::vector<QByteArray> files;
    QDirIterator entries(directory, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System);
    while (entries.hasNext()) {
        entries.next();
        const QByteArray name = entries.fileName().toUtf8();
        if (entries.fileInfo().isDir())
            directories.push_back(name);
        else if (name.endsWith(".mp3"))
            files.push_back(name);
    }
    const auto inOrder = [](const QByteArray& a, const QByteArray& b) {
        return std::strcoll(a.constData(), b.constData()) < 0;
    };
    std::sort(directories.begin(), directories.end(), inOrder);
    std::sort(files.begin(), files.end(), inOrder);
    QStringList titles;
    for (const auto* group : {&directories, &files}) {
        for (const QByteArray& name : *group)
            titles.append(QString::fromUtf8(name));
    }
    return titles;
}

void Mutator::change()
{
    const QString path = anyPath();
    switch (below(m_random, 8)) {
    case 0:
    case 1:
        return write(path + QStringLiteral(".mp3"));
    case 2:
        return write(path + QStringLiteral(".txt"));
    case 3:
    case 4:
        QDir().mkpath(path);
        return;
    case 5:
        return remove(anyEntry());
    case 6:
        QFile::rename(anyEntry(), path);
        return;
    default:
        return replace(anyEntry());
    }
}

QString Mutator::anyPath()
{
    QString path = m_root;
    for (int depth = 1 + below(m_random, 4); depth > 0; --depth)
        path += QLatin1Char('/') + anyName();
    return path;
}

QString Mutator::anyEntry()
{
    const QString path = anyPath();
    return below(m_random, 2) == 0 ? path : path + QStringLiteral(".mp3");
}

void Mutator::replace(const QString& path)
{
    remove(path);
    if (below(m_random, 3) == 0)
        return write(path);
    QDir().mkpath(path);
    write(path + QStringLiteral("/") + anyName() + QStringLiteral(".mp3"));
}
