// SPDX-License-Identifier: MIT
// One IFD entry: its size, what it reads, returns and saves, and the three special kinds.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

using Orvix_Tiff_STL2::ItemWidth;

TEST(TiffTag, StoresItsArgumentsAndAdoptsTheBytes) {
    EXPECT_EQ(FieldsOf(TiffTag()), (Fields{0, 0, 0, 0}));
    EXPECT_EQ(FieldsOf(TiffTag(Sig(305))), (Fields{305, 0, 0, 0}));
    EXPECT_EQ(TiffTag(Sig(305)).GetData(), nullptr);
    EXPECT_EQ(FieldsOf(TiffTag(Word(3, 262), 1, 2, nullptr)), (Fields{262, 3, 1, 2})) << "the first word is split";
    EXPECT_EQ(FieldsOf(TiffTag(0xffffffffU, 0, 0, nullptr)), (Fields{65535, 65535, 0, 0}));
    auto* bytes = new unsigned char[6]{1, 2, 3, 4, 5, 6};
    const TiffTag tag(Sig(258), Type(3), 3, 77, bytes);
    EXPECT_EQ(FieldsOf(tag), (Fields{258, 3, 3, 77}));
    EXPECT_EQ(tag.GetData(), bytes);
    EXPECT_EQ(tag.GetValue(), 0x0201U);
}

TEST(TiffTag, HasItemsOfTheWidthOfItsType) {
    for (int type = 0; type < 14; ++type) EXPECT_EQ(ItemWidth(Type(type)), static_cast<int>(kWidths[type])) << type;
    for (int type = 0; type < 12; ++type) EXPECT_EQ(Orvix_Tiff_STL2::DataType[type], ItemWidth(Type(type))) << type;
    for (const int type : {-2147483647 - 1, -1, 14, 65535}) EXPECT_EQ(ItemWidth(Type(type)), 0) << type;
}

// Kept, among others: the low 16 bits of the first item answer for an array; two bit depths in the entry give 0; of an
// Exif directory 44 bytes are read; data of types 6 to 9 that fit in the entry are lost and move those that follow.
TEST(TiffTag, MatchesTheReferenceForAFile) {
    std::vector<unsigned> types{255, 256, 32767, 32768, 65535};
    for (unsigned type = 0; type < 16; ++type) types.push_back(type);
    const std::uint32_t counts[] = {0,  1,  2,  3,  4,   5,   6,          7,          8,          9,         10,
                                    12, 32, 33, 64, 322, 323, 0x1fffffff, 0x20000000, 0x40000002, 0x7fffffff};
    constexpr std::uint32_t kFile = 10 + 12 * std::size(counts) + 4 + 56;
    static_assert(kFile == 322);
    for (const unsigned tag : {1000U, 258U, 282U, 283U, 34665U}) {
        for (const unsigned type : types) {
            for (const std::uint32_t place : {11U, kFile - 30, kFile, 0x7fffffffU, 0x80000000U}) {
                TiffBuilder file;
                for (const std::uint32_t count : counts) file.Entry(tag, type, count, place);
                ExpectRead(testing::PrintToString(std::tuple(tag, type, place)), file.Trailer(CountingBytes(56, 200)));
            }
        }
    }
}

TEST(TiffTag, FillsUpToTwiceItsDataAndEightMiB) {
    constexpr unsigned kLimit = 2 * 6 + (8U << 20);
    for (const auto& [count, written] : {std::pair{6U, 6U}, {7U, 7U}, {kLimit, kLimit}, {kLimit + 1, 0U}}) {
        const auto tag = Made(700, 1, count, 0, CountingBytes(6));
        int result = -1;
        const Bytes file = WrittenBy([&](std::FILE* f) { result = tag->SaveFile(f); });
        EXPECT_EQ(result, static_cast<int>(written));
        EXPECT_THAT(file, EqualsBytes(written == 0 ? Bytes() : Padded(CountingBytes(6), written))) << count;
    }
}

TEST(TiffTag, CountsTheWholeItemsThatAStreamTakes) {
    struct Row {
        unsigned type, count;
        std::size_t room;
        int items;  ///< whole items for which there is room
    };
    const FileHandle source = StreamOf(CountingBytes(64));
    for (const auto& [type, count, room, items] :
         {Row{3, 5, 1, 0}, Row{3, 5, 7, 3}, Row{3, 5, 10, 5}, Row{4, 3, 11, 2}, Row{4, 3, 12, 3}, Row{5, 2, 7, 0},
          Row{5, 2, 8, 1}, Row{1, 9, 4, 4}}) {
        SCOPED_TRACE(testing::Message() << count << " of type " << type << ", room for " << room << " bytes");
        const TiffTag tag(Word(type, 1000), count, 8, source.get());
        Bytes taken(room);
        const FileHandle stream(fmemopen(taken.data(), room, "wb"));  // accepts no more
        std::setvbuf(stream.get(), nullptr, _IONBF, 0);
        EXPECT_EQ(tag.SaveFile(stream.get()), items);
        taken.pop_back();  // such a stream ends with a zero byte
        EXPECT_EQ(taken, CountingBytes(room - 1, 9));
    }
}

// The size of adopted data is what the caller states when it is used.

TEST(TiffTag, SavesTheCountedBytesOfACaller) {
    const auto tag = Adopting(1000, 1, 5, CountingBytes(20));
    tag->count = 20;
    EXPECT_EQ(SavedTag(*tag), CountingBytes(20));
    tag->type = Type(3);
    tag->count = 9;
    EXPECT_EQ(SavedTag(*tag), CountingBytes(18));
    const auto small = Adopting(1000, 3, 1, CountingBytes(6));
    EXPECT_EQ(small->GetValue(), 7U) << "the entry's";
    small->count = 3;
    EXPECT_EQ(small->GetValue(), 0x0201U);
    EXPECT_EQ(SavedTag(*small), CountingBytes(6));
    small->data.reset();
    EXPECT_EQ(small->GetValue(), 0U) << "of data that the caller has taken away";
    EXPECT_EQ(SavedTag(*small), Bytes()) << "no items without data";
}

TEST(TiffTag, ReplacesItsDataByAdoptedOrNewData) {
    TiffTag tag(Word(1, 1000), 5, 0, nullptr);
    tag.Allocate(5);
    auto* bytes = new unsigned char[5]{1, 2, 3, 4, 5};
    tag.Adopt(bytes, 5);
    EXPECT_EQ(tag.GetData(), bytes);
    EXPECT_EQ(DataOf(tag), CountingBytes(5));
    std::fill_n(tag.Allocate(5), 5, static_cast<unsigned char>(9));
    tag.count = 2000;
    EXPECT_EQ(SavedTag(tag), Padded(Bytes(5, 9), 2000)) << "as long as it was made";
    tag.Adopt(nullptr, 0);
    EXPECT_EQ(tag.GetData(), nullptr);
}

TEST(BitsPerSampleTag, IsMadeWithAnItemForEachOfSeveralSamples) {
    struct Row {
        unsigned type, count;
        std::uint32_t value;
        unsigned answer;
        Bytes data, saved;
    };
    const Bytes cut{0x45, 0x23, 0x45, 0x23, 0x45, 0x23, 0x45, 0x23};
    for (const Row& row : {Row{3, 0, 16, 0, {}, {}},                                 // an empty array
                           Row{3, 1, 0x12345, 0x12345, {}, {}},                      // no array
                           Row{3, 2, 16, 16, {16, 0, 16, 0}, {}},                    // not saved
                           Row{3, 3, 8, 8, {8, 0, 8, 0, 8, 0}, {8, 0, 8, 0, 8, 0}},  //
                           Row{3, 4, 0x12345, 0x2345, cut, cut},                     // 16 bits of each item
                           Row{3, 5, 0x101, 0x101, Bytes(10, 1), Bytes(10, 1)},      //
                           Row{3, 0x40000000, 8, 0, {}, {}},                         // not as many as an int can size
                           Row{3, 0xffffffff, 8, 0, {}, {}},                         //
                           Row{4, 3, 8, 8, {8, 0, 8, 0, 8, 0}, Padded({8, 0, 8, 0, 8, 0}, 12)}}) {  // still shorts
        SCOPED_TRACE(testing::Message() << row.count << " of type " << row.type << ": " << row.value);
        const BitsPerSampleTag tag(Word(row.type, 258), row.count, row.value, nullptr);
        EXPECT_EQ(FieldsOf(tag), (Fields{258, static_cast<int>(row.type), row.count, row.value}));
        EXPECT_EQ(tag.GetData() == nullptr, row.count == 1 || row.count > 5);
        EXPECT_EQ(DataOf(tag), row.data);
        EXPECT_EQ(tag.GetValue(), row.answer);
        EXPECT_EQ(SavedTag(tag), row.saved);
    }
}

TEST(ResolutionTag, IsMadeAsHundredthsInThirtyTwoBitsAndSavedByItsTypeAndCount) {
    struct Row {
        unsigned type, count;
        std::uint32_t value, numerator, answer;
        std::size_t saved;  ///< bytes
    };
    for (const auto& [type, count, value, numerator, answer, saved] :
         {Row{5, 1, 0, 0, 0, 8}, Row{5, 1, 300, 30000, 300, 8}, Row{5, 1, 42949672, 4294967200U, 42949672, 8},
          Row{5, 1, 42949673, 4, 0, 8}, Row{5, 1, 0x80000001U, 100, 1, 8}, Row{0, 0, 72, 7200, 72, 0},
          Row{1, 5, 72, 7200, 72, 5}, Row{1, 9, 72, 7200, 72, 9}, Row{3, 1, 72, 7200, 72, 0},
          Row{4, 1, 72, 7200, 72, 0}, Row{4, 2, 72, 7200, 72, 8}, Row{5, 0, 72, 7200, 72, 0},
          Row{5, 2, 72, 7200, 72, 16}, Row{11, 1, 72, 7200, 72, 8}, Row{14, 9, 72, 7200, 72, 0}}) {
        SCOPED_TRACE(testing::Message() << count << " of type " << type << ": " << value);
        const Bytes rational = ByteWriter().Little32(numerator).Little32(100).Done();
        const ResolutionTag tag(Word(type, 283), count, value, nullptr);
        EXPECT_EQ(DataOf(tag), rational);
        EXPECT_EQ(tag.GetValue(), answer);
        EXPECT_EQ(FieldsOf(tag), (Fields{283, static_cast<int>(type), count, value}));
        EXPECT_EQ(SavedTag(tag), Part(Padded(rational, 16), 0, saved));
    }
}

TEST(ResolutionTag, MatchesTheReferenceForAFile) {
    constexpr std::uint32_t kAllBits = 0xffffffff;
    using Row = std::pair<std::uint32_t, std::uint32_t>;
    for (const auto& [numerator, denominator] :
         {Row{30000, 100}, Row{7, 2}, Row{0, 5}, Row{kAllBits, 1}, Row{kAllBits, 0x80000000U}, Row{72, 0}, Row{0, 0},
          Row{kAllBits, kAllBits}, Row{kAllBits - 1, 2}}) {
        const Bytes rational = ByteWriter().Little32(numerator).Little32(denominator).Done();
        TiffBuilder file;
        file.Data(282, 5, 1, rational).Data(283, 5, 2, Joined({rational, Bytes(8, 7)}));
        file.Data(282, 1, 7, rational).Data(282, 1, 8, rational).Data(282, 4, 2, rational);
        ExpectRead(std::to_string(numerator) + " / " + std::to_string(denominator), file);
    }
}

TEST(ExifTag, HasZerosWithoutAStream) { EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, nullptr)), Bytes(44, 0)); }

}  // namespace
}  // namespace hueweave::test
