// Paths: encoding is lossless and gives ASCII, the order is total, and startsWith() compares whole segments.

#include "check.h"
#include "textsource.h"

#include "model/cmpath.h"

#include <algorithm>

namespace {

void checkRoundTrip(const CMPath& path)
{
    const QString encoded = path.toEncoded();
    FUZZ_CHECK(CMPath::fromEncoded(encoded) == path);
    FUZZ_CHECK(encoded.startsWith(QLatin1Char('/')));
    FUZZ_CHECK(std::all_of(encoded.cbegin(), encoded.cend(), [](QChar c) { return c > u' ' && c < u'\x7F'; }));
    FUZZ_CHECK(CMPath(path.prefix(), path.base()) == path);
}

void checkAnyTextDecodes(const QString& text)
{
    checkRoundTrip(CMPath::fromEncoded(text));
}

void checkOrder(const CMPath& a, const CMPath& b)
{
    FUZZ_CHECK((a < b) + (b < a) + (a == b) == 1);
    FUZZ_CHECK((a.toEncoded() == b.toEncoded()) == (a == b));
    FUZZ_CHECK(a != b || qHash(a) == qHash(b));
}

void checkPrefix(const CMPath& a, const CMPath& b)
{
    FUZZ_CHECK(a.startsWith(a));
    FUZZ_CHECK(a.startsWith(CMPath(a.prefix(), QString())));
    QString rest;
    if (!a.startsWith(b, &rest))
        return;
    FUZZ_CHECK(a.base().startsWith(b.base()) && a.base().endsWith(rest));
    const int between = a.base().size() - b.base().size() - rest.size();
    FUZZ_CHECK(between == 0 || (between == 1 && a.base().at(b.base().size()) == QLatin1Char('/')));
    FUZZ_CHECK(between == 1 || rest.isEmpty() || b.base().isEmpty() || b.base().endsWith(QLatin1Char('/')));
    FUZZ_CHECK(!b.startsWith(a) || a == b);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    TextSource source(data, size);
    const QString prefix = source.next();
    const CMPath a(prefix, source.next());
    const CMPath b(prefix, source.next());
    checkRoundTrip(a);
    checkRoundTrip(b);
    checkOrder(a, b);
    checkPrefix(a, b);
    checkPrefix(CMPath(prefix, b.base() + QLatin1Char('/') + a.base()), b);
    checkAnyTextDecodes(prefix + QLatin1Char('/') + a.base());
    checkAnyTextDecodes(QLatin1Char('/') + b.base());
    return 0;
}
