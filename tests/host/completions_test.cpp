#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/terminal.h"
#include "support/words.h"

#include "printers.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

/// What somebody types before the tab key, and the command line that it completes to.
struct Completion
{
    const char* typed;
    const char* completed;
};

const std::vector<Completion> completions = {
    {"bro", "browse"},
    {"--he", "--help"},
    {"serve --lis", "serve --listen"},
    {"serve --log-le", "serve --log-level"},
    {"--root nowhere --log-level DEB", "--root nowhere --log-level DEBUG"},
    {"prepare pl", "prepare playlist"},
    {"queue repl", "queue replace"},
    {"completions fi", "completions fish"},
    {"--root fol", "--root folder/"},
    {"--root=fol", "--root=folder/"},
    {"--root=folder bro", "--root=folder browse"},
    {"--root disk=folder bro", "--root disk=folder browse"},
    {"serve --token-file fil", "serve --token-file file"}};

QByteArray script(const char* shell)
{
    return runTavo({QStringLiteral("completions"), QString::fromUtf8(shell)}).output;
}

class Completions : public testing::Test
{
protected:
    Completions()
    {
        tree.addDirectory(QStringLiteral("folder"));
        tree.addFile(QStringLiteral("file"));
    }

    ~Completions() override
    {
        if (shell.state() == QProcess::NotRunning)
            return;
        terminal.type("\nexit\n");
        EXPECT_TRUE(shell.waitForFinished());
    }
    Q_DISABLE_COPY_MOVE(Completions)

    /// Starts a shell at the terminal, and has it run the commands.
    void start(const QStringList& command, const QByteArray& commands)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TERM"), QStringLiteral("dumb"));
        shell.setProcessEnvironment(environment);
        shell.setWorkingDirectory(tree.root());
        shell.setStandardInputFile(terminal.fileName());
        shell.setStandardOutputFile(terminal.fileName());
        shell.setStandardErrorFile(terminal.fileName());
        shell.start(command.first(), command.mid(1));
        ASSERT_TRUE(shell.waitForStarted());
        // The function stands for the program: it says with what it is called.
        terminal.type(commands + "; tavo() { echo \"args:$*;\"; }; PS1=ready'> '\n");
        static_cast<void>(terminal.readUntil("ready> "));
    }

    [[nodiscard]] QByteArray completed(const QByteArray& typed) const
    {
        terminal.type("tavo " + typed + "\t\n");
        const QByteArray shown = terminal.readUntil(";\r");
        const int begin = shown.lastIndexOf("args:") + 5;
        return shown.mid(begin, shown.lastIndexOf(';') - begin);
    }

    void expectCompletions() const
    {
        for (const auto& [typed, expected] : completions)
            EXPECT_EQ(completed(typed), expected) << typed;
    }

    TemporaryTree tree;
    const PseudoTerminal terminal{200};
    QProcess shell;
};

TEST_F(Completions, WorkInBash)
{
    tree.addFile(QStringLiteral("tavo.bash"), script("bash"));
    start(words("bash --norc --noprofile -i"), "source ./tavo.bash");
    expectCompletions();
}

TEST_F(Completions, WorkInZsh)
{
    tree.addFile(QStringLiteral("functions/_tavo"), script("zsh"));
    start(
        words("zsh -f -i"),
        "fpath=($PWD/functions $fpath); autoload -Uz compinit; compinit -u -D; unsetopt auto_remove_slash");
    expectCompletions();
}

TEST_F(Completions, WorkInFish)
{
    tree.addFile(QStringLiteral("tavo.fish"), script("fish"));
    for (const auto& [typed, expected] : completions) {
        shell.setWorkingDirectory(tree.root());
        shell.start(
            QStringLiteral("fish"),
            {QStringLiteral("--no-config"), QStringLiteral("-c"),
             QStringLiteral("source tavo.fish; complete -C 'tavo %1'").arg(QLatin1String(typed))});
        ASSERT_TRUE(shell.waitForFinished());
        const QByteArray last = QByteArray(expected).split(' ').last();
        EXPECT_THAT(
            linesOf(shell.readAllStandardOutput()), testing::ElementsAre(testing::Truly([&](const QByteArray& line) {
                return line.split('\t').first() == last;
            })))
            << typed;
    }
}

TEST(CompletionScripts, KnowAllLogLevels)
{
    const QByteArray refusal = runTavo(words("--root / --log-level x browse")).errors.trimmed();
    const QByteArray levels = refusal.mid(refusal.indexOf("known are ") + 10).replace(",", "");
    EXPECT_THAT(script("bash").toStdString(), HasSubstr("compgen -W \"" + levels.toStdString() + '"'));
}

TEST(CompletionScripts, KnowAllEditsOfTheQueue)
{
    const QByteArray help = runTavo(words("queue --help")).output;
    const int begin = help.indexOf("EDIT is one of these:\n\n");
    QByteArrayList edits;
    for (const QByteArray& line : linesOf(help.mid(begin, help.indexOf("\n\nA PATH") - begin)).mid(2))
        edits.append(line.simplified().split(' ').first());
    EXPECT_THAT(edits, testing::SizeIs(testing::Gt(5)));
    EXPECT_THAT(script("bash").toStdString(), HasSubstr("words+=\" " + edits.join(' ').toStdString() + '"'));
}

TEST(CompletionScripts, AreForThreeShells)
{
    const Outcome outcome = runTavo(words("completions csh"));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("'csh' is none of bash, zsh and fish"));
}

} // namespace
