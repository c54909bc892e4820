#pragma once

#include <QStringList>

/// The words of a command line.
[[nodiscard]] inline QStringList words(const char* text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
