#include "model/cmpath.h"

#include "tavo/percentencoding_p.h"

#include <QHash>

#include <ostream>
#include <utility>

namespace {

const bool pathIsKnown = [] {
    qRegisterMetaType<CMPath>("CMPath");
    qRegisterMetaTypeStreamOperators<CMPath>("CMPath");
    QMetaType::registerComparators<CMPath>();
    QMetaType::registerConverter<CMPath, QString>(&CMPath::toEncoded);
    return true;
}();

QString normalised(const QString& base)
{
    int length = base.size();
    while (length > 1 && base.at(length - 1) == QLatin1Char('/'))
        --length;
    if (length == 1 && base.at(0) == QLatin1Char('.'))
        return {};
    return length == base.size() ? base : base.left(length);
}

} // namespace

CMPath::CMPath(QString prefix, const QString& base) : m_prefix(std::move(prefix)), m_base(normalised(base)) {}

CMPath CMPath::fromEncoded(const QString& encoded)
{
    if (!encoded.startsWith(QLatin1Char('/')))
        return {QString(), PercentEncoding::decode(encoded.toUtf8())};
    const int slash = encoded.indexOf(QLatin1Char('/'), 1);
    const QString prefix = slash < 0 ? encoded.mid(1) : encoded.mid(1, slash - 1);
    const QString base = slash < 0 ? QString() : encoded.mid(slash + 1);
    return {PercentEncoding::decode(prefix.toUtf8()), PercentEncoding::decode(base.toUtf8())};
}

QString CMPath::toEncoded() const
{
    if (m_prefix.isEmpty() && m_base.isEmpty())
        return QStringLiteral("/");
    PercentEncoding::Buffer buffer;
    buffer.append('/');
    PercentEncoding::appendSegment(buffer, m_prefix);
    buffer.append('/');
    PercentEncoding::appendPath(buffer, m_base);
    return QString::fromLatin1(buffer.constData(), buffer.size());
}

bool CMPath::startsWith(const CMPath& other, QString* rest) const
{
    // A null QString does not start with an empty one.
    const bool startsAlike = other.m_base.isEmpty() || m_base.startsWith(other.m_base);
    if (m_prefix != other.m_prefix || !startsAlike)
        return false;
    int length = other.m_base.size();
    const bool ended = length == 0 || length == m_base.size() || other.m_base.endsWith(QLatin1Char('/'));
    if (!ended && m_base.at(length++) != QLatin1Char('/'))
        return false;
    if (rest)
        *rest = m_base.mid(length);
    return true;
}

uint qHash(const CMPath& path, uint seed) noexcept
{
    return qHash(path.base(), qHash(path.prefix(), seed));
}

std::ostream& operator<<(std::ostream& out, const CMPath& path)
{
    return out << path.toEncoded().toStdString();
}

QDataStream& operator<<(QDataStream& out, const CMPath& path)
{
    return out << path.toEncoded();
}

QDataStream& operator>>(QDataStream& in, CMPath& path)
{
    QString encoded;
    in >> encoded;
    path = CMPath::fromEncoded(encoded);
    return in;
}
