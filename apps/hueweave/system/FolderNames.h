// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>
#include <vector>

namespace hueweave::tool {

/// The names of what stands in a folder, in no order. `error` becomes the error number, 0 for none. The iterator of the
/// standard library that throws no errors ends the process where there is no memory for it.
std::vector<std::string> NamesInFolder(const std::string& folder, int& error);

}  // namespace hueweave::tool
