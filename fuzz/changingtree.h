#pragma once

#include <QString>
#include <QTemporaryDir>

/// A small directory tree on the disk that changes in a few ways and can be put back.
class ChangingTree
{
public:
    ChangingTree();

    [[nodiscard]] QString root() const;

    /// Makes the change of that number, which may be any, or takes it back. Where the tree as it is lets neither be
    /// done, nothing happens.
    void change(unsigned char number);
    /// Makes the tree as it was at first. The root stays the same directory.
    void reset();

private:
    void fill() const;
    [[nodiscard]] QByteArray absolute(const char* path) const;

    const QTemporaryDir m_folder;
    bool m_isChanged = false;
};
