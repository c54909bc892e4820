#pragma once

#include <QString>
#include <QTemporaryDir>

/// A small directory tree on disk that changes in a few ways and can be reset.
class ChangingTree
{
public:
    ChangingTree();

    [[nodiscard]] QString root() const;

    /// Makes or undoes one of the changes; any number selects one. Does nothing if the tree's state allows neither.
    void change(unsigned char number);
    /// Restores the initial tree. The root stays the same directory.
    void reset();

private:
    void fill() const;
    [[nodiscard]] QByteArray absolute(const char* path) const;

    const QTemporaryDir m_folder;
    bool m_isChanged = false;
};
