#pragma once

#include "tavo/tavoexport.h"

#include <QMetaType>
#include <QVariant>

#include <utility>

/// A value of the content model: a thin, implicitly shared view of a QVariant. Each thread needs its own copy.
///
/// A typed value is a hash that names its type and holds the value under that name:
/// `{"type": "i32_", "i32_": 300}`.
class TAVO_API_EXPORT TavoValue
{
public:
    /// An invalid value.
    TavoValue() = default;
    /// A view of `value`, which may be of any type.
    explicit TavoValue(QVariant value) : m_value(std::move(value)) {}

    /// A typed value of type i32.
    [[nodiscard]] static TavoValue fromI32(qint32 value);

    /// The number in a typed value of type i32; 0 for any other value.
    [[nodiscard]] qint32 i32_() const;

    /// The value as requests and replies carry it. The reference is valid while this object is.
    [[nodiscard]] const QVariant& __variant() const { return m_value; }

protected:
    /// A TavoHash holds a QVariantHash here, any other value whatever it was made from.
    QVariant m_value;
};

/// A record of the content model: a view of a QVariantHash with named fields.
///
/// Classes derived from it add setters and getters for their fields, no data members.
class TAVO_API_EXPORT TavoHash : public TavoValue
{
public:
    /// A record without fields.
    TavoHash() : TavoHash(QVariantHash()) {}
    /// A record with these fields.
    explicit TavoHash(const QVariantHash& fields) : TavoValue(QVariant(fields)) {}

    /// All fields by name.
    [[nodiscard]] QVariantHash fields() const { return m_value.toHash(); }
    /// Invalid if the record has no such field.
    [[nodiscard]] QVariant field(const QString& name) const;
    /// Adds the field or replaces its value.
    void setField(const QString& name, const QVariant& value);
};

/// A list of records of one class, which is derived from TavoHash.
template<typename Record>
class TavoList
{
public:
    /// Adds a copy of the record at the end.
    void append(const Record& record) { m_list.append(record.__variant()); }
    /// Number of records.
    [[nodiscard]] int size() const { return m_list.size(); }
    /// A copy of the record; `index` runs from 0 to size() - 1.
    [[nodiscard]] Record at(int index) const { return Record(m_list.at(index).toHash()); }
    /// The QVariantList of the records' hashes.
    [[nodiscard]] QVariant __variant() const { return m_list; }

private:
    QVariantList m_list;
};

/// Binary data inside a value, such as a picture.
///
/// A QVariant that holds it converts to QByteArray unchanged, and to QString (and so to JSON) as base64.
struct TAVO_API_EXPORT TavoBytes
{
    /// The data itself.
    QByteArray bytes;

    /// Compares the data.
    friend bool operator==(const TavoBytes& a, const TavoBytes& b) { return a.bytes == b.bytes; }
};

Q_DECLARE_METATYPE(TavoBytes)
