// SPDX-License-Identifier: MIT
// Which planes of a page contribute to pixels, and which are read and written.
#include <gtest/gtest.h>

#include <sstream>

#include "tiff/rewrite/PlaneSet.h"

namespace hueweave::tool {
namespace {

constexpr unsigned kPlain = 1, kJpeg = 7, kDeflate = 8;

/// Two pixels a plane: sample p of pixel x is 16 * (p + 1) + x, and in 16 bits the low byte is 1 more than the high
/// one. Overwrites what it is given, as an encoder does.
class CountingPlanes : public PlaneSource, public PlaneSink {
public:
    explicit CountingPlanes(const TiffPage& page) : page_(page) {}
    void Take(unsigned plane, Bytes& data) override {
        taken.push_back(plane);
        data.clear();
        const unsigned samples = page_.SegmentSamples();
        for (unsigned i = 0; i < 2 * samples; ++i) {
            for (unsigned byte = 0; byte < page_.bits / 8; ++byte) {
                data.push_back(static_cast<unsigned char>(16 * (plane + i % samples + 1) + i / samples + byte));
            }
        }
    }
    void Give(unsigned plane, Bytes& data) override {
        written.push_back(plane);
        given.insert(given.end(), data.begin(), data.end());
        data.assign(data.size(), 0xee);
    }
    std::vector<unsigned> taken, written;
    Bytes given;

private:
    const TiffPage& page_;
};

/// Numbers in the form of the rows below.
std::string Hex(const auto& numbers) {
    std::ostringstream text;
    for (const unsigned number : numbers) text << std::hex << number << " ";
    return text.str();
}

struct Row {
    const char* name;
    unsigned samples, bits;
    bool planar, premultiplied;
    unsigned compression;
    const char *taken, *written, *pixels;
    const char* given;  ///< all samples that are written
};

constexpr Row kRows[] = {
    {"interleaved samples are one plane", 4, 8, false, false, kDeflate, "0 ", "0 ", "10 20 30 40 11 21 31 41 ",
     "10 20 30 40 11 21 31 41 "},
    {"plain planes that stay need not be read", 5, 16, true, false, kPlain, "0 1 2 ", "0 1 2 ",
     "10 11 20 21 30 31 11 12 21 22 31 32 ", "10 11 11 12 20 21 21 22 30 31 31 32 "},
    {"an alpha that the colours are multiplied by is read and not written", 5, 8, true, true, kPlain, "0 1 2 3 ",
     "0 1 2 ", "10 20 30 40 11 21 31 41 ", "10 11 20 21 30 31 "},
    {"encoded planes are all read for damage", 5, 8, true, false, kDeflate, "0 1 2 3 4 ", "0 1 2 ",
     "10 20 30 11 21 31 ", "10 11 20 21 30 31 "},
    {"a page that changes its compression is written with all planes", 4, 8, true, false, kJpeg, "0 1 2 3 ", "0 1 2 3 ",
     "10 20 30 40 11 21 31 41 ", "10 11 20 21 30 31 40 41 "},
};

TEST(PlaneSetTest, TheColoursOfPlanesBecomePixelsAndPlanesAgain) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        TiffPage page;
        page.samples = row.samples;
        page.bits = row.bits;
        page.planar = row.planar;
        page.premultiplied = row.premultiplied;
        page.compression = row.compression;
        page.written = FormWritten(page);
        PlaneSet planes(page);
        for (int block = 0; block < 2; ++block) {
            CountingPlanes file(page);
            planes.Gather(file, 1);
            EXPECT_EQ(Hex(Bytes(planes.data(), planes.data() + std::string(row.pixels).size() / 3)), row.pixels);
            planes.Scatter(file);
            EXPECT_EQ(Hex(file.taken), row.taken);
            EXPECT_EQ(Hex(file.written), row.written);
            EXPECT_EQ(Hex(file.given), row.given);
        }
    }
}

}  // namespace
}  // namespace hueweave::tool
