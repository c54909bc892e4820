#pragma once

#include <cstddef>
#include <string>

/// GLib's file API.
namespace Gio {

/// Enumerates a directory with these attributes and sorts the entries by name. Returns their number.
std::size_t list(const std::string& directory, const char* attributes);

} // namespace Gio
