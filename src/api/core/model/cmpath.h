#pragma once

#include "tavo/tavoexport.h"

#include <QDataStream>
#include <QMetaType>
#include <QString>

#include <iosfwd>

/// The path of a row in the content tree: the prefix of the worker that serves it and the base, which is the path
/// inside that worker.
///
/// Bases are kept as they are, `..` and all, but for two spellings, so that one directory has one path: the base "."
/// is the empty base, and trailing slashes are dropped (never the one slash of the base "/").
/// A value; the default-constructed path has neither prefix nor base. Known to the meta-type system as "CMPath";
/// a QVariant that holds a path converts to QString (and so to JSON) as its encoded form.
class TAVO_API_EXPORT CMPath
{
public:
    CMPath() = default;
    CMPath(QString prefix, const QString& base);

    /// Reverses toEncoded() exactly. A text without a leading slash is a base without a prefix.
    [[nodiscard]] static CMPath fromEncoded(const QString& encoded);
    /// "/" + prefix + "/" + base, both percent-encoded, the base's slashes kept; pure ASCII.
    [[nodiscard]] QString toEncoded() const;

    [[nodiscard]] const QString& prefix() const { return m_prefix; }
    [[nodiscard]] const QString& base() const { return m_base; }

    /// Compares whole segments: "a/b" starts with "a", "ab" does not; every path of a worker starts with the worker's
    /// empty base. If so and `rest` is not null, it receives what follows, without the separating slash.
    [[nodiscard]] bool startsWith(const CMPath& other, QString* rest = nullptr) const;

    friend bool operator==(const CMPath& a, const CMPath& b)
    {
        return a.m_prefix == b.m_prefix && a.m_base == b.m_base;
    }
    friend bool operator!=(const CMPath& a, const CMPath& b) { return !(a == b); }
    /// By prefix, then by base, each by UTF-16 code unit.
    friend bool operator<(const CMPath& a, const CMPath& b)
    {
        return a.m_prefix != b.m_prefix ? a.m_prefix < b.m_prefix : a.m_base < b.m_base;
    }

private:
    QString m_prefix;
    QString m_base;
};

Q_DECLARE_METATYPE(CMPath)

[[nodiscard]] TAVO_API_EXPORT uint qHash(const CMPath& path, uint seed = 0) noexcept;
/// The encoded form.
TAVO_API_EXPORT std::ostream& operator<<(std::ostream& out, const CMPath& path);
TAVO_API_EXPORT QDataStream& operator<<(QDataStream& out, const CMPath& path);
TAVO_API_EXPORT QDataStream& operator>>(QDataStream& in, CMPath& path);
