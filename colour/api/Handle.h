// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "colour/PixelConverter.h"
#include "colour/Transform.h"
#include "colour/api/GivenProfile.h"
#include "hueweave/transform.h"

/// What the handle of the interface points to. It does not change once it is made.
struct hw_transform {
    /// Throws a `Failure`, and `std::bad_alloc`.
    hw_transform(const hueweave::colour::GivenProfile& source, const hueweave::colour::GivenProfile& target,
                 const hueweave::colour::Settings& settings);

    /// Converts interleaved pixels of `channels` samples. `dest` is `source` or does not overlap it.
    void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels, unsigned channels) const;

    std::size_t SampleBytes() const { return bits_ / 8; }
    const hueweave::colour::Bytes& profile() const { return profile_; }
    /// Fills everything except the size.
    void Describe(hw_info& info) const;

private:
    void MakeExact(const hueweave::colour::GivenProfile& source, const hueweave::colour::GivenProfile& target,
                   const hueweave::colour::Settings& settings);
    void MakeLibrary(const hueweave::colour::GivenProfile& source, const hueweave::colour::GivenProfile& target,
                     const hueweave::colour::Settings& settings);

    unsigned bits_;
    std::unique_ptr<const hueweave::colour::Transform> exact_;         ///< null for the library's precision
    std::unique_ptr<const hueweave::colour::PixelConverter> library_;  ///< null for the exact precision
    hueweave::colour::TransformError error_;
    std::string reason_;
    hueweave::colour::Bytes profile_;  ///< to embed
};
