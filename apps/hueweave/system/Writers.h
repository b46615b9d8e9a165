// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace hueweave::tool {

/// Whether programs have a file open for writing.
enum class Writers { None, Some, Unknown };

/// Looks for writers of a file. They are unknown if it belongs to another user, or if its file system does not support
/// leases.
Writers WritersOf(const std::string& path);

}  // namespace hueweave::tool
