#include "tavo.h"

#include "support/deadmount.h"
#include "support/inotifylimits.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <csignal>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Milliseconds; programs under an emulator are slow.
constexpr int patience = 60000;
constexpr int shortPatience = 2000;
/// As systemd numbers them.
constexpr int firstPassedDescriptor = 3;

/// Without the configuration of the person who runs the tests.
QProcessEnvironment testEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral(TAVO_TEST_DATA "/config"));
    return environment;
}

} // namespace

Tavo::~Tavo()
{
    if (state() == NotRunning)
        return;
    // A killed program reports neither its leaks nor its coverage.
    closeWriteChannel();
    terminate();
    if (!waitForFinished(shortPatience))
        kill();
    waitForFinished(patience);
    const int code = exitCode();
    const bool endedWell =
        exitStatus() == NormalExit ? code == 0 || code == 128 + SIGTERM : code == SIGTERM || code == SIGKILL;
    EXPECT_TRUE(endedWell) << code << ": " << readAllStandardError().toStdString();
}

void Tavo::setVariable(const QString& name, const QString& value)
{
    QProcessEnvironment environment = processEnvironment();
    if (environment.isEmpty())
        environment = testEnvironment();
    environment.insert(name, value);
    setProcessEnvironment(environment);
}

void Tavo::setWatchLimit(int limit)
{
    setInotifyLimit(InotifyLimits::watches, limit);
}

void Tavo::setInotifyInstanceLimit(int limit)
{
    setInotifyLimit(InotifyLimits::instances, limit);
}

void Tavo::setInotifyLimit(const char* variable, int limit)
{
    setVariable(QLatin1String(variable), QString::number(limit));
    preload(TAVO_INOTIFY_LIMITS);
}

void Tavo::setDeadMount(const QString& directory)
{
    setVariable(QLatin1String(DeadMount::directory), directory);
    preload(TAVO_DEAD_MOUNT);
}

void Tavo::preload(const char* file)
{
    // Unlike a full path, this may have spaces in it.
    setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral("$ORIGIN/") + QLatin1String(file));
    // The address sanitizer wants to be the first library otherwise.
    setVariable(
        QStringLiteral("ASAN_OPTIONS"),
        qEnvironmentVariable("ASAN_OPTIONS") + QStringLiteral(":verify_asan_link_order=0"));
}

void Tavo::setStandardOutputFile(const QString& name)
{
    QProcess::setStandardOutputFile(name);
    m_holdsOutput = false;
}

void Tavo::setStandardErrorFile(const QString& name)
{
    QProcess::setStandardErrorFile(name);
    m_holdsErrors = false;
}

void Tavo::start(const QStringList& arguments)
{
    if (processEnvironment().isEmpty())
        setProcessEnvironment(testEnvironment());
    if (m_passedSocket)
        startWithSocket(arguments);
    else
        QProcess::start(QStringLiteral(TAVO_PROGRAM), arguments);
    const bool started = waitForStarted(patience);
    Q_ASSERT(started);
}

void Tavo::write(const QByteArray& input)
{
    QProcess::write(input);
    while (bytesToWrite() > 0 && waitForBytesWritten(patience)) {
    }
}

bool Tavo::writesAll(const QByteArray& input)
{
    QProcess::write(input);
    while (bytesToWrite() > 0 && waitForBytesWritten(shortPatience)) {
    }
    return bytesToWrite() == 0;
}

void Tavo::closeInput()
{
    closeWriteChannel();
}

QByteArray Tavo::readLine()
{
    return readLine(StandardOutput);
}

QByteArray Tavo::readErrorLine()
{
    return readLine(StandardError);
}

bool Tavo::reports(const QByteArray& text)
{
    QByteArray line = readErrorLine();
    while (!line.isNull() && !line.contains(text))
        line = readErrorLine();
    return !line.isNull();
}

QByteArray Tavo::readLine(ProcessChannel channel)
{
    setReadChannel(channel);
    while (!canReadLine() && waitForReadyRead(patience)) {
    }
    if (!canReadLine())
        return {};
    QByteArray line = QProcess::readLine();
    line.chop(1);
    return line;
}

int Tavo::memory(const char* name) const
{
    QFile status(QStringLiteral("/proc/%1/status").arg(processId()));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QRegularExpression line(QStringLiteral("%1:\\s*(\\d+) kB").arg(QLatin1String(name)));
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toInt();
}

int Tavo::watches() const
{
    int count = 0;
    const QDir descriptors(QStringLiteral("/proc/%1/fdinfo").arg(processId()));
    for (const QString& name : descriptors.entryList(QDir::Files)) {
        QFile file(descriptors.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            count += file.readAll().count("inotify wd:");
    }
    return count;
}

void Tavo::stop()
{
    signal(SIGSTOP);
    siginfo_t state = {};
    // Leaves the exit status for QProcess to collect.
    const int waited = waitid(P_PID, static_cast<id_t>(processId()), &state, WSTOPPED | WEXITED | WNOWAIT);
    Q_ASSERT(waited == 0 && state.si_code == CLD_STOPPED);
}

void Tavo::signal(int signalNumber)
{
    ::kill(static_cast<pid_t>(QProcess::processId()), signalNumber);
}

Tavo::WithoutDescriptors::WithoutDescriptors(const Tavo& program) : m_process(static_cast<pid_t>(program.processId()))
{
    const QString descriptors = QStringLiteral("/proc/%1/fd/").arg(m_process);
    rlim_t unused = 0;
    while (QFileInfo(descriptors + QString::number(unused)).isSymLink())
        ++unused;
    prlimit(m_process, RLIMIT_NOFILE, nullptr, &m_usual);
    const rlimit scarce = {unused, m_usual.rlim_max};
    const int limited = prlimit(m_process, RLIMIT_NOFILE, &scarce, nullptr);
    Q_ASSERT(limited == 0);
}

Tavo::WithoutDescriptors::~WithoutDescriptors()
{
    prlimit(m_process, RLIMIT_NOFILE, &m_usual, nullptr);
}

Tavo::WithoutDiskSpace::WithoutDiskSpace(const Tavo& program) : m_process(static_cast<pid_t>(program.processId()))
{
    prlimit(m_process, RLIMIT_FSIZE, nullptr, &m_usual);
    const rlimit none = {0, m_usual.rlim_max};
    const int limited = prlimit(m_process, RLIMIT_FSIZE, &none, nullptr);
    Q_ASSERT(limited == 0);
}

Tavo::WithoutDiskSpace::~WithoutDiskSpace()
{
    prlimit(m_process, RLIMIT_FSIZE, &m_usual, nullptr);
}

Outcome Tavo::finish()
{
    closeWriteChannel();
    return waitForEnd();
}

Outcome Tavo::waitForEnd()
{
    if (!waitForFinished(patience))
        kill();
    waitForFinished(patience);
    const int status = exitStatus() == NormalExit ? exitCode() : -exitCode();
    return {
        status, m_holdsOutput ? readAllStandardOutput() : QByteArray(),
        m_holdsErrors ? readAllStandardError() : QByteArray()};
}

void Tavo::setupChildProcess()
{
    // See WithoutDiskSpace: to write fails then, as on a full disk.
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    if (m_descriptorLimits) {
        const rlimit limits = {
            static_cast<rlim_t>(m_descriptorLimits->first), static_cast<rlim_t>(m_descriptorLimits->second)};
        setrlimit(RLIMIT_NOFILE, &limits);
    }
    if (m_closedDescriptor)
        ::close(*m_closedDescriptor);
    if (m_passedSocket)
        dup2(*m_passedSocket, firstPassedDescriptor);
    if (m_rights == Rights::Usual)
        return;
    // A program started by root gets all capabilities of the bounding set.
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}

void Tavo::startWithSocket(const QStringList& arguments)
{
    // Only the process itself knows its id.
    const QString script = QStringLiteral(R"(LISTEN_FDS=1 LISTEN_PID=$$ exec "$0" "$@")");
    QProcess::start(
        QStringLiteral("/bin/sh"), QStringList{QStringLiteral("-c"), script, QStringLiteral(TAVO_PROGRAM)} + arguments);
}

Outcome runTavo(const QStringList& arguments, const QByteArray& input)
{
    Tavo tavo(arguments);
    tavo.write(input);
    return tavo.finish();
}

QList<QByteArray> linesOf(const QByteArray& text)
{
    QList<QByteArray> lines = text.split('\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}
