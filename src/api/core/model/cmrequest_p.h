#pragma once

namespace RowsRequests {

/// True while a rows request exists anywhere in the process: one that is served in another thread does. From any
/// thread.
[[nodiscard]] bool exist();

} // namespace RowsRequests
