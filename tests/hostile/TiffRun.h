// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <algorithm>
#include <optional>
#include <string>

#include "hostile/Hostile.h"
#include "support/ReferenceTiff.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {

/// Files through `ConvertFile` of the first engine, bound to a sound table, against the plain statement of what
/// comes of them.
class TiffRun : public HostileTest {
protected:
    TiffRun() { EXPECT_EQ(Bind(Good()), 8); }

    /// Converts and returns what was printed; the answer must be the engine's space.
    std::string Convert(const std::string& source, const std::string& dest) {
        return Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); });
    }
    /// Bytes written and lines printed must be those of the plain statement. Returns the bytes written.
    Bytes Check(const Bytes& file, const std::string& what) {
        const std::string source = Put("source.tif", file);
        std::filesystem::remove(dest_);
        const ReferenceRun expected = ConvertTiff(file, source, 1, [](unsigned char* samples, int pixels) {
            EXPECT_EQ(Orvix_Icc_Convert2(samples, nullptr, pixels), 0);
        });
        EXPECT_EQ(Convert(source, dest_), expected.log) << what;
        const Bytes written = ReadFile(dest_);
        EXPECT_EQ(written.size(), expected.file.size()) << what;
        const auto differs = std::mismatch(written.begin(), written.end(), expected.file.begin(), expected.file.end());
        EXPECT_EQ(differs.first - written.begin(), static_cast<std::ptrdiff_t>(written.size())) << what;
        EXPECT_EQ(ReadFile(source), file) << what;
        return written;
    }
    /// What comes of pixels.
    static Bytes Matched(Bytes pixels) { return ConvertedPixels(std::move(pixels)); }

    std::string dest_ = dir_.File("dest.tif");
};

inline std::size_t CountOf(const Bytes& file, const Bytes& piece) {
    std::size_t found = 0;
    for (auto at = file.begin(); (at = std::search(at, file.end(), piece.begin(), piece.end())) != file.end(); ++at) {
        ++found;
    }
    return found;
}

}  // namespace hueweave::test
