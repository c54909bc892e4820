#include "language/programlanguage.h"

#include <i18n/trlanguage.h>
#include <i18n/trstring.h>

#include <array>

namespace {

/// Those of Qt's texts that the program shows. Named for the catalogues only.
[[maybe_unused]] constexpr std::array qtTexts = {
    QT_TRANSLATE_NOOP("QCommandLineParser", "Usage: %1"),
    QT_TRANSLATE_NOOP("QCommandLineParser", "[options]"),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Options:"),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Arguments:"),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Unknown option '%1'."),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Unknown options: %1."),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Missing value after '%1'."),
    QT_TRANSLATE_NOOP("QCommandLineParser", "Unexpected value after '%1'.")};

/// The first of the variables that is set.
QString locale()
{
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            return qEnvironmentVariable(variable);
    }
    return {};
}

/// "de-AT" for "de_AT.UTF-8@euro". Empty for the C locale.
QString tagOf(const QString& locale)
{
    QString tag = locale.section(u'.', 0, 0).section(u'@', 0, 0).replace(u'_', u'-');
    return tag == QLatin1String("C") || tag == QLatin1String("POSIX") ? QString() : tag;
}

} // namespace

const TrLanguage* environmentLanguage()
{
    const QString usual = locale();
    // In the C locale gettext ignores LANGUAGE, and scripts rely on that.
    if (tagOf(usual).isEmpty())
        return nullptr;
    for (const QString& wish : qEnvironmentVariable("LANGUAGE").split(u':') + QStringList(usual)) {
        if (const TrLanguage* const language = TrLanguage::find(tagOf(wish)))
            return language;
    }
    return nullptr;
}

const TrLanguage* englishLanguage()
{
    return TrLanguage::find(QStringLiteral("en"));
}

QByteArray shownLanguage()
{
    const TrLanguage* const current = TrLanguage::current();
    const TrLanguage* const language = current ? current : environmentLanguage();
    return (language ? language : englishLanguage())->tag().toLatin1();
}

QString ProgramLanguage::translate(const char* context, const char* sourceText, const char* disambiguation, int n) const
{
    return m_language.translate(TrCharData{context, sourceText, disambiguation, n});
}
