#pragma once

#include <QString>
#include <QTemporaryDir>

/// A small directory tree on disk that changes in a few ways and can be reset. It has hidden entries, and a link to a
/// directory beside it. Files that only these lead to are called "secret.mp3", which no input says.
class ChangingTree
{
public:
    ChangingTree();

    [[nodiscard]] QString root() const;
    /// The parent of the root, and of what is outside.
    [[nodiscard]] QString folder() const { return m_folder.path(); }

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
