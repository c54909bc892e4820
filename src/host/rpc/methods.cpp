#include "rpc/methods.h"

#include "content/failures.h"

#include <i18n/trlanguage.h>
#include <tavo/tavojson.h>
#include <tavo/tavoroles.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace {

using Lane = RequestExecutor::Lane;

const QLatin1String pathName("path");
const QLatin1String firstName("first");
const QLatin1String lastName("last");
const QLatin1String versionName("version");
const QLatin1String rolesName("roles");
const QLatin1String valueName("value");
const QLatin1String languageName("language");

/// A page of more values takes long.
constexpr int longPage = 10'000;

Result<QByteArray> toText(const QVariant& value, const Content& content)
{
    std::optional<QByteArray> text = TavoJson::write(value, content.limits().answer);
    if (!text)
        return Failures::tooLarge();
    return *std::move(text);
}

Result<QByteArray> toText(const Result<QVariant>& result, const Content& content)
{
    return result ? toText(result.value(), content) : result.failure();
}

Result<QByteArray> toText(const Result<Content::Page>& page, const Content& content)
{
    return page ? toText(page.value().toVariant(), content) : page.failure();
}

Call describe(Parameters& parameters, const Content& /*content*/)
{
    Call call;
    call.language = TrLanguage::find(parameters.text(languageName));
    call.run = [](const Content& served) { return toText(QVariant(served.describe()), served); };
    return call;
}

void append(QByteArray& key, qint64 number)
{
    key.append(reinterpret_cast<const char*>(&number), int{sizeof(number)});
}

void append(QByteArray& key, const QString& text)
{
    append(key, text.size());
    key.append(reinterpret_cast<const char*>(text.constData()), text.size() * int{sizeof(QChar)});
}

Lane laneOf(const Content::RowsQuery& query)
{
    const qint64 rows = qint64{query.last} - query.first + 1;
    return rows * std::max(1, query.roles.size()) > longPage ? Lane::LongPage : Lane::Quick;
}

/// Whether the worker lists the whole directory for each page, so that a page can be cut out of a longer one.
bool isListing(const Content::RowsQuery& query, const Content& content)
{
    return query.first >= 0 && query.last >= -1 && content.isListing(query.path);
}

/// Different rows have different keys: numbers have one size, texts begin with theirs.
QByteArray keyOf(const Content::RowsQuery& query, const Content& content)
{
    constexpr int usualSize = 256;
    QByteArray key;
    key.reserve(usualSize);
    append(key, query.path.prefix());
    append(key, query.path.base());
    append(key, query.version);
    append(key, query.roles.size());
    for (const QString& role : query.roles)
        append(key, role);
    append(key, static_cast<int>(content.reach()));
    append(key, content.limits().values);
    append(key, content.limits().answer);
    const TrLanguage* const language = TrLanguage::current();
    append(key, language ? language->tag() : QString());
    if (laneOf(query) != Lane::Quick || !isListing(query, content)) {
        append(key, query.first);
        append(key, query.last);
    }
    return key;
}

SharedListings::Request sharedRequestFor(const Content::RowsQuery& query, const Content& content)
{
    using Range = SharedListings::Range;
    const auto list = [query, content](const Range& range) {
        Content::RowsQuery wider = query;
        wider.first = static_cast<int>(range.first);
        wider.last = static_cast<int>(range.last);
        return content.rows(wider);
    };
    const auto write = [content](const Content::Page& page) { return toText(page.toVariant(), content); };
    const int roles = std::max(1, query.roles.size());
    return {keyOf(query, content), {query.first, query.last}, content.limits().values / roles, roles, list, write};
}

Call rows(Parameters& parameters, const Content& content)
{
    Content::RowsQuery query;
    query.path = parameters.path();
    query.first = parameters.integer(firstName, query.first);
    query.last = parameters.integer(lastName, query.last);
    query.version = parameters.integer(versionName, query.version);
    query.roles = parameters.roles(query.roles);
    query = content.cut(query);
    Call call;
    call.path = query.path;
    call.lane = laneOf(query);
    call.rows = sharedRequestFor(query, content);
    return call;
}

Call data(Parameters& parameters, const Content& /*content*/)
{
    Call call;
    call.path = parameters.path();
    call.run = [path = call.path, roles = parameters.roles(entryRoles())](const Content& served) {
        const Result<QVariantList> values = served.data(path, roles);
        return values ? toText(QVariant(values.value()), served) : values.failure();
    };
    return call;
}

Call set(Parameters& parameters, const Content& content)
{
    Call call;
    call.path = parameters.path();
    call.lane = content.isWalk(call.path) ? Lane::Walk : Lane::Quick;
    call.run = [path = call.path, value = parameters.value()](const Content& served) {
        return toText(served.set(path, value), served);
    };
    return call;
}

Call menu(Parameters& parameters, const Content& /*content*/)
{
    Call call;
    call.path = parameters.path();
    call.run = [path = call.path, roles = parameters.roles(CMAllRoles())](const Content& served) {
        return toText(served.menu(path, roles), served);
    };
    return call;
}

Call open(Parameters& parameters, const Content& /*content*/)
{
    Call call;
    call.kind = Call::Kind::Open;
    call.path = parameters.path();
    return call;
}

Call close(Parameters& parameters, const Content& /*content*/)
{
    Call call;
    call.kind = Call::Kind::Close;
    call.path = parameters.path();
    return call;
}

const std::vector<Method>& methods()
{
    static const std::vector<Method> methods = {
        {"describe", {languageName}, describe},
        {"rows", {pathName, firstName, lastName, versionName, rolesName}, rows},
        {"data", {pathName, rolesName}, data},
        {"set", {pathName, valueName}, set},
        {"menu", {pathName, rolesName}, menu},
        {"open", {pathName}, open},
        {"close", {pathName}, close}};
    return methods;
}

} // namespace

const Method* findMethod(const QString& name)
{
    const auto method = std::find_if(methods().cbegin(), methods().cend(), [&name](const Method& candidate) {
        return name == QLatin1String(candidate.name);
    });
    return method == methods().cend() ? nullptr : &*method;
}

QVariantHash changeParameters(const CMPath& path, const QStringList& changes, int version)
{
    return {
        {QStringLiteral("path"), path.toEncoded()},
        {QStringLiteral("changes"), changes},
        {QStringLiteral("version"), version}};
}
