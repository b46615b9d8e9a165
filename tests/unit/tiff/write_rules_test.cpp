// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What a save settles for each type and size, which of repeated tags it serves, and where it writes.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

constexpr unsigned kWidths[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 4, 8, 8, 4};  // bytes an item of types 0 to 13

class CursorTest : public testing::TestWithParam<int> {
protected:
    /// The place that a text behind a tag of this type and count is given, and the value of the tag itself.
    std::pair<std::uint32_t, std::uint32_t> Settle(std::uint32_t count, std::size_t dataSize) {
        Tiff tiff;
        auto tag = std::make_unique<TiffTag>(Sig(1000), Type(GetParam()), count, 77, nullptr);
        if (dataSize > 0) std::fill_n(tag->Allocate(dataSize), dataSize, static_cast<unsigned char>(9));
        tiff.tags.push_back(std::move(tag));
        tiff.tags.push_back(Made(1001, 2, 5, 78, CountingBytes(5)));
        const Bytes file = Saved(tiff);
        EXPECT_EQ(Part(file, 38, 100), Joined({Bytes(dataSize, 9), CountingBytes(5)}));
        return {EntryOf(file, 1001).value, EntryOf(file, 1000).value};
    }
    unsigned Width() const { return kWidths[GetParam()]; }
    bool Special() const { return GetParam() >= 6 && GetParam() <= 9; }
};

TEST_P(CursorTest, MovesByTheSizeOfLargeData) {
    for (const std::uint32_t more : {1U, 2U, 7U}) {
        const std::uint32_t count = 4 / Width() + more;
        EXPECT_EQ(Settle(count, count * Width()), (std::pair{38U + count * Width(), 38U})) << count;
    }
}

TEST_P(CursorTest, MovesByTheSizeOfSmallDataForTypesSixToNineAlone) {
    for (std::uint32_t count = 0; count * Width() <= 4; ++count) {
        const auto expected = Special() ? std::pair{38U + count * Width(), 38U} : std::pair{38U, 77U};
        EXPECT_EQ(Settle(count, 0), expected) << count;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, CursorTest, testing::Range(0, 14));

TEST(ImagesCursor, MovesForTheImagesAndTheExifEntryOfTypeNineToo) {
    // Four bytes for each of both that nobody writes: their places lie eight too far.
    Tiff tiff;
    tiff.tags.push_back(Made(273, 9, 1, 3, CountingBytes(5)));
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    tiff.tags.push_back(Made(34665, 9, 1, 7, CountingBytes(44, 60)));
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntryOf(file, 273), (Fields{273, 9, 1, 58}));
    EXPECT_EQ(EntryOf(file, 34665), (Fields{34665, 9, 1, 63}));
    EXPECT_EQ(Part(file, 50, 200), Joined({CountingBytes(5), CountingBytes(44, 60)}));
}

/// Writes its signature's low byte, whatever its type says.
class NotingTag : public TiffTag {
public:
    NotingTag(unsigned signature, int code, std::uint32_t items, std::vector<unsigned>& saved)
        : TiffTag(Sig(signature), Type(code), items, 7, nullptr), saved_(saved) {}
    int SaveFile(std::FILE* f) const override {
        saved_.push_back(tag);
        std::fputc(static_cast<int>(tag & 0xffU), f);
        return -5;
    }

private:
    std::vector<unsigned>& saved_;
};

TEST(TagData, AreWrittenByEveryTagItselfInListOrder) {
    std::vector<unsigned> saved;
    Tiff tiff;
    for (const auto& [tag, type, count] :
         {std::tuple{900U, 4, 1U}, {34665U, 4, 1U}, {273U, 4, 1U}, {100U, 7, 0U}, {273U, 3, 9U}}) {
        tiff.tags.push_back(std::make_unique<NotingTag>(tag, type, count, saved));
    }
    const std::vector<unsigned> order{900, 34665, 273, 100, 273};
    const Bytes bytes{900 & 0xff, 34665 & 0xff, 273 & 0xff, 100, 273 & 0xff};
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteTagData(f), 0); }), bytes);
    EXPECT_EQ(saved, order);
    saved.clear();
    EXPECT_EQ(Part(Saved(tiff), 14 + 12 * 5, 5), bytes);
    EXPECT_EQ(saved, order) << "each once";
}

TEST(TagData, AreFilledUpToTwiceWhatIsThereAndEightMiB) {
    constexpr unsigned kLimit = 2 * 6 + (8U << 20);
    for (const auto& [count, written] : {std::pair{6U, 6U}, {kLimit, kLimit}, {kLimit + 1, 0U}}) {
        const auto tag = Made(700, 1, count, 0, CountingBytes(6));
        int result = -1;
        const Bytes file = WrittenBy([&](std::FILE* f) { result = tag->SaveFile(f); });
        EXPECT_EQ(result, static_cast<int>(written));
        ASSERT_EQ(file.size(), written);
        if (written == 0) continue;
        EXPECT_EQ(Part(file, 0, 6), CountingBytes(6));
        EXPECT_EQ(std::count(file.begin() + 6, file.end(), 0), static_cast<std::ptrdiff_t>(written) - 6);
    }
}

/// A directory with one LONG, as it stands from byte 8 on.
const Bytes kDirectory = ByteWriter().Little16(1).Little16(256).Little16(4).Little32(1).Little32(3).Little32(0).Done();

TEST(Places, OfTheHeadAreTheStreamsAndOfTheDirectoryEight) {
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    const Bytes file = WrittenBy([&](std::FILE* f) {
        for (int i = 0; i < 4; ++i) std::fputc(7, f);
        EXPECT_EQ(tiff.SaveTiff(f), 0);
    });
    EXPECT_EQ(file, Joined({Bytes(4, 7), {0x49, 0x49, 0x2a, 0x00}, kDirectory}));
}

TEST(Places, OfTheDirectoryAreGoneBackTo) {
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    const Bytes file = WrittenBy([&](std::FILE* f) {
        for (int i = 0; i < 30; ++i) std::fputc(7, f);
        tiff.WriteIFD(f);
        EXPECT_EQ(std::ftell(f), 8 + 18);
    });
    EXPECT_EQ(file, Joined({Bytes(8, 7), kDirectory, Bytes(4, 7)}));
}

TEST(RepeatedTags, HaveOneImageAndOneExif) {
    const FileHandle stream = StreamOf(CountingBytes(120));
    Tiff tiff;
    tiff.tags.push_back(Made(273, 4, 1, 3, CountingBytes(5)));
    tiff.tags.push_back(Made(273, 4, 1, 99, CountingBytes(5, 50)));
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    tiff.AddTags(Word(4, 279), 1, 1000, nullptr);
    tiff.AddTags(Word(4, 34665), 1, 20, stream.get());
    tiff.AddTags(Word(4, 34665), 1, 30, stream.get());
    const Bytes file = Saved(tiff);
    constexpr std::uint32_t kData = 14 + 12 * 6;
    EXPECT_EQ(EntriesOf(file), (std::vector<Fields>{{273, 4, 1, kData},
                                                    {273, 4, 1, 99},
                                                    {279, 4, 1, 5},
                                                    {279, 4, 1, 1000},
                                                    {34665, 4, 1, kData + 5},
                                                    {34665, 4, 1, 30}}));
    EXPECT_EQ(Part(file, kData, 200), Joined({CountingBytes(5), CountingBytes(44, 21)}));
}

TEST(ExifBytes, AreFortyFourOfHoweverManyThereAre) {
    for (const std::size_t held : {20U, 43U, 44U, 45U, 60U}) {
        Tiff tiff;
        tiff.tags.push_back(Made(34665, 4, 1, 7, CountingBytes(held)));
        Bytes expected = CountingBytes(held);
        expected.resize(44, 0);
        EXPECT_EQ(Part(Saved(tiff), 26, 200), expected) << held;
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { tiff.WriteData_Exif_IFD_Tag(f); }), expected) << held;
    }
}

TEST(ExifBytes, AreNoneWithoutTheTag) {
    Tiff tiff;
    tiff.tags.push_back(Made(273, 4, 1, 3, CountingBytes(5)));
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    EXPECT_EQ(Saved(tiff).size(), 38U + 5U);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tiff.WriteData_Exif_IFD_Tag(f), 0); }), Bytes());
}

TEST(LaterSaves, SettleEveryPlaceAnew) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Undefined(34675, CountingBytes(9, 40));
    tiff.Exif(CountingBytes(44, 60));
    const auto rebuilt = [](TiffBuilder builder) {
        Tiff read;
        ReadFrom(read, builder.Build());
        return Saved(read);
    };
    CTiff read;
    ReadFrom(read, tiff.Build());
    const Bytes first = Saved(read);
    EXPECT_EQ(first, rebuilt(tiff));
    read.Tiff::SetTag(Made(40000, 2, 6, 1, CountingBytes(6, 90)).release());
    EXPECT_EQ(Saved(read), rebuilt(tiff.Data(40000, 2, 6, CountingBytes(6, 90))));
    read.RemoveIcc();
    TiffBuilder without = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Exif(CountingBytes(44, 60));
    EXPECT_EQ(Saved(read), rebuilt(without.Data(40000, 2, 6, CountingBytes(6, 90))));
    EXPECT_EQ(Saved(read), Saved(read));
}

TEST(LaterSaves, DoNotSeeAValueSetInATagWithDataElsewhere) {
    Tiff tiff;
    ReadFrom(tiff, ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
    for (const unsigned tag : {258U, 273U, 282U, 305U}) EXPECT_EQ(tiff.SetTagValue(Sig(tag), 12345), 0);
    EXPECT_EQ(tiff.GetTag(Sig(305))->value, 12345U) << "until the save";
    EXPECT_EQ(Saved(tiff), ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
}

TEST(LaterSaves, FindSmallDataOfTypesSixToNineReplaced) {
    for (const unsigned type : {6U, 7U, 8U, 9U}) {
        Tiff tiff;
        ReadFrom(tiff, TiffBuilder().Entry(40000, type, 1, 5).Build());
        EXPECT_EQ(tiff.GetTagValue(Sig(40000)), 5);
        const Bytes first = Saved(tiff);
        EXPECT_EQ(tiff.GetTagValue(Sig(40000)), 26) << "the place where nothing stands";
        EXPECT_EQ(Saved(tiff), first);
    }
}

}  // namespace
}  // namespace hueweave::test
