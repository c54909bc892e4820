#pragma once

#include <QString>
#include <QVariant>

#include <functional>
#include <vector>

/// Takes the place of the tag readers' readItem() in a test program: tests see each call and may choose the item.
struct TagReaderHook
{
    enum class Reader { PlayList, MusicLibrary };

    struct Call
    {
        Reader reader;
        QString root;
        QString path;
        QString serviceId;
        QVariantList rows;
    };

    static std::vector<Call> calls;
    /// The item for a path; without it the reader's own.
    static std::function<QVariant(const QString& path)> item;

    static void reset();
};
