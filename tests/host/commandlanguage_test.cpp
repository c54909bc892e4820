// What the commands show people, in the language of the environment.

#include "cli/commands/command.h"
#include "language/translatable.h"

#include "support/scriptedserver.h"
#include "support/tavo.h"
#include "support/temporarytree.h"
#include "support/words.h"

#include "printers.h"

#include <i18n/trlanguage.h>

#include <QFile>
#include <QTranslator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// The machine need not have a locale of this name.
const char* const german = "de_DE.UTF-8";
const char* const english = "C.UTF-8";

using Variables = QList<std::pair<const char*, const char*>>;

Outcome runWith(const Variables& variables, const QStringList& arguments)
{
    Tavo tavo;
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG", "LANGUAGE"})
        tavo.setVariable(QLatin1String(name), {});
    for (const auto& [name, value] : variables)
        tavo.setVariable(QLatin1String(name), QLatin1String(value));
    tavo.start(arguments);
    return tavo.finish();
}

Outcome runIn(const char* locale, const QStringList& arguments)
{
    return runWith({{"LC_MESSAGES", locale}}, arguments);
}

std::string helpWith(const Variables& variables)
{
    return runWith(variables, words("--help")).output.toStdString();
}

constexpr char englishHelp[] = "Usage: tavo [options] COMMAND";
constexpr char germanHelp[] = "Aufruf: tavo [Optionen] BEFEHL";

/// The help wraps texts.
QString withoutSpace(QString text)
{
    return text.remove(u' ').remove(u'\n');
}

QString helpOf(const Command& command, const char* locale)
{
    const Outcome outcome = runIn(locale, {QString::fromLatin1(command.name), QStringLiteral("--help")});
    EXPECT_EQ(outcome.status, 0) << command.name;
    return withoutSpace(QString::fromUtf8(outcome.output));
}

class Catalogue
{
public:
    Catalogue() { EXPECT_TRUE(m_translator.load(QStringLiteral(TAVO_TRANSLATIONS "/tavo_de.qm"))); }

    [[nodiscard]] bool has(const QByteArray& text) const
    {
        return !m_translator.translate("Host", text.constData()).isEmpty();
    }

private:
    QTranslator m_translator;
};

/// All that the help shows of the options, untranslated.
QList<QByteArray> textsOf(const OptionList& options)
{
    QList<QByteArray> texts;
    for (const Option& option : options)
        texts << option.description.charData().sourceText << option.valueName;
    return texts;
}

TEST(CommandTexts, HaveATranslation)
{
    QList<QByteArray> texts = textsOf(programOptions());
    for (const Command& command : allCommands())
        texts << textsOf(optionsOf(command)) << command.arguments << command.summary << command.manual;
    texts.removeAll({});
    const Catalogue catalogue;
    for (const QByteArray& text : qAsConst(texts))
        EXPECT_TRUE(catalogue.has(text)) << text.toStdString();
}

/// Expects all texts of the command, in the thread's language.
void expectHelp(const QString& help, const Command& command)
{
    QStringList texts = {translated(command.summary), translated(command.manual)};
    for (const Option& option : optionsOf(command))
        texts << option.description.toString() << translated(option.valueName);
    for (const QString& text : qAsConst(texts))
        EXPECT_TRUE(help.contains(withoutSpace(text))) << text.toStdString() << "\n" << help.toStdString();
}

TEST(CommandTexts, HelpOfEveryCommandIsInTheEnvironmentsLanguage)
{
    TrLanguage::setCatalogues(QStringLiteral(TAVO_TRANSLATIONS));
    for (const Command& command : allCommands()) {
        expectHelp(helpOf(command, english), command);
        const QString help = helpOf(command, german);
        const TrLanguage::Scope scope(TrLanguage::find(QStringLiteral("de")));
        expectHelp(help, command);
        for (const char* const leftover : {"Usage:", "[options]", "Options:", "Arguments:"})
            EXPECT_FALSE(help.contains(QLatin1String(leftover))) << command.name << ": " << leftover;
    }
}

TEST(CommandTexts, LanguageIsThatOfTheLocaleForMessages)
{
    EXPECT_THAT(helpWith({}), StartsWith(englishHelp));
    for (const char* const locale : {"de", "de_DE", "de_AT.UTF-8", "de_DE.ISO-8859-1@euro"})
        EXPECT_THAT(helpWith({{"LC_MESSAGES", locale}}), StartsWith(germanHelp)) << locale;
    for (const char* const locale :
         {"C", "POSIX", "C.UTF-8", "en_GB.UTF-8", "fr_FR.UTF-8", "nonsense", "/", "de/../en"})
        EXPECT_THAT(helpWith({{"LC_MESSAGES", locale}}), StartsWith(englishHelp)) << locale;
}

TEST(CommandTexts, VariablesWinInTheirUsualOrder)
{
    EXPECT_THAT(helpWith({{"LANG", german}}), StartsWith(germanHelp));
    EXPECT_THAT(helpWith({{"LANG", german}, {"LC_MESSAGES", english}}), StartsWith(englishHelp));
    EXPECT_THAT(helpWith({{"LC_MESSAGES", english}, {"LC_ALL", german}}), StartsWith(germanHelp));
    EXPECT_THAT(helpWith({{"LANG", "en_GB.UTF-8"}, {"LANGUAGE", "fr:de:en"}}), StartsWith(germanHelp));
    EXPECT_THAT(helpWith({{"LANG", german}, {"LANGUAGE", "en:de"}}), StartsWith(englishHelp));
    EXPECT_THAT(helpWith({{"LANG", english}, {"LANGUAGE", "de"}}), StartsWith(englishHelp));
}

TEST(CommandTexts, FirstStepsAndWrongUseAreTranslated)
{
    const Outcome first = runIn(german, {});
    EXPECT_THAT(linesOf(first.errors), testing::SizeIs(5));
    EXPECT_THAT(first.errors.toStdString(), HasSubstr("Die ersten Schritte"));
    EXPECT_EQ(runIn(german, words("bro")).errors, "tavo: Unbekannter Befehl „bro“ (siehe „tavo --help“)\n");
    EXPECT_EQ(
        runIn(german, words("browse --foo")).errors, "tavo: Unbekannte Option „foo“. (siehe „tavo browse --help“)\n");
    EXPECT_EQ(runIn(german, words("--root / info")).errors, "tavo: „info“ erwartet: PFAD (siehe „tavo info --help“)\n");
}

/// A root with a file and a link that leads out.
class GermanCommands : public testing::Test
{
protected:
    GermanCommands()
    {
        tree.addFile(QStringLiteral("Björk/song.mp3"));
        QFile::link(QStringLiteral("/"), tree.absolute(QStringLiteral("out")));
    }

    /// "ROOT" stands for the root, and "STATE" for the state directory.
    [[nodiscard]] QStringList arguments(const char* text) const
    {
        QStringList all;
        for (QString word : words(text))
            all.append(
                word.replace(QStringLiteral("ROOT"), tree.root()).replace(QStringLiteral("STATE"), state.root()));
        return all;
    }

    [[nodiscard]] std::string output(const char* text) const
    {
        return runIn(german, arguments(text)).output.toStdString();
    }

    TemporaryTree tree;
    TemporaryTree state;
};

TEST_F(GermanCommands, TablesHaveGermanHeadings)
{
    EXPECT_THAT(output("--root ROOT browse"), StartsWith("ART        GEÄNDERT             TITEL\n"));
    EXPECT_THAT(output("--root ROOT info Björk/song.mp3"), HasSubstr("WERT\n"));
}

TEST_F(GermanCommands, ConfigNamesOriginsAndProblems)
{
    EXPECT_THAT(
        output("--root ROOT config --state STATE"),
        AllOf(
            StartsWith("EINSTELLUNG "), HasSubstr("Vorgabe\n"), HasSubstr("nicht gesetzt"), Not(HasSubstr("default"))));
    EXPECT_EQ(
        runIn(german, arguments("--root ROOT config --listen nowhere")).errors,
        "tavo: --listen: „nowhere“ ist nicht ADRESSE:PORT wie 127.0.0.1:8420 oder [::1]:8420\n");
}

TEST_F(GermanCommands, DoctorAdvisesInGerman)
{
    EXPECT_THAT(
        output("--root ROOT doctor --state STATE --listen 127.0.0.1:0"),
        AllOf(
            HasSubstr("Symlinks, die hinausführen"), HasSubstr("  -> Clients eines Servers"),
            HasSubstr("Geprüft: 2 Verzeichnisse und 1 abspielbare Dateien.")));
}

TEST_F(GermanCommands, FailureNamesTheRootInGermanButNotForPrograms)
{
    EXPECT_EQ(
        runIn(german, arguments("--root /no/such browse")).errors,
        "tavo: Das Wurzelverzeichnis /no/such gibt es nicht\n");
    EXPECT_EQ(
        runIn(german, arguments("--root /no/such browse --json")).errors,
        "tavo: the root directory /no/such does not exist\n");
}

TEST_F(GermanCommands, LogIsEnglish)
{
    Tavo tavo;
    tavo.setVariable(QStringLiteral("LC_ALL"), QLatin1String(german));
    tavo.start(arguments("--root ROOT --root other=/no/such serve --state STATE --listen 127.0.0.1:0"));
    EXPECT_TRUE(tavo.reports("the root directory /no/such does not exist; the root is served"));
    EXPECT_FALSE(tavo.readLine().isEmpty());
    tavo.signal(SIGTERM);
    EXPECT_EQ(tavo.waitForEnd().status, 0);
}

TEST_F(GermanCommands, ServeSaysWhereItServes)
{
    Tavo tavo;
    tavo.setVariable(QStringLiteral("LC_ALL"), QLatin1String(german));
    tavo.start(arguments("--root ROOT serve --state STATE --listen 127.0.0.1:0"));
    EXPECT_THAT(
        tavo.readLine().toStdString(),
        StartsWith("Bereitgestellt: " + tree.root().toStdString() + " unter http://127.0.0.1:"));
    tavo.signal(SIGTERM);
    EXPECT_EQ(tavo.waitForEnd().status, 0);
}

/// A paused player without an output, for those who accept the language.
QByteArray playerFor(const QByteArray& language, const QByteArray& request)
{
    if (!request.contains("\r\nAccept-Language: " + language + "\r\n"))
        return httpResponse({}, "406 Not Acceptable");
    const QByteArray result = request.contains("describe") ? R"({"roots":[{"kind":"playlist","prefix":"/playlist"}]})"
                                                           : R"([{"state":"paused","shuffle":true}])";
    return httpResponse(R"({"jsonrpc":"2.0","id":1,"result":)" + result + '}');
}

TEST(RemoteCommands, ShowAndAskForTheEnvironmentsLanguage)
{
    const ScriptedServer server([](const QByteArray& request) { return playerFor("de", request); });
    EXPECT_EQ(
        runIn(german, {QStringLiteral("player"), QStringLiteral("--server"), server.url()}).output,
        "EIGENSCHAFT        WERT\n"
        "Zustand            pausiert\n"
        "Wiedergabegerät    -\n"
        "Lautstärke         -\n"
        "Wiederholung       -\n"
        "Zufallswiedergabe  ja\n");
}

TEST(RemoteCommands, AskForEnglishWherePeopleReadIt)
{
    const ScriptedServer server([](const QByteArray& request) { return playerFor("en", request); });
    const QStringList player = {QStringLiteral("player"), QStringLiteral("--server"), server.url()};
    EXPECT_EQ(runIn(english, player).status, 0);
    EXPECT_EQ(runIn(german, player + words("--json")).status, 0);
}

TEST_F(GermanCommands, ProgramsReadTheSameInEveryLanguage)
{
    for (const char* const text :
         {"--root ROOT browse --json", "--root ROOT info Björk/song.mp3 --json",
          "--root ROOT menu Björk/song.mp3 --json", "--root ROOT prepare playlist . --json",
          "--root ROOT config --state STATE --listen nowhere --json",
          "--root ROOT doctor --state STATE --listen 127.0.0.1:0 --json", "completions bash", "completions zsh",
          "completions fish"}) {
        const Outcome inEnglish = runIn(english, arguments(text));
        const Outcome inGerman = runIn(german, arguments(text));
        EXPECT_FALSE(inEnglish.output.isEmpty()) << text;
        EXPECT_EQ(inGerman.output, inEnglish.output) << text;
        EXPECT_EQ(inGerman.status, inEnglish.status) << text;
    }
}

} // namespace
