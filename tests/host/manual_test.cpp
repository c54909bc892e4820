#include "support/tavo.h"

#include "printers.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

/// What the help or the manual says of the program or of one command.
struct Entry
{
    /// As in "[PATH]".
    QString arguments;
    /// Each with its value, as in "--root [ID=]DIR".
    QSet<QString> options;

    friend bool operator==(const Entry& a, const Entry& b)
    {
        return a.arguments == b.arguments && a.options == b.options;
    }
    friend std::ostream& operator<<(std::ostream& out, const Entry& entry)
    {
        QStringList options = entry.options.values();
        options.sort();
        return out << entry.arguments.toStdString() << ": " << options.join(QStringLiteral(", ")).toStdString();
    }
};

/// By the command's name; the empty one stands for the program.
using Entries = QMap<QString, Entry>;

QString help(const QStringList& arguments)
{
    return QString::fromUtf8(runTavo(arguments + QStringList(QStringLiteral("--help"))).output);
}

QStringList captures(const QString& text, const char* pattern)
{
    const QRegularExpression expression(QString::fromUtf8(pattern), QRegularExpression::MultilineOption);
    QStringList all;
    for (auto matches = expression.globalMatch(text); matches.hasNext();)
        all.append(matches.next().captured(1));
    return all;
}

QSet<QString> optionsInHelp(const QString& text)
{
    QSet<QString> options;
    for (QString option : captures(text, "^  (?:-\\w, )?(--[\\w-]+(?: <[^>]+>)?)"))
        options.insert(option.remove(QLatin1Char('<')).remove(QLatin1Char('>')));
    return options;
}

Entries entriesInHelp()
{
    const QString program = help({});
    Entries entries{{QString(), {QString(), optionsInHelp(program)}}};
    const QString commands = program.mid(program.indexOf(QStringLiteral("\nCommands:")));
    for (const QString& command : captures(commands, "^  ([a-z]+) +[A-Z]")) {
        const QString text = help({command});
        QSet<QString> options = optionsInHelp(text);
        options.remove(QStringLiteral("--help"));
        const QString usage = text.section(QLatin1Char('\n'), 0, 0);
        entries.insert(command, {usage.section(QStringLiteral(" [options]"), 2).trimmed(), options});
    }
    return entries;
}

/// The options in the section, and those of the commands that it refers to.
QSet<QString> optionsInSection(const QString& section, const Entries& known)
{
    QSet<QString> options;
    for (const QString& option : captures(section, "^- (?:`-\\w`, )?`(--[^`]+)`"))
        options.insert(option);
    for (const QString& command : captures(section, "the options of `(\\w+)`"))
        options.unite(known.value(command).options);
    return options;
}

Entries entriesInManual()
{
    QFile file(QStringLiteral(TAVO_DOCS "/tavo.md"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    Entries entries;
    for (const QString& section : QString::fromUtf8(file.readAll()).split(QStringLiteral("\n##"))) {
        const QString title = section.section(QLatin1Char('\n'), 0, 0);
        if (title == QStringLiteral(" Options"))
            entries.insert(QString(), {QString(), optionsInSection(section, entries)});
        else if (title.startsWith(QStringLiteral("# `"))) {
            const QString usage = title.section(QLatin1Char('`'), 1, 1);
            entries.insert(
                usage.section(QLatin1Char(' '), 0, 0),
                {usage.section(QLatin1Char(' '), 1), optionsInSection(section, entries)});
        }
    }
    return entries;
}

TEST(Manual, HasTheCommandsAndOptionsOfTheHelp)
{
    const Entries inHelp = entriesInHelp();
    const Entries inManual = entriesInManual();
    EXPECT_THAT(inHelp, testing::SizeIs(testing::Gt(20)));
    EXPECT_EQ(inManual.keys(), inHelp.keys());
    for (const QString& command : inHelp.keys())
        EXPECT_EQ(inManual.value(command), inHelp.value(command)) << command.toStdString();
}

} // namespace
