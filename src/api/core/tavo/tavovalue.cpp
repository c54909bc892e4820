#include "tavo/tavovalue.h"

#include "tavo/keyaccessor_p.h"

namespace {

TAVO_KEY(typeKey, "type")
TAVO_KEY(i32Key, "i32_")

const bool bytesConvert = [] {
    QMetaType::registerConverter<TavoBytes, QByteArray>([](const TavoBytes& value) { return value.bytes; });
    QMetaType::registerConverter<TavoBytes, QString>(
        [](const TavoBytes& value) { return QString::fromLatin1(value.bytes.toBase64()); });
    QMetaType::registerEqualsComparator<TavoBytes>();
    return true;
}();

} // namespace

TavoValue TavoValue::fromI32(qint32 value)
{
    return TavoValue(QVariantHash{{typeKey(), i32Key()}, {i32Key(), value}});
}

qint32 TavoValue::i32_() const
{
    return m_value.toHash().value(i32Key()).toInt();
}

QVariant TavoHash::field(const QString& name) const
{
    return m_value.toHash().value(name);
}

void TavoHash::setField(const QString& name, const QVariant& value)
{
    static_cast<QVariantHash*>(m_value.data())->insert(name, value);
}
