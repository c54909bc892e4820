#pragma once

#include "tavo/tavoexport.h"

#include <QByteArray>
#include <QChar>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <utility>

/// The key of a text in a translation catalogue, as QCoreApplication::translate() takes it. All texts are UTF-8.
struct TAVO_API_EXPORT TrCharData
{
    /// Usually the class that the text belongs to.
    QByteArray context;
    /// The untranslated text; it is shown where the catalogue has no translation.
    QByteArray sourceText;
    /// Tells equal source texts of one context apart; null if there is only one.
    QByteArray comment = {};
    /// The number that selects the plural form; -1 if the text has none.
    int n = -1;

    /// Compares all four.
    friend bool operator==(const TrCharData& a, const TrCharData& b)
    {
        return a.context == b.context && a.sourceText == b.sourceText && a.comment == b.comment && a.n == b.n;
    }
};

/// An argument of a translatable text, inserted as by QString::arg().
struct TAVO_API_EXPORT TrArg
{
    /// Without a width the argument is inserted as it is.
    TrArg(QString argument, int width = 0, QChar fillCharacter = QLatin1Char(' '))
        : value(std::move(argument)), fieldWidth(width), fill(fillCharacter)
    {
    }

    /// The text to insert; it is not translated.
    QString value;
    /// Smallest width in characters: fills on the left if positive, on the right if negative.
    int fieldWidth;
    /// Repeated up to the width.
    QChar fill;

    /// Compares all three.
    friend bool operator==(const TrArg& a, const TrArg& b)
    {
        return a.value == b.value && a.fieldWidth == b.fieldWidth && a.fill == b.fill;
    }
};

/// A text that is translated when it is read, so that one value serves clients of every language.
///
/// A value. A QVariant that holds it compares by its parts, and converts to QString (and so to JSON) by toString().
class TAVO_API_EXPORT TrString
{
public:
    /// An empty text.
    TrString() = default;
    /// A text with the place marker %1.
    TrString(const TrCharData& text, const TrArg& argument) : TrString(text, QList<TrArg>{argument}) {}
    /// A text with any number of place markers: the first argument replaces %1.
    TrString(const TrCharData& text, const QList<TrArg>& arguments) : m_text(text), m_arguments(arguments) {}
    /// A text that is the same in every language, such as a name.
    TrString(const QString& text) : m_text{{}, text.toUtf8()} {}

    /// Whether there is no text; arguments do not count.
    [[nodiscard]] bool isEmpty() const { return m_text.sourceText.isEmpty(); }
    /// The untranslated text. The reference is valid while this object is.
    [[nodiscard]] const TrCharData& charData() const { return m_text; }
    /// In the order of their numbers. The reference is valid while this object is.
    [[nodiscard]] const QList<TrArg>& arguments() const { return m_arguments; }

    /// The text in the thread's language (TrLanguage::current()), with %1 to %99 replaced by the arguments.
    ///
    /// A place marker inside an argument is not replaced, nor is one that has no argument. Thread-safe.
    [[nodiscard]] QString toString() const;

    /// A QVariant that holds this TrString.
    operator QVariant() const { return QVariant::fromValue(*this); }

    /// Compares the untranslated texts and the arguments.
    friend bool operator==(const TrString& a, const TrString& b)
    {
        return a.m_text == b.m_text && a.m_arguments == b.m_arguments;
    }

private:
    TrCharData m_text;
    QList<TrArg> m_arguments;
};

Q_DECLARE_METATYPE(TrString)

/// The translation context of a function: its class, or the empty text if it has none. Thread-safe.
///
/// `signature` is the function's full signature, with the class qualified and parameters in parentheses.
[[nodiscard]] TAVO_API_EXPORT QByteArray trExtractContext(const char* signature);
