// SPDX-License-Identifier: MIT
// Always include the JSON library through this header. If memory runs out while it creates a value, an assertion in the
// value's destructor fails; the command then ends as it does without memory, and not by a signal.
#pragma once

#include <exception>

#define JSON_ASSERT(condition) (static_cast<bool>(condition) ? static_cast<void>(0) : std::terminate())
#include <nlohmann/json.hpp>  // IWYU pragma: export
