#include "terminal/terminal.h"

#include <QByteArray>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int usualWidth = 80;

int widthOf(int fileDescriptor)
{
    winsize size{};
    if (ioctl(fileDescriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return usualWidth;
}

bool wantsColours()
{
    return qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

} // namespace

Terminal Terminal::at(int fileDescriptor)
{
    if (isatty(fileDescriptor) == 0)
        return {};
    return {true, widthOf(fileDescriptor), wantsColours()};
}
