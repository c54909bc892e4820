#pragma once

#include "content/content.h"

#include <functional>

/// Where rows come from.
struct RowsSource
{
    /// Gives the page that is asked for, or its beginning.
    std::function<Result<Content::Page>(const Content::RowsQuery& query)> rows;
    int rowsPerPage;
};

/// Reads rows page by page, so that a large directory needs little memory at a time.
///
/// All pages are of one version, if the rows have one, and else of one count. If the rows change in between, `restart`
/// is called and reading begins again. `take` gets each page; the first one comes even if it is empty.
Result<void> readRows(
    const RowsSource& source, const Content::RowsQuery& query, const std::function<void()>& restart,
    const std::function<void(const Content::Page&)>& take);
/// Reads the rows of the host.
Result<void> readRows(
    const Content& content, const Content::RowsQuery& query, const std::function<void()>& restart,
    const std::function<void(const Content::Page&)>& take);
