// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>

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

inline Bytes AsBytes(const void* data, std::size_t size) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    return {bytes, bytes + size};
}
inline Bytes OutputProfileOf(const TransformHandle& transform) {
    std::size_t size = 1;
    const void* const data = hw_transform_profile(transform.get(), &size);
    return AsBytes(data, size);
}
inline hw_info InfoOf(const TransformHandle& transform) {
    hw_info info{};
    info.size = sizeof info;
    EXPECT_EQ(hw_transform_info(transform.get(), &info), HW_OK);
    return info;
}

}  // namespace hueweave::test
