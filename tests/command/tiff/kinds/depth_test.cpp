// SPDX-License-Identifier: MIT
// RGB of 10, 12 and 14 bits is written with 16 bits: the pixels are those of the same picture scaled by hand.
#include <cmath>

#include "command/tiff/kinds/KindTest.h"

namespace hueweave::test {
namespace {

class DepthTest : public KindTest {
protected:
    /// Writes a file of this depth, and returns the same picture with 16 bits.
    Samples Write(unsigned bits, unsigned samples, unsigned compression) const {
        Samples packed{2, samples, bits, Varied(samples * kPixels, bits), {}, compression};
        if (samples == 4) packed.more = {TiffMaker::Short(338, 2)};
        WriteSamples(in_, packed);
        Samples wide = packed;
        wide.bits = 16;
        wide.compression = 1;
        const double top = (1U << bits) - 1;
        for (std::uint64_t& value : wide.values) {
            value = static_cast<std::uint64_t>(std::lround(static_cast<double>(value) * 65535.0 / top));
        }
        return wide;
    }
};

TEST_F(DepthTest, SamplesAreScaledTo16Bits) {
    for (const unsigned bits : {10U, 12U, 14U}) {
        SCOPED_TRACE(bits);
        ExpectLikeRgb(Write(bits, bits == 12 ? 4 : 3, bits == 10 ? 8 : 1));
    }
}

TEST_F(DepthTest, PlanesBecomeInterleaved) {
    for (const unsigned compression : {1U, 8U}) {
        Samples planes{2, 3, 12, Varied(3 * kPixels, 12), {}, compression, true};
        const Samples wide = Write(12, 3, 1);
        WriteSamples(in_, planes);
        ExpectLikeRgb(wide);
        EXPECT_EQ(Tag(out_, "PlanarConfiguration"), "Chunky\n");
    }
}

TEST_F(DepthTest, TheDepthIsNamed) {
    Write(12, 3, 1);
    EXPECT_THAT(ConvertKind(), Says(0, "its samples of 12 bits are written with 16 bits\n"));
    EXPECT_THAT(ConvertKind({"--precision", "library"}),
                Refuses(4, "has 12 bits a sample; leave --precision library out"));
}

}  // namespace
}  // namespace hueweave::test
