// SPDX-License-Identifier: MIT
#pragma once

#include "command/support/Command.h"

namespace hueweave::test {

/// The output of exiftool for these arguments. It is slow to start, so one process serves all tests.
std::string ExifTool(const Words& words);

}  // namespace hueweave::test
