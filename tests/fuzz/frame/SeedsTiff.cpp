// SPDX-License-Identifier: MIT
#include "Seeds.h"
#include "support/MiniTiff.h"
#include "support/TiffBuilder.h"

namespace hueweave::fuzz {
namespace {

using namespace test;

TiffBuilder Small() { return ChunkyTiff(2, 2, 3, 8, CountingBytes(12)); }

/// One strip, planes, a bilevel image in planes, and several strips: the four layouts of an image.
void SowPaths(const Sow& sow) {
    for (const unsigned samples : {1U, 2U, 3U, 4U, 5U}) {
        for (const unsigned bits : {1U, 8U, 16U}) {
            const unsigned row = (5 * bits + 7) / 8;
            const Bytes pixels = CountingBytes(std::size_t{row} * samples * 4);
            const std::vector<Bytes> planes(samples, CountingBytes(row * 4));
            sow(Name("chunky", samples, bits), ChunkyTiff(5, 4, samples, bits, pixels).Build());
            sow(Name("planar", samples, bits), PlanarTiff(5, 4, samples, bits, 4, planes).Build());
            sow(Name("planar-strips", samples, bits), PlanarTiff(5, 4, samples, bits, 2, planes).Build());
            for (const unsigned type : {1U, 3U, 4U, 5U, 7U}) {
                TiffBuilder strips = TiffBuilder().Shape(5, 4, samples, bits);
                for (int n = 0; n < 4; ++n) strips.Strip(CountingBytes(row * samples, static_cast<unsigned>(n)));
                const bool isMoved = type == 5 || type == 7;
                strips.StripOffsets(isMoved ? 4 : type).Long(278, 1).StripByteCounts(isMoved ? 3 : type);
                if (type == 5) strips.StripsBackwards();
                if (type == 7) strips.GapBeforeStrips(300);
                sow(Name("strips", samples, bits, type), strips.Build());
            }
        }
    }
}

/// Every type of entry, with the value in the entry and outside it; counts at the limits.
void SowEntries(const Sow& sow) {
    for (const unsigned type : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 13U, 14U, 255U, 65535U}) {
        for (const std::uint32_t count : {0U, 1U, 2U, 4U, 5U, 0x0fffffffU, 0x20000000U, 0xffffffffU}) {
            sow(Name("type", type, count), Small().Data(305, type, count, CountingBytes(40)).Build());
        }
    }
    for (const unsigned tag : {256U, 257U, 258U, 273U, 277U, 278U, 279U, 282U, 284U, 34665U, 34675U}) {
        for (const std::uint32_t value : {0U, 1U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
            TiffBuilder file;
            file.Long(tag, value).Shape(2, 2, 3, 8).Strip(CountingBytes(12));
            file.StripOffsets().Long(278, 2).StripByteCounts().Rational(282, 300, 1);
            sow(Name("value", tag, value), file.Build());
            TiffBuilder twice;
            twice.Shape(2, 2, 3, 8).Strip(CountingBytes(12)).Short(tag, 3).Data(tag, 3, value, CountingBytes(64));
            sow(Name("twice", tag, value), twice.Build());
        }
    }
}

void SowDirectories(const Sow& sow) {
    const Bytes sound = MiniTiff{5, 4, 3, 8, CountingBytes(60), Bytes(40, 0x42)}.Build();
    for (std::size_t size = 0; size < sound.size(); size += size < 20 ? 1 : 9) {
        sow(Name("cut", size), Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size)));
    }
    for (const unsigned count : {0U, 1U, 28U, 29U, 30U, 65535U}) {
        TiffBuilder file = Small();
        for (unsigned n = 0; n < 18; ++n) file.Short(40000 + n, n);
        sow(Name("entries", count), file.EntryCount(count).Build());
    }
    for (const std::uint32_t place : {0U, 1U, 4U, 8U, 9U, 100U, 0x7fffffffU, 0xffffffffU}) {
        sow(Name("directory", place), Small().DirectoryAt(place).Build());
    }
    for (const char* head : {"MM", "II", "IM", "  "}) {
        const Bytes first = ByteWriter().Text(head).Little16(42).Done();
        sow(std::string("head-") + head, Small().Head(first).Build());
    }
    sow("exif", Small().Exif(CountingBytes(60)).Build());
    sow("exif-cut", Small().Entry(34665, 4, 1, 200).Build());
    sow("profile", Small().Undefined(34675, CountingBytes(50)).Build());
    sow("profile-alone", TiffBuilder().Undefined(34675, CountingBytes(50)).Build());
    sow("no-resolution", Small().Rational(283, 1, 0).Build());
    sow("gap", ChunkyTiff(2, 2, 3, 16, CountingBytes(24)).GapBeforeDirectory(50).Trailer(Bytes(9, 1)).Build());
}

}  // namespace

void SowTiffs(const Sow& sow) {
    SowPaths(sow);
    SowEntries(sow);
    SowDirectories(sow);
}

}  // namespace hueweave::fuzz
