// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>
#include <vector>

namespace hueweave::test {

/// What exiftool prints for these words. It takes long to start: one of it serves all tests of a process.
std::string ExifTool(const std::vector<std::string>& words);

}  // namespace hueweave::test
