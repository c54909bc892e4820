#include "http/randomhex.h"

#include <cerrno>

#include <sys/random.h>

QByteArray randomHex(int bytes)
{
    QByteArray random(bytes, '\0');
    ssize_t count = -1;
    do {
        count = getrandom(random.data(), static_cast<std::size_t>(bytes), 0);
    } while (count < 0 && errno == EINTR);
    // The kernel returns up to 256 bytes at once, or none.
    Q_ASSERT(count == bytes);
    return random.toHex();
}
