#include "process/output.h"

#include "language/translatable.h"
#include "process/displaytext.h"

#include <cerrno>

#include <unistd.h>

int writeAll(int fileDescriptor, const QByteArray& text)
{
    for (int done = 0; done < text.size();) {
        const ssize_t written = write(fileDescriptor, text.constData() + done, static_cast<size_t>(text.size() - done));
        if (written >= 0)
            done += static_cast<int>(written);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

Result<Written> writeOutput(int fileDescriptor, const QByteArray& text)
{
    const int error = writeAll(fileDescriptor, text);
    if (error == 0)
        return Written::All;
    if (error == EPIPE)
        return Written::ReaderGone;
    return Failure{
        Failure::Kind::Refused, translatable(QT_TRANSLATE_NOOP("Host", "cannot write: %1"), {qt_error_string(error)})};
}

void report(const QString& message)
{
    static_cast<void>(writeAll(STDERR_FILENO, "tavo: " + DisplayText::visible(message).toUtf8() + '\n'));
}
