#include "tavo/tavovalue.h"

namespace {

const QString& typeKey()
{
    static const QString key = QStringLiteral("type");
    return key;
}

const QString& i32Key()
{
    static const QString key = QStringLiteral("i32_");
    return key;
}

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
