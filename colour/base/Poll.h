// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace hueweave::colour {

/// Called regularly during long operations; may throw to end it. Never empty.
using Poll = std::function<void()>;

}  // namespace hueweave::colour
