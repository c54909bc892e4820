#pragma once

#include <QByteArray>

/// As many bytes that nobody can guess, from 1 to 256, in hexadecimal digits.
[[nodiscard]] QByteArray randomHex(int bytes);
