#include "process/output.h"

#include "process/displaytext.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

int claimStandardOutput()
{
    const int results = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return results;
}

Result<Written> writeOutput(int fileDescriptor, const QByteArray& text)
{
    const char* rest = text.constData();
    for (auto size = static_cast<size_t>(text.size()); size > 0;) {
        const ssize_t written = write(fileDescriptor, rest, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EPIPE)
            return Written::ReaderGone;
        if (written < 0)
            return Failure{Failure::Kind::Refused, QStringLiteral("cannot write: %1").arg(qt_error_string(errno))};
        rest += written;
        size -= static_cast<size_t>(written);
    }
    return Written::All;
}

void report(const QString& message)
{
    const QByteArray line = "tavo: " + DisplayText::visible(message).toUtf8() + '\n';
    static_cast<void>(writeOutput(STDERR_FILENO, line));
}
