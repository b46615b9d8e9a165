// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "hostile/Hostile.h"
#include "support/Matchers.h"
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
    /// Bytes written and lines printed must be those of the plain statement.
    void Check(const Bytes& file, const std::string& what) {
        const std::string source = Put("source.tif", file);
        std::filesystem::remove(dest_);
        const ReferenceRun expected = ConvertTiff(file, source, 1, [](unsigned char* samples, int pixels) {
            EXPECT_EQ(Orvix_Icc_Convert2(samples, nullptr, pixels), 0);
        });
        EXPECT_EQ(Convert(source, dest_), expected.log) << what;
        EXPECT_THAT(ReadFile(dest_), EqualsBytes(expected.file)) << what;
        EXPECT_THAT(ReadFile(source), EqualsBytes(file)) << what;
    }

    std::string dest_ = dir_.File("dest.tif");
};

}  // namespace hueweave::test
