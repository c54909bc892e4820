#include "itemrequest_p.h"

#include "tavo/tavovalue.h"

#include <numeric>

namespace {

/// Of a number, true, false or null.
constexpr qint64 plainSize = 8;
/// Quotes, colon and comma around a key, or around a text.
constexpr qint64 punctuation = 4;

/// In UTF-8, where a surrogate is half of a character of 4 bytes.
int sizeOfUnit(QChar unit)
{
    constexpr int escaped = 6;
    if (unit < QLatin1Char(' '))
        return escaped;
    if (unit.unicode() < 0x80)
        return 1;
    return unit.unicode() < 0x800 || unit.isSurrogate() ? 2 : 3;
}

qint64 sizeOfText(const QString& text)
{
    return std::accumulate(
        text.begin(), text.end(), punctuation, [](qint64 size, QChar unit) { return size + sizeOfUnit(unit); });
}

qint64 sizeOfBase64(const QByteArray& bytes)
{
    return (static_cast<qint64>(bytes.size()) + 2) / 3 * 4;
}

qint64 sizeOfList(const QVariantList& list)
{
    return std::accumulate(list.begin(), list.end(), punctuation, [](qint64 size, const QVariant& value) {
        return size + sizeInAnswer(value);
    });
}

qint64 sizeOfHash(const QVariantHash& hash)
{
    qint64 size = punctuation;
    for (auto field = hash.begin(); field != hash.end(); ++field)
        size += sizeOfText(field.key()) + sizeInAnswer(field.value());
    return size;
}

} // namespace

qint64 sizeInAnswer(const QVariant& value)
{
    const int type = value.userType();
    if (type == QMetaType::QVariantHash || type == QMetaType::QVariantMap)
        return sizeOfHash(value.toHash());
    if (type == QMetaType::QVariantList || type == QMetaType::QStringList)
        return sizeOfList(value.toList());
    if (type == qMetaTypeId<TavoBytes>())
        return sizeOfBase64(value.value<TavoBytes>().bytes);
    // The SDK's own types, such as paths, are texts in JSON.
    const bool isText = type == QMetaType::QString || type == QMetaType::QByteArray || type >= QMetaType::User;
    return isText ? sizeOfText(value.toString()) : plainSize;
}
