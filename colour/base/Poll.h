// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace hueweave::colour {

/// Called now and then in long work; may throw to end it. Never empty.
using Poll = std::function<void()>;

}  // namespace hueweave::colour
