#pragma once

#include "tavo/tavoexport.h"

#include <QDataStream>
#include <QMetaType>
#include <QString>

#include <iosfwd>

/// The path of a row in the content tree: the prefix of the worker that serves it, and the base, the path inside that
/// worker.
///
/// So that a directory has one path, the base "." becomes the empty base, and trailing slashes are dropped, except from
/// the base "/". Nothing else is normalised: `..` stays.
///
/// A value. The meta-type system knows it as "CMPath"; a QVariant that holds it compares, and converts to QString (and
/// so to JSON) by toEncoded().
class TAVO_API_EXPORT CMPath
{
public:
    /// Neither prefix nor base.
    CMPath() = default;
    /// Both are plain text, not encoded; `prefix` is one segment.
    CMPath(QString prefix, const QString& base);

    /// Reverses toEncoded() exactly, for any path. A text without a leading slash is a base without a prefix.
    [[nodiscard]] static CMPath fromEncoded(const QString& encoded);
    /// "/", the prefix, "/" and the base, in ASCII: both are percent-encoded, except the slashes of the base. The path
    /// without prefix and base, the top of the tree, is "/".
    [[nodiscard]] QString toEncoded() const;

    /// Not encoded. The reference is valid while this object is.
    [[nodiscard]] const QString& prefix() const { return m_prefix; }
    /// Not encoded; empty for the worker's root. The reference is valid while this object is.
    [[nodiscard]] const QString& base() const { return m_base; }

    /// True if `other` is this path or one of its ancestors.
    ///
    /// Whole segments are compared: "a/b" starts with "a", "ab" does not. If the result is true and `rest` is not null,
    /// `rest` receives the part of the base behind `other`, without the slash between them.
    [[nodiscard]] bool startsWith(const CMPath& other, QString* rest = nullptr) const;

    /// Compares prefix and base.
    friend bool operator==(const CMPath& a, const CMPath& b)
    {
        return a.m_prefix == b.m_prefix && a.m_base == b.m_base;
    }
    /// Compares prefix and base.
    friend bool operator!=(const CMPath& a, const CMPath& b) { return !(a == b); }
    /// Orders by prefix, then by base, each by UTF-16 code unit.
    friend bool operator<(const CMPath& a, const CMPath& b)
    {
        return a.m_prefix != b.m_prefix ? a.m_prefix < b.m_prefix : a.m_base < b.m_base;
    }

private:
    QString m_prefix;
    QString m_base;
};

Q_DECLARE_METATYPE(CMPath)

/// For QHash and QSet.
[[nodiscard]] TAVO_API_EXPORT uint qHash(const CMPath& path, uint seed = 0) noexcept;
/// Writes the encoded form.
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const CMPath& path);
/// Writes the encoded form as a QString.
TAVO_API_EXPORT QDataStream& operator<<(QDataStream& out, const CMPath& path);
/// Reads the encoded form. After an error of the stream the path is empty.
TAVO_API_EXPORT QDataStream& operator>>(QDataStream& in, CMPath& path);
