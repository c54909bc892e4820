#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QStringList>

#include <optional>
#include <utility>

#include <sys/resource.h>

/// How a program ended.
struct Outcome
{
    /// Below 0: minus the signal that ended it.
    int status = 0;
    QByteArray output;
    QByteArray errors;
};

/// The running program. Every wait has a limit, after which the program is killed.
class Tavo : private QProcess
{
public:
    enum class Rights {
        Usual,
        /// File permissions bind the program even if root runs the tests.
        NoOverride
    };

    Tavo() = default;
    explicit Tavo(const QStringList& arguments) { start(arguments); }
    ~Tavo() override;
    Q_DISABLE_COPY_MOVE(Tavo)

    /// Before start().
    void setRights(Rights rights) { m_rights = rights; }
    /// The program may have no more inotify watches than this at a time. Before start().
    void setWatchLimit(int limit);
    /// The program may have no more inotify instances than this at a time. Before start().
    void setInotifyInstanceLimit(int limit);
    /// The directory can become a dead mount of the program's, see DeadMount. Before start().
    void setDeadMount(const QString& directory);
    /// The program may have no more descriptors, unless it raises `soft` to `hard`. Before start().
    void setDescriptorLimits(int soft, int hard) { m_descriptorLimits = {soft, hard}; }
    /// The program starts with this one of its standard descriptors closed. Before start().
    void setClosedDescriptor(int fileDescriptor) { m_closedDescriptor = fileDescriptor; }
    /// The program is passed this socket as a service manager would do it. Before start().
    void setPassedSocket(int fileDescriptor) { m_passedSocket = fileDescriptor; }
    void setVariable(const QString& name, const QString& value);
    /// The outcome does not contain what the program writes to a file.
    void setStandardOutputFile(const QString& name);
    void setStandardErrorFile(const QString& name);
    void start(const QStringList& arguments);

    /// Waits until all is written.
    void write(const QByteArray& input);
    /// False if the program takes no more for a while; the rest is written while other things are waited for.
    [[nodiscard]] bool writesAll(const QByteArray& input);
    void closeInput();
    /// The next line, without its newline; null at the end.
    [[nodiscard]] QByteArray readLine();
    /// The next line, without its newline; null at the end.
    [[nodiscard]] QByteArray readErrorLine();
    /// Waits for a line on standard error that holds the text; false if none comes.
    [[nodiscard]] bool reports(const QByteArray& text);
    [[nodiscard]] qint64 processId() const { return QProcess::processId(); }
    /// In kB, by its name in /proc: "VmRSS" for now, "VmHWM" for the most so far; 0 if the kernel does not report it.
    [[nodiscard]] int memory(const char* name) const;

    /// The inotify watches that the program has now.
    [[nodiscard]] int watches() const;

    void signal(int signalNumber);
    /// Returns when every thread has stopped. SIGCONT makes them run again.
    void stop();
    /// The running program cannot open anything while the object lives.
    class WithoutDescriptors
    {
    public:
        explicit WithoutDescriptors(const Tavo& program);
        ~WithoutDescriptors();
        Q_DISABLE_COPY_MOVE(WithoutDescriptors)

    private:
        pid_t m_process;
        rlimit m_usual = {};
    };
    /// No file of the running program grows while the object lives, as on a full disk.
    class WithoutDiskSpace
    {
    public:
        explicit WithoutDiskSpace(const Tavo& program);
        ~WithoutDiskSpace();
        Q_DISABLE_COPY_MOVE(WithoutDiskSpace)

    private:
        pid_t m_process;
        rlimit m_usual = {};
    };
    [[nodiscard]] Outcome waitForEnd();
    /// Closes the input first.
    [[nodiscard]] Outcome finish();

protected:
    void setupChildProcess() override;

private:
    void startWithSocket(const QStringList& arguments);
    [[nodiscard]] QByteArray readLine(ProcessChannel channel);
    void setInotifyLimit(const char* variable, int limit);
    /// `file` is in the program's folder.
    void preload(const char* file);

    Rights m_rights = Rights::Usual;
    std::optional<std::pair<int, int>> m_descriptorLimits;
    std::optional<int> m_closedDescriptor;
    std::optional<int> m_passedSocket;
    bool m_holdsOutput = true;
    bool m_holdsErrors = true;
};

[[nodiscard]] Outcome runTavo(const QStringList& arguments, const QByteArray& input = {});

/// The lines of a text that ends in a newline.
[[nodiscard]] QList<QByteArray> linesOf(const QByteArray& text);
