#pragma once

#include "tavo/tavoexport.h"

#include <QByteArray>
#include <QChar>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>

/// A source text as a translation catalogue knows it.
struct TAVO_API_EXPORT TrCharData
{
    QByteArray context;
    QByteArray sourceText;
    /// Disambiguates equal source texts; null: none.
    QByteArray comment = {};
    /// Selects the plural form; -1: the text has none.
    int n = -1;

    friend bool operator==(const TrCharData& a, const TrCharData& b)
    {
        return a.context == b.context && a.sourceText == b.sourceText && a.comment == b.comment && a.n == b.n;
    }
};

/// One argument of a translatable text, substituted as QString::arg() does.
struct TAVO_API_EXPORT TrArg
{
    TrArg(QString argument, int width = 0, QChar fillCharacter = QLatin1Char(' '))
        : value(std::move(argument)), fieldWidth(width), fill(fillCharacter)
    {
    }

    QString value;
    /// Characters to pad to: on the left if positive, on the right if negative.
    int fieldWidth;
    QChar fill;

    friend bool operator==(const TrArg& a, const TrArg& b)
    {
        return a.value == b.value && a.fieldWidth == b.fieldWidth && a.fill == b.fill;
    }
};

/// A text that is translated when it is read, not when it is made, so that one value serves clients of every language.
///
/// As a QVariant it keeps its parts, by which it compares; converted to QString (and so to JSON) it gives its text.
class TAVO_API_EXPORT TrString
{
public:
    TrString() = default;
    TrString(const TrCharData& text, const TrArg& argument) : TrString(text, QList<TrArg>{argument}) {}
    TrString(const TrCharData& text, const QList<TrArg>& arguments) : m_text(text), m_arguments(arguments) {}

    [[nodiscard]] const TrCharData& charData() const { return m_text; }
    [[nodiscard]] const QList<TrArg>& arguments() const { return m_arguments; }

    /// The text in the application's language, %1 to %99 replaced in one pass: an argument that itself holds a "%2"
    /// stays as it is. A place without an argument stays too.
    [[nodiscard]] QString toString() const;

    operator QVariant() const { return QVariant::fromValue(*this); }

    friend bool operator==(const TrString& a, const TrString& b)
    {
        return a.m_text == b.m_text && a.m_arguments == b.m_arguments;
    }

private:
    TrCharData m_text;
    QList<TrArg> m_arguments;
};

Q_DECLARE_METATYPE(TrString)

/// The translation context of a function, given its full signature: its class, or the empty text outside a class.
[[nodiscard]] TAVO_API_EXPORT QByteArray trExtractContext(const char* signature);
