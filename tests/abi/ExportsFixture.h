// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "abi/Library.h"
#include "support/ByteWriter.h"
#include "support/MiniProfile.h"
#include "support/TempDir.h"

namespace hueweave::test {

/// A freshly loaded library and a folder for its files.
class ExportsFixture : public testing::Test {
protected:
    std::string Put(const std::string& name, const MiniTags& tags) {
        WriteFile(dir_.File(name), MiniProfile(tags));
        return dir_.File(name);
    }
    /// A profile with smooth tables for the intents 0 and 1.
    std::string Good() { return Put("good.icc", {{"A2B0", Mft2(SmoothLut(5))}, {"A2B1", Mft2(SmoothLut(3))}}); }
    /// Every pixel comes out black in every linear space.
    std::string Black() {
        MiniLut lut = SmoothLut(2);
        lut.grid = BlackGrid();
        return Put("black.icc", {{"A2B0", Mft2(lut)}});
    }
    std::string None() { return Put("none.icc", {{"wtpt", XyzBlock(1, 2, 3)}}); }

    /// Tone curves of one height each: whatever the pixel was, it comes out as these three bytes.
    static std::int32_t AdjustFlat(const EngineApi& api, unsigned red, unsigned green, unsigned blue) {
        Bytes r(256, static_cast<unsigned char>(red));
        Bytes g(256, static_cast<unsigned char>(green));
        Bytes b(256, static_cast<unsigned char>(blue));
        return api.Adjust(0.0, 0.0, 0.0, r.data(), g.data(), b.data(), 256);
    }
    static Bytes SomePixels() {
        Bytes pixels;
        for (unsigned i = 0; i < 300; ++i) pixels.push_back(static_cast<unsigned char>(i * 97 + i / 7));
        return pixels;
    }
    /// The pixels after an 8-bit conversion; the status must be 0.
    static Bytes Converted(const EngineApi& api, Bytes pixels) {
        EXPECT_EQ(api.Convert2(pixels.data(), nullptr, static_cast<std::int32_t>(pixels.size() / 3)), 0);
        return pixels;
    }
    static Bytes Repeated(std::size_t pixels, unsigned red, unsigned green, unsigned blue) {
        Bytes bytes;
        for (std::size_t i = 0; i < pixels; ++i) {
            for (const unsigned value : {red, green, blue}) bytes.push_back(static_cast<unsigned char>(value));
        }
        return bytes;
    }

    TempDir dir_;
    Library library_;
};

}  // namespace hueweave::test
