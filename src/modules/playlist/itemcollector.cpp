#include "itemcollector.h"

#include "model/cmrequestcontext.h"
#include "model/cmroot.h"
#include "queue.h"
#include "refusal.h"
#include "storedjson.h"
#include "tavo/tavoroles.h"

#include <algorithm>

namespace {

/// Directories that are linked into themselves have no end.
constexpr int deepest = 32;
constexpr int mostContainers = Queue::mostEntries;

constexpr int mostMissingCharacters = 16'384;

/// A page of rows costs a listing of its directory.
constexpr int pageSize = 10'000;

/// The roles of the rows that are asked for, in the order of their columns.
enum Column { PathColumn, TypeColumn, TitleColumn, MediaColumn };

const QStringList& columns()
{
    static const QStringList roles = {TavoRoles::Path(), TavoRoles::Type(), TavoRoles::Title(), TavoRoles::MediaData()};
    return roles;
}

bool isPlayable(const QString& type)
{
    return type == TavoRolesType::toString(TavoRolesType::Enum::Audio) ||
           type == TavoRolesType::toString(TavoRolesType::Enum::Video);
}

bool isCancelled()
{
    const CMRequestContext* const context = CMRequestContext::current();
    return context && context->isCancelled();
}

/// Whether the path is relative in its worker, and without "..".
bool isInside(const CMPath& path)
{
    const QString& base = path.base();
    const auto segments = base.splitRef(u'/');
    return !base.startsWith(u'/') && !base.contains(QChar::Null) &&
           std::none_of(segments.cbegin(), segments.cend(), [](const QStringRef& segment) {
               return segment == QLatin1String("..");
           });
}

/// The values of the entry; empty if there is none.
QVariantList rowOf(const CMPath& path)
{
    const CMGetDataRequest request(path, columns());
    CMRoot()->request(request);
    static_cast<void>(request.reply().waitForFinished());
    return request.reply().value();
}

TavoRowsRoles pageOf(const CMPath& container, int first)
{
    const CMGetRowsRequest request(container, first, first + pageSize - 1, 0, columns());
    CMRoot()->request(request);
    static_cast<void>(request.reply().waitForFinished());
    return request.reply().value();
}

} // namespace

bool ItemCollector::mayShow(const CMPath& path)
{
    return isInside(path) && CMRootWorker::instance().isVisible(path);
}

CMError ItemCollector::collect(const QStringList& paths)
{
    m_items.clear();
    m_missing.clear();
    m_missingCharacters = 0;
    m_containers = 0;
    for (const QString& text : paths) {
        const CMPath path = CMPath::fromEncoded(text);
        if (!isInside(path))
            return Refusal::outside(text);
        const std::size_t before = m_items.size();
        if (text == QLatin1String("/"))
            takeRows(path, 0);
        else if (isForeign(path) && mayGoOn())
            takeRow(rowOf(path), 0);
        if (m_items.size() == before)
            addMissing(text);
    }
    if (isCancelled())
        return Refusal::ending();
    if (!mayGoOn())
        return Refusal::queueFull();
    return m_items.empty() ? Refusal::nothingToPlay() : CMError();
}

void ItemCollector::addMissing(const QString& text)
{
    m_missingCharacters += text.size();
    if (m_missingCharacters <= mostMissingCharacters)
        m_missing.append(text);
}

bool ItemCollector::mayGoOn() const
{
    return m_items.size() <= Queue::mostEntries && m_containers <= mostContainers && !isCancelled();
}

bool ItemCollector::isForeign(const CMPath& path) const
{
    return !path.prefix().isEmpty() && path.prefix() != m_ownPrefix;
}

void ItemCollector::takeRow(const QVariantList& row, int depth)
{
    const QString source = row.value(PathColumn).toString();
    const QString type = row.value(TypeColumn).toString();
    if (type == TavoRolesType::Container())
        takeContainer(CMPath::fromEncoded(source), depth);
    else if (isPlayable(type) && mayShow(CMPath::fromEncoded(source)))
        m_items.push_back(
            {source, row.value(TitleColumn).toString(), type, StoredJson::fromValue(row.value(MediaColumn))});
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as `deepest`
void ItemCollector::takeContainer(const CMPath& path, int depth)
{
    if (depth >= deepest || !isForeign(path) || !mayShow(path))
        return;
    ++m_containers;
    takeRows(path, depth + 1);
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as `deepest`
void ItemCollector::takeRows(const CMPath& path, int depth)
{
    int count = 1;
    for (int first = 0; first < count && mayGoOn(); first += pageSize) {
        const TavoRowsRoles page = pageOf(path, first);
        count = page.rowsCount();
        for (const QVariant& row : page.rows()) {
            if (mayGoOn())
                takeRow(row.toList(), depth);
        }
    }
}
