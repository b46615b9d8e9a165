// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The JSON library, always by this header. Where memory runs out while it makes a value, it is left with one that its
// destructor asserts not to be; the command then ends as it does without memory, and not by a signal.
#pragma once

#include <exception>

#define JSON_ASSERT(condition) (static_cast<bool>(condition) ? static_cast<void>(0) : std::terminate())
#include <nlohmann/json.hpp>  // IWYU pragma: export
