#pragma once

#include <QByteArray>

/// Random bytes that nobody can guess, from 1 to 256 of them, in hexadecimal digits.
[[nodiscard]] QByteArray randomHex(int bytes);
