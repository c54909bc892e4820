#include "language/translatable.h"

TrString translatable(const char* sourceText, const QList<TrArg>& arguments)
{
    return {TrCharData{"Host", sourceText}, arguments};
}

QString translated(const char* sourceText, const QList<TrArg>& arguments)
{
    return translatable(sourceText, arguments).toString();
}
