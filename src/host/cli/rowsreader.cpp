#include "cli/rowsreader.h"

#include "language/translatable.h"

#include <tavo/tavokeys.h>

#include <algorithm>

namespace {

constexpr int rowsPerLocalPage = 50'000;
constexpr int mostRestarts = 20;

enum class Outcome { Complete, Changed };

class RowsReader
{
public:
    RowsReader(const RowsSource& source, const Content::RowsQuery& query) : m_source(source), m_query(query) {}

    Result<Outcome> read(const std::function<void(const Content::Page&)>& take)
    {
        Content::RowsQuery next = m_query;
        for (;;) {
            next.last = lastOfPage(next.first);
            const Result<Content::Page> page = m_source.rows(next);
            const bool isFirst = next.first == m_query.first;
            if (!page && !isFirst && page.failure().name == TavoErrorInvalidRowsVersion())
                return Outcome::Changed;
            if (!page)
                return page.failure();
            if (isFirst)
                m_count = page.value().count;
            if (page.value().count != m_count)
                return Outcome::Changed;
            take(page.value());
            next.first += page.value().rows.size();
            if (next.first > std::min(m_query.last, m_count - 1))
                return Outcome::Complete;
            if (page.value().rows.isEmpty())
                return Outcome::Changed;
            next.version = page.value().version.value_or(0);
        }
    }

private:
    [[nodiscard]] int lastOfPage(int first) const
    {
        const int rows = m_source.rowsPerPage;
        return first > std::numeric_limits<int>::max() - rows ? m_query.last : std::min(m_query.last, first + rows - 1);
    }

    const RowsSource& m_source;
    const Content::RowsQuery m_query;
    int m_count = 0;
};

} // namespace

Result<void> readRows(
    const RowsSource& source, const Content::RowsQuery& query, const std::function<void()>& restart,
    const std::function<void(const Content::Page&)>& take)
{
    for (int restarts = 0; restarts < mostRestarts; ++restarts) {
        const Result<Outcome> outcome = RowsReader(source, query).read(take);
        if (!outcome)
            return outcome.failure();
        if (outcome.value() == Outcome::Complete)
            return {};
        restart();
    }
    return Failure{
        Failure::Kind::Refused, translatable(
                                    QT_TRANSLATE_NOOP("Host", "the rows of '%1' change faster than they can be read"),
                                    {query.path.toEncoded()})};
}

Result<void> readRows(
    const Content& content, const Content::RowsQuery& query, const std::function<void()>& restart,
    const std::function<void(const Content::Page&)>& take)
{
    const auto rows = [&content](const Content::RowsQuery& page) { return content.rows(page); };
    return readRows(RowsSource{rows, rowsPerLocalPage}, query, restart, take);
}
