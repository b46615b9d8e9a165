// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "hueweave/transform.h"
#include "support/ByteWriter.h"

namespace hueweave::test {

struct FreeTransform {
    void operator()(hw_transform* transform) const { hw_transform_free(transform); }
};
using TransformHandle = std::unique_ptr<hw_transform, FreeTransform>;

/// Profiles for the interface. They borrow what they are made from.
inline hw_profile PathOf(const std::string& path) { return {nullptr, 0, path.c_str(), nullptr}; }
inline hw_profile SpaceOf(const char* name) { return {nullptr, 0, nullptr, name}; }
inline hw_profile DataOf(const Bytes& data) { return {data.data(), data.size(), nullptr, nullptr}; }

/// A transform; none can fail here.
inline TransformHandle MakeHandle(const hw_profile& source, const hw_profile& target,
                                  const hw_options& options = HW_OPTIONS_INIT) {
    hw_transform* transform = nullptr;
    hw_error error{};
    EXPECT_EQ(hw_transform_create(&source, &target, &options, &transform, &error), HW_OK) << error.message;
    return TransformHandle(transform);
}

}  // namespace hueweave::test
