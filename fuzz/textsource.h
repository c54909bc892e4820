#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Splits the fuzzer's bytes into texts of arbitrary UTF-16 units: an ASCII byte is a unit, the byte 0xFF starts a unit
/// of two bytes, and the byte 0xFE ends a text.
class TextSource
{
public:
    TextSource(const uint8_t* data, size_t size) : m_data(data), m_end(data + size) {}

    [[nodiscard]] bool isEmpty() const { return m_data == m_end; }

    [[nodiscard]] QString next()
    {
        QString text;
        while (m_data != m_end) {
            const uint8_t byte = *m_data++;
            if (byte == 0xFE)
                break;
            text.append(QChar(byte == 0xFF ? wideUnit() : byte));
        }
        return text;
    }

    [[nodiscard]] QStringList rest()
    {
        QStringList texts;
        while (!isEmpty())
            texts.append(next());
        return texts;
    }

private:
    ushort wideUnit()
    {
        ushort unit = 0;
        if (m_end - m_data < 2)
            return unit;
        std::memcpy(&unit, m_data, sizeof(unit));
        m_data += sizeof(unit);
        return unit;
    }

    const uint8_t* m_data;
    const uint8_t* m_end;
};
