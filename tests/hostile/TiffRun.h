// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "hostile/Hostile.h"
#include "support/Matchers.h"
#include "support/ReferenceTiff.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {

/// Converts files with `ConvertFile` of the first engine, bound to a valid table, and compares the results with the
/// reference implementation.
class TiffRun : public HostileTest {
protected:
    TiffRun() { EXPECT_EQ(Bind(Good()), 8); }

    /// Converts a file and returns the printed text; the result must be the engine's space.
    std::string Convert(const std::string& source, const std::string& dest) {
        return Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); });
    }
    /// The bytes written and the lines printed must equal those of the reference implementation.
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
