#pragma once

#include "tavo/tavoexport.h"

#include <QMetaType>
#include <QVariant>

/// One value of the content model: a thin, implicitly shared view of a QVariant.
///
/// A typed value is a hash that names its type and holds the value under that name:
/// `{"type": "i32_", "i32_": 300}`. Reading a type that the value does not hold gives 0.
class TAVO_API_EXPORT TavoValue
{
public:
    TavoValue() = default;
    explicit TavoValue(QVariant value) : m_value(std::move(value)) {}

    [[nodiscard]] static TavoValue fromI32(qint32 value);

    [[nodiscard]] qint32 i32_() const;

    [[nodiscard]] const QVariant& __variant() const { return m_value; }

protected:
    QVariant m_value;
};

/// A record of the content model: a view of a QVariantHash with named fields.
/// The records derived from it add typed setters and getters, no state.
class TAVO_API_EXPORT TavoHash : public TavoValue
{
public:
    TavoHash() : TavoHash(QVariantHash()) {}
    explicit TavoHash(const QVariantHash& fields) : TavoValue(QVariant(fields)) {}

    [[nodiscard]] QVariantHash fields() const { return m_value.toHash(); }
    /// The field's value; invalid if the record has no such field.
    [[nodiscard]] QVariant field(const QString& name) const;
    void setField(const QString& name, const QVariant& value);
};

/// A list of records of one kind.
template<typename Record>
class TavoList
{
public:
    void append(const Record& record) { m_list.append(record.__variant()); }
    [[nodiscard]] int size() const { return m_list.size(); }
    [[nodiscard]] Record at(int index) const { return Record(m_list.at(index).toHash()); }
    [[nodiscard]] QVariant __variant() const { return m_list; }

private:
    QVariantList m_list;
};

/// Bytes inside a value, such as a picture. Compares by them, converts to QByteArray as they are, and to QString (and
/// so to JSON) as base64.
struct TAVO_API_EXPORT TavoBytes
{
    QByteArray bytes;

    friend bool operator==(const TavoBytes& a, const TavoBytes& b) { return a.bytes == b.bytes; }
};

Q_DECLARE_METATYPE(TavoBytes)
