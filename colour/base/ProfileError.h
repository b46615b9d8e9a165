// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace hueweave::colour {

/// A profile that cannot be used. what() is the reason, such as "has no table that can be used". The caller knows the
/// profile's name and what to do about it.
class ProfileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace hueweave::colour
