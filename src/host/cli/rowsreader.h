#pragma once

#include "content/content.h"

#include <functional>

/// Reads rows page by page, so that a large directory needs little memory at a time.
///
/// All pages are of one version, if the rows have one, and else of one count. If the rows change in between, `restart`
/// is called and reading begins again. `take` gets each page; the first one comes even if it is empty.
Result<void> readRows(
    const Content& content, const Content::RowsQuery& query, const std::function<void()>& restart,
    const std::function<void(const Content::Page&)>& take);
