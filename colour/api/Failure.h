// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hueweave/transform.h"

namespace hueweave::colour {

/// Why no transform can be made: thrown here, and turned into an `hw_error` before it reaches the caller.
struct Failure {
    hw_status status;
    std::string message;
};

/// "name: reason; remedy". A long name is cut at its beginning, so that the whole sentence fits into an `hw_error`.
[[noreturn]] void Fail(hw_status status, std::string_view name, std::string_view reason, std::string_view remedy);

/// The name of a status and what it means. Both are constants that end with a zero byte.
const char* StatusName(std::int32_t status);
const char* StatusMessage(std::int32_t status);

/// Fills `error`, unless it is null, and returns the status.
std::int32_t Report(hw_error* error, hw_status status, std::string_view message) noexcept;

}  // namespace hueweave::colour
