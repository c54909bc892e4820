#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <variant>

/// Arrays and objects may contain each other to this depth.
constexpr int deepestJson = 100;
/// One text may have this many values, arrays and objects included: a value takes up to a hundred times the memory of
/// its text.
constexpr int mostJsonValues = 100'000;

/// Why a text was refused. The parser stops at the first problem.
struct JsonProblem
{
    enum class Kind {
        /// The text is not JSON in UTF-8.
        Syntax,
        /// The text is nested too deep or has too many values.
        Size,
        /// An object has two fields of one name. Readers disagree about which one counts.
        RepeatedName
    };

    Kind kind;
    /// For people. A syntax error says at which byte, counted from 0.
    QString message;
};

/// Parses one JSON value (RFC 8259), in time proportional to its length. Any thread.
///
/// An object becomes a QVariantMap, an array a QVariantList, a string a QString (unpaired surrogates are kept), null a
/// `std::nullptr_t`. A whole number of 64 bits becomes a `qlonglong`, any other a `double`; one that is out of range
/// becomes the largest double of its sign. The value is never an invalid QVariant.
[[nodiscard]] std::variant<QVariant, JsonProblem> parseJson(const QByteArray& text);
