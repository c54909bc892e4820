#pragma once

namespace RowsRequests {

/// True while any rows request is alive in the process. Thread-safe.
[[nodiscard]] bool exist();

} // namespace RowsRequests
