// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace hueweave::tool {

/// The name of this machine as part of a file name: at most 32 letters, digits and "_".
std::string MachineName();

}  // namespace hueweave::tool
