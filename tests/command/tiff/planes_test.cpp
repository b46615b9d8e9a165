// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Which planes of a page become pixels, and which are read and written.
#include <gmock/gmock.h>

#include "tiff/rewrite/PlaneSet.h"

namespace hueweave::tool {
namespace {

using testing::ElementsAre;
using Numbers = std::vector<unsigned>;

constexpr unsigned kDeflate = 8, kJpeg = 7;

/// Two pixels a plane: sample p of pixel x is 16 * (p + 1) + x, and in 16 bits the low byte is 1 more than the high
/// one.
class CountingSource : public PlaneSource {
public:
    explicit CountingSource(const TiffPage& page) : page_(page) {}
    void Take(unsigned plane, Bytes& data) override {
        taken.push_back(plane);
        data.clear();
        for (unsigned i = 0; i < 2 * page_.SegmentSamples(); ++i) {
            const unsigned value =
                page_.planar ? 16 * (plane + 1) + i : 16 * (i % page_.samples + 1) + i / page_.samples;
            for (unsigned byte = 0; byte < page_.bits / 8; ++byte) {
                data.push_back(static_cast<unsigned char>(value + byte));
            }
        }
    }
    Numbers taken;

private:
    const TiffPage& page_;
};

/// Spoils what it is given, as an encoder does.
class SpoilingSink : public PlaneSink {
public:
    void Give(unsigned plane, Bytes& data) override {
        planes.push_back(plane);
        given.push_back(data);
        data.assign(data.size(), 0xee);
    }
    Numbers planes;
    std::vector<Bytes> given;
};

TiffPage PageOf(unsigned samples, unsigned bits, bool planar, unsigned compression) {
    TiffPage page;
    page.samples = samples;
    page.bits = bits;
    page.planar = planar;
    page.compression = compression;
    return page;
}

struct Passed {
    Numbers taken, written;
    Bytes pixels;
    std::vector<Bytes> given;
};

/// Two blocks through one set; both must go the same way.
Passed Pass(const TiffPage& page, std::size_t bytes) {
    PlaneSet planes(page);
    Passed last;
    for (int round = 0; round < 2; ++round) {
        CountingSource source(page);
        SpoilingSink sink;
        planes.Gather(source);
        const Bytes pixels(planes.data(), planes.data() + bytes);
        planes.Scatter(sink);
        if (round > 0) {
            EXPECT_EQ(pixels, last.pixels);
        }
        last = {source.taken, sink.planes, pixels, sink.given};
    }
    return last;
}

TEST(PlaneSetTest, InterleavedSamplesAreOnePlane) {
    const Passed passed = Pass(PageOf(4, 8, false, kDeflate), 8);
    EXPECT_EQ(passed.taken, Numbers{0});
    EXPECT_THAT(passed.pixels, ElementsAre(0x10, 0x20, 0x30, 0x40, 0x11, 0x21, 0x31, 0x41));
    EXPECT_EQ(passed.written, Numbers{0});
    EXPECT_EQ(passed.given[0], passed.pixels);
}

TEST(PlaneSetTest, TheColoursOfPlanesBecomePixelsAndPlanesAgain) {
    const Passed passed = Pass(PageOf(5, 16, true, 1), 12);
    EXPECT_EQ(passed.taken, (Numbers{0, 1, 2})) << "plain planes that stay need not be read";
    EXPECT_THAT(passed.pixels, ElementsAre(0x10, 0x11, 0x20, 0x21, 0x30, 0x31, 0x11, 0x12, 0x21, 0x22, 0x31, 0x32));
    EXPECT_EQ(passed.written, (Numbers{0, 1, 2}));
    EXPECT_THAT(passed.given, ElementsAre(Bytes{0x10, 0x11, 0x11, 0x12}, Bytes{0x20, 0x21, 0x21, 0x22},
                                          Bytes{0x30, 0x31, 0x31, 0x32}));
}

TEST(PlaneSetTest, AnAlphaThatTheColoursAreMultipliedByIsReadAndNotWritten) {
    TiffPage page = PageOf(5, 8, true, 1);
    page.premultiplied = true;
    const Passed passed = Pass(page, 8);
    EXPECT_EQ(passed.taken, (Numbers{0, 1, 2, 3}));
    EXPECT_THAT(passed.pixels, ElementsAre(0x10, 0x20, 0x30, 0x40, 0x11, 0x21, 0x31, 0x41));
    EXPECT_EQ(passed.written, (Numbers{0, 1, 2}));
}

TEST(PlaneSetTest, EncodedPlanesAreAllReadForDamage) {
    const Passed passed = Pass(PageOf(5, 8, true, kDeflate), 6);
    EXPECT_EQ(passed.taken, (Numbers{0, 1, 2, 3, 4}));
    EXPECT_THAT(passed.pixels, ElementsAre(0x10, 0x20, 0x30, 0x11, 0x21, 0x31));
    EXPECT_EQ(passed.written, (Numbers{0, 1, 2}));
    EXPECT_THAT(passed.given, ElementsAre(Bytes{0x10, 0x11}, Bytes{0x20, 0x21}, Bytes{0x30, 0x31}));
}

TEST(PlaneSetTest, APageThatChangesItsCompressionIsWrittenWithAllPlanes) {
    const Passed passed = Pass(PageOf(4, 8, true, kJpeg), 8);
    EXPECT_EQ(passed.taken, (Numbers{0, 1, 2, 3}));
    EXPECT_EQ(passed.written, (Numbers{0, 1, 2, 3}));
    EXPECT_EQ(passed.given[3], (Bytes{0x40, 0x41}));
}

}  // namespace
}  // namespace hueweave::tool
