#pragma once

#include <QString>

/// Defines `const QString& accessor()`, which returns `text`. The string is made once and lives until the process ends.
#define TAVO_KEY(accessor, text)                                                                                       \
    const QString& accessor()                                                                                          \
    {                                                                                                                  \
        static const QString key = QStringLiteral(text);                                                               \
        return key;                                                                                                    \
    }
