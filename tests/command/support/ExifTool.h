// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "command/support/Command.h"

namespace hueweave::test {

/// What exiftool prints for these words. It takes long to start: one of it serves all tests of a process.
std::string ExifTool(const Words& words);

}  // namespace hueweave::test
