#include "language/translatable.h"

#include "language/programlanguage.h"

#include <i18n/trlanguage.h>

TrString translatable(const char* sourceText, const QList<TrArg>& arguments)
{
    return {TrCharData{"Host", sourceText}, arguments};
}

QString translated(const char* sourceText, const QList<TrArg>& arguments)
{
    return translatable(sourceText, arguments).toString();
}

QString inEnglish(const TrString& text)
{
    const TrLanguage::Scope scope(englishLanguage());
    return text.toString();
}
