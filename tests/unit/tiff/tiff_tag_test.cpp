// SPDX-License-Identifier: MIT
// One IFD entry: its size, what it reads, returns and saves, and the three special kinds.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

using Orvix_Tiff_STL2::ItemWidth;

constexpr unsigned kAt20 = 22 * 256 + 21;  // first 16 bits at offset 20 of bytes that count from 1

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
    for (int type = 0; type < 14; ++type) {
        const auto width = static_cast<int>(kWidths[type]);
        EXPECT_EQ(ItemWidth(Type(type)), width) << type;
        if (type < 12) {
            EXPECT_EQ(Orvix_Tiff_STL2::DataType[type], width) << type;
        }
    }
    for (const int type : {-2147483647 - 1, -1, 14, 15, 255, 256, 32767, 32768, 65535}) {
        EXPECT_EQ(ItemWidth(Type(type)), 0) << type;
    }
}

TEST(TiffTag, KeepsUpToFourBytesInTheEntryAndReadsMore) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    for (unsigned type = 0; type < 14; ++type) {
        SCOPED_TRACE(type);
        const unsigned width = kWidths[type];
        const unsigned most = 4 / width;  // items that fit in the entry
        const TiffTag small(Word(type, 1000), most, 20, stream.get());
        EXPECT_EQ(small.Size(), static_cast<int>(most * width));
        EXPECT_FALSE(small.ValueIsOffset());
        EXPECT_EQ(small.GetData(), nullptr);
        EXPECT_EQ(small.GetValue(), 20U);
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(small.SaveFile(f), 0); }), Bytes());
        const unsigned size = (most + 1) * width;
        const TiffTag large(Word(type, 1000), most + 1, 20, stream.get());
        EXPECT_EQ(large.Size(), static_cast<int>(size));
        EXPECT_TRUE(large.ValueIsOffset());
        EXPECT_EQ(large.value, 20U);
        EXPECT_EQ(DataOf(large), CountingBytes(size, 21));
        EXPECT_EQ(large.GetValue(), kAt20);
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(large.SaveFile(f), static_cast<int>(most + 1)); }),
                  CountingBytes(size, 21));
    }
}

TEST(TiffTag, IsCarriedAsItStandsWithAnUnknownTypeOrASizeThatAnIntCannotHold) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    std::vector<std::pair<unsigned, unsigned>> rows{{4, 0x20000000}, {4, 0x40000002}};  // 2^31 bytes, and 8 in 32 bits
    for (const unsigned type : {14U, 15U, 255U, 256U, 32767U, 32768U, 65535U}) {
        for (const unsigned count : {0U, 1U, 5U, 0xffffffffU}) rows.emplace_back(type, count);
    }
    for (const auto& [type, count] : rows) {
        SCOPED_TRACE(testing::Message() << count << " of type " << type);
        const TiffTag tag(Word(type, 1000), count, 20, stream.get());
        EXPECT_EQ(tag.Size(), 0);
        EXPECT_EQ(tag.GetData(), nullptr);
        EXPECT_FALSE(tag.ValueIsOffset());
        EXPECT_EQ(tag.GetValue(), 20U);
        EXPECT_EQ(tag.count, count);
        EXPECT_EQ(SavedTag(tag), Bytes());
    }
}

TEST(TiffTag, AnswersTheLowHalfOfItsFirstItem) {
    const FileHandle longs = StreamOf(ByteWriter().Little32(0x12348765).Little32(7).Done());
    EXPECT_EQ(TiffTag(Word(4, 273), 2, 0, longs.get()).GetValue(), 0x8765U) << "zero-extended";
    const FileHandle rational = StreamOf(ByteWriter().Little32(0x0001fffe).Little32(100).Done());
    EXPECT_EQ(TiffTag(Word(5, 33434), 1, 0, rational.get()).GetValue(), 0xfffeU);
}

TEST(TiffTag, AnswersAllOfTheEntryForDataThatFitInIt) {
    for (const std::uint32_t count : {0U, 1U, 4U, 5U}) {
        const TiffTag tag(Sig(1000), Type(1), count, 0x12345678, new unsigned char[8]{9, 8, 7, 6, 5, 4, 3, 2});
        EXPECT_EQ(tag.ValueIsOffset(), count == 5);
        EXPECT_EQ(tag.GetValue(), count == 5 ? 0x0809U : 0x12345678U) << count;
        EXPECT_EQ(SavedTag(tag), count == 5 ? (Bytes{9, 8, 7, 6, 5}) : Bytes()) << count;
        EXPECT_EQ(tag.value, 0x12345678U);
    }
}

TEST(TiffTag, TakesAsManyBytesAsTheFileHasAndZerosBehindIt) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    EXPECT_EQ(DataOf(TiffTag(Word(1, 1000), 64, 0, stream.get())), CountingBytes(64));
    EXPECT_EQ(TiffTag(Word(1, 1000), 65, 0, stream.get()).GetData(), nullptr);
    EXPECT_EQ(TiffTag(Word(1, 1000), 0x7fffffff, 20, stream.get()).Size(), 0x7fffffff);
    const TiffTag most(Word(4, 1000), 0x1fffffff, 20, stream.get());
    EXPECT_EQ(most.Size(), 0x7ffffffc);
    EXPECT_EQ(most.GetData(), nullptr);
    EXPECT_EQ(most.GetValue(), 0U);
    EXPECT_EQ(SavedTag(most), Bytes());
    EXPECT_EQ(DataOf(TiffTag(Word(1, 1000), 10, 60, stream.get())), Padded({61, 62, 63, 64}, 10));
    for (const unsigned place : {64U, 0x7fffffffU}) {
        EXPECT_EQ(DataOf(TiffTag(Word(1, 1000), 10, place, stream.get())), Bytes(10, 0)) << place;
    }
}

TEST(TiffTag, ReadsFromTheFilesStartWhereverTheStreamStands) {
    const FileHandle stream = StreamOf(CountingBytes(80));
    std::fseek(stream.get(), 33, SEEK_SET);
    const TiffTag inEntry(Word(4, 1000), 1, 20, stream.get());
    EXPECT_EQ(std::ftell(stream.get()), 33) << "data in the entry leave it alone";
    EXPECT_EQ(DataOf(TiffTag(Word(2, 1000), 6, 20, stream.get())), CountingBytes(6, 21));
    std::fseek(stream.get(), 0, SEEK_END);
    EXPECT_EQ(DataOf(TiffTag(Word(2, 1000), 6, 0, stream.get())), CountingBytes(6, 1));
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, stream.get())), CountingBytes(44, 31));
}

TEST(TiffTag, HasNoDataWithoutAStream) {
    const TiffTag tag(Word(2, 1000), 9, 20, nullptr);
    EXPECT_EQ(tag.GetData(), nullptr);
    EXPECT_TRUE(tag.ValueIsOffset());
    EXPECT_EQ(tag.GetValue(), 0U);
    EXPECT_EQ(tag.value, 20U);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 0); }), Bytes());
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
        unsigned type;
        unsigned count;
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

TEST(TiffTag, HasAsManyOfACallersBytesAsItCountsWhenItIsSaved) {
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

TEST(TiffTag, ReplacesWhatItHeldByWhatItAdoptsOrMakes) {
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

// BitsPerSample

TEST(BitsPerSampleTag, IsMadeWithAnItemForEachOfSeveralSamples) {
    struct Row {
        unsigned type;
        unsigned count;
        std::uint32_t value;
        unsigned answer;
        Bytes data;
        Bytes saved;
    };
    const Bytes cut{0x45, 0x23, 0x45, 0x23, 0x45, 0x23, 0x45, 0x23};
    for (const Row& row : {Row{3, 0, 16, 0, {}, {}},                                 // an empty array
                           Row{3, 1, 0x12345, 0x12345, {}, {}},                      // no array
                           Row{3, 2, 16, 16, {16, 0, 16, 0}, {}},                    // not saved
                           Row{3, 3, 8, 8, {8, 0, 8, 0, 8, 0}, {8, 0, 8, 0, 8, 0}},  //
                           Row{3, 4, 0x12345, 0x2345, cut, cut},                     // 16 bits of each item
                           Row{3, 5, 0x101, 0x101, Bytes(10, 1), Bytes(10, 1)},      //
                           Row{4, 3, 8, 8, {8, 0, 8, 0, 8, 0}, Padded({8, 0, 8, 0, 8, 0}, 12)}}) {  // still shorts
        SCOPED_TRACE(testing::Message() << row.count << " of type " << row.type << ": " << row.value);
        const BitsPerSampleTag tag(Word(row.type, 258), row.count, row.value, nullptr);
        EXPECT_EQ(FieldsOf(tag), (Fields{258, static_cast<int>(row.type), row.count, row.value}));
        EXPECT_EQ(tag.GetData() == nullptr, row.count == 1);
        EXPECT_EQ(DataOf(tag), row.data);
        EXPECT_EQ(tag.GetValue(), row.answer);
        EXPECT_EQ(SavedTag(tag), row.saved);
    }
}

TEST(BitsPerSampleTag, IsMadeWithoutItemsThatAnIntCannotSize) {
    for (const unsigned count : {0x40000000U, 0x7fffffffU, 0xffffffffU}) {
        EXPECT_EQ(BitsPerSampleTag(Word(3, 258), count, 8, nullptr).GetData(), nullptr) << count;
    }
}

TEST(BitsPerSampleTag, AnswersTheEntryForOneSampleAndTheFirstItemForMore) {
    struct Row {
        unsigned type;
        unsigned count;
        unsigned answer;
    };
    const FileHandle stream = StreamOf(CountingBytes(64));
    for (const auto& [type, count, answer] :
         {Row{3, 0, 0}, Row{3, 1, 20}, Row{3, 3, kAt20}, Row{3, 32, kAt20}, Row{3, 33, 0},  // the file is shorter
          Row{1, 0, 0}, Row{1, 4, 0}, Row{1, 5, kAt20},                                     // in fact two items
          Row{4, 1, 20}, Row{4, 2, kAt20},                                                  //
          Row{5, 1, 20}, Row{5, 2, kAt20}, Row{14, 3, 0}}) {                                // the value is in the entry
        EXPECT_EQ(BitsPerSampleTag(Word(type, 258), count, 20, stream.get()).GetValue(), answer)
            << count << " of type " << type;
    }
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 1, 0x00120008, stream.get()).GetValue(), 0x00120008U) << "all of it";
}

TEST(BitsPerSampleTag, AnswersNothingForTwoSamplesInTheEntry) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 2, 0x00080008, stream.get()).GetValue(), 0U);
}

TEST(BitsPerSampleTag, AnswersTheFirstOfDifferentDepths) {
    Bytes bytes{0, 0, 16, 0, 8, 0, 1, 0};
    const FileHandle stream(fmemopen(bytes.data(), bytes.size(), "rb"));  // has no descriptor
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 3, 2, stream.get()).GetValue(), 16U);
    EXPECT_EQ(std::ftell(stream.get()), 8);
}

// XResolution and YResolution

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

TEST(ResolutionTag, DividesUnsignedAndTruncates) {
    struct Row {
        std::uint32_t numerator;
        std::uint32_t denominator;
        std::uint32_t answer;
    };
    constexpr std::uint32_t kAllBits = 0xffffffffU;
    for (const auto& [numerator, denominator, answer] :
         {Row{30000, 100, 300}, Row{7, 2, 3}, Row{0, 5, 0}, Row{kAllBits, 1, kAllBits}, Row{kAllBits, 0x80000000U, 1},
          Row{72, 0, 0}, Row{0, 0, 0}, Row{kAllBits, kAllBits, 1}}) {
        const Bytes rational = ByteWriter().Little32(numerator).Little32(denominator).Done();
        const FileHandle stream = StreamOf(Joined({Bytes(3), rational, Bytes(8, 7)}));
        EXPECT_EQ(ResolutionTag(Word(5, 282), 1, 3, stream.get()).GetValue(), answer);
        const ResolutionTag two(Word(5, 282), 2, 3, stream.get());
        EXPECT_EQ(two.GetValue(), answer) << "the first of two";
        EXPECT_EQ(SavedTag(two), Joined({rational, Bytes(8, 7)}));
    }
}

TEST(ResolutionTag, NeedsEightBytesOfAnyType) {
    const FileHandle stream = StreamOf(ByteWriter().Little32(0xfffffffeU).Little32(2).Fill(20).Done());
    EXPECT_EQ(ResolutionTag(Word(1, 282), 7, 0, stream.get()).GetValue(), 0U);
    EXPECT_EQ(ResolutionTag(Word(1, 282), 8, 0, stream.get()).GetValue(), 0x7fffffffU);
    EXPECT_EQ(ResolutionTag(Word(4, 282), 2, 0, stream.get()).GetValue(), 0x7fffffffU);
    EXPECT_EQ(ResolutionTag(Word(3, 282), 1, 72, stream.get()).GetValue(), 0U) << "a number in the entry";
    EXPECT_EQ(ResolutionTag(Word(4, 282), 1, 72, stream.get()).GetValue(), 0U);
}

// The Exif pointer

TEST(ExifTag, TakesFortyFourBytesWhereverItPoints) {
    const FileHandle stream = StreamOf(CountingBytes(100));
    const Exif_IFD_Tag tag(Word(4, 34665), 1, 11, stream.get());
    EXPECT_EQ(std::ftell(stream.get()), 55);
    EXPECT_EQ(DataOf(tag), CountingBytes(44, 12));
    EXPECT_EQ(FieldsOf(tag), (Fields{34665, 4, 1, 11}));
    EXPECT_EQ(tag.GetValue(), 11U) << "the place, not the data";
    EXPECT_EQ(SavedTag(tag), Bytes()) << "one LONG is in the entry";
}

TEST(ExifTag, HasZerosBehindTheFileAndWithoutAStream) {
    const FileHandle stream = StreamOf(CountingBytes(50));
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, stream.get())), Padded(CountingBytes(20, 31), 44));
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 50, stream.get())), Bytes(44, 0));
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, nullptr)), Bytes(44, 0));
}

TEST(ExifTag, ServesLargerCountsFromTheFortyFourBytes) {
    const FileHandle stream = StreamOf(CountingBytes(100));
    const Exif_IFD_Tag two(Word(4, 34665), 2, 11, stream.get());
    EXPECT_EQ(DataOf(two), CountingBytes(44, 12));
    EXPECT_EQ(two.GetValue(), 13U * 256U + 12U);
    EXPECT_EQ(SavedTag(two), CountingBytes(8, 12));
    EXPECT_EQ(SavedTag(Exif_IFD_Tag(Word(4, 34665), 12, 11, stream.get())), Padded(CountingBytes(44, 12), 48));
}

}  // namespace
}  // namespace hueweave::test
