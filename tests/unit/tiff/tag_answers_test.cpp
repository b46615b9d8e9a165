// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tags one by one: sizes that are made anew, streams that take part of the data, and the factory for every signature.
#include <typeinfo>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(TagSizes, FollowATypeThatChanges) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    TiffTag tag(Word(3, 1000), 6, 20, stream.get());
    ASSERT_EQ(SavedTag(tag), CountingBytes(12, 21));
    tag.type = Type(2);
    EXPECT_TRUE(tag.ValueIsOffset());
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 6); }), CountingBytes(6, 21));
    tag.count = 4;
    EXPECT_FALSE(tag.ValueIsOffset());
    EXPECT_EQ(tag.GetValue(), 20U) << "the entry again";
    EXPECT_EQ(SavedTag(tag), Bytes());
    tag.type = Type(4);
    EXPECT_EQ(tag.GetValue(), 22U * 256U + 21U) << "and the data again";
}

/// A stream that takes so many bytes and no more, one write at a time.
class NarrowStream {
public:
    explicit NarrowStream(std::size_t room)
        : room_(room), stream_(fopencookie(this, "w", {nullptr, Take, nullptr, nullptr})) {
        std::setvbuf(stream_.get(), nullptr, _IONBF, 0);
    }
    std::FILE* Get() const { return stream_.get(); }
    const Bytes& Taken() const { return taken_; }

private:
    static ssize_t Take(void* self, const char* bytes, std::size_t size) {
        auto& narrow = *static_cast<NarrowStream*>(self);
        const std::size_t part = std::min(size, narrow.room_ - narrow.taken_.size());
        narrow.taken_.insert(narrow.taken_.end(), bytes, bytes + part);
        return static_cast<ssize_t>(part);
    }
    std::size_t room_;
    Bytes taken_;
    FileHandle stream_;
};

struct NarrowRow {
    unsigned type;
    unsigned count;
    std::size_t room;
    int items;  ///< whole ones that find room
};
void PrintTo(const NarrowRow& row, std::ostream* out) {
    *out << row.count << " of type " << row.type << ", room for " << row.room << " bytes";
}
class NarrowStreamTest : public testing::TestWithParam<NarrowRow> {};

TEST_P(NarrowStreamTest, CountsTheWholeItemsThatWereTaken) {
    const FileHandle source = StreamOf(CountingBytes(64));
    const TiffTag tag(Word(GetParam().type, 1000), GetParam().count, 8, source.get());
    NarrowStream stream(GetParam().room);
    EXPECT_EQ(tag.SaveFile(stream.Get()), GetParam().items);
    EXPECT_EQ(stream.Taken(), CountingBytes(GetParam().room, 9));
}

INSTANTIATE_TEST_SUITE_P(Some, NarrowStreamTest,
                         testing::Values(NarrowRow{3, 5, 0, 0}, NarrowRow{3, 5, 1, 0}, NarrowRow{3, 5, 7, 3},
                                         NarrowRow{3, 5, 10, 5}, NarrowRow{4, 3, 11, 2}, NarrowRow{4, 3, 12, 3},
                                         NarrowRow{5, 2, 7, 0}, NarrowRow{5, 2, 8, 1}, NarrowRow{1, 9, 4, 4}),
                         [](const auto& row) {
                             return "Type" + std::to_string(row.param.type) + "RoomOf" + std::to_string(row.param.room);
                         });

TEST(DepthAnswers, AreTheFirstWhicheverIsTheGreatest) {
    for (const auto& depths : {std::vector<unsigned>{16, 8, 1}, {1, 16, 16}, {0, 8, 8}, {8, 8, 1}}) {
        ByteWriter items;
        for (const unsigned depth : depths) items.Little16(depth);
        const FileHandle stream = StreamOf(items.Done());
        EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 3, 0, stream.get()).GetValue(), depths[0]);
    }
}

TEST(DepthAnswers, OfNoSampleHaveAnArrayAllTheSame) {
    // An empty one, where one sample has none at all.
    EXPECT_NE(BitsPerSampleTag(Word(3, 258), 0, 8, nullptr).GetData(), nullptr);
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 1, 8, nullptr).GetData(), nullptr);
}

TEST(DepthAnswers, MadeKeepTheirFourFields) {
    for (const unsigned count : {0U, 1U, 2U, 3U, 7U}) {
        EXPECT_EQ(FieldsOf(BitsPerSampleTag(Word(3, 258), count, 12, nullptr)), (Fields{258, 3, count, 12}));
    }
}

TEST(ExifAnswers, LeaveTheStreamBehindTheFortyFourBytes) {
    const FileHandle stream = StreamOf(CountingBytes(100));
    const Exif_IFD_Tag tag(Word(4, 34665), 1, 11, stream.get());
    EXPECT_EQ(std::ftell(stream.get()), 55);
}

TEST(Factory, MakesAPlainTagForEverySignatureButFour) {
    Tiff tiff;
    for (unsigned tag = 0; tag <= 0xffff; ++tag) {
        const unsigned type = tag % 17;  // plays no part
        const std::unique_ptr<TiffTag> made = tiff.CreateTag(Word(type, tag), 2, 77, nullptr);
        ASSERT_NE(made, nullptr) << tag;
        const TiffTag& object = *made;
        const std::type_info& kind = tag == 258                 ? typeid(BitsPerSampleTag)
                                     : tag == 282 || tag == 283 ? typeid(ResolutionTag)
                                     : tag == 34665             ? typeid(Exif_IFD_Tag)
                                                                : typeid(TiffTag);
        ASSERT_TRUE(typeid(object) == kind) << tag;
        ASSERT_EQ(FieldsOf(object), (Fields{tag, static_cast<int>(type), 2, 77}));
    }
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(Factory, BuildsWhatItsKindBuilds) {
    Tiff tiff;
    const auto depths = tiff.CreateTag(Word(3, 258), 3, 8, nullptr);
    EXPECT_EQ(DataOf(*depths), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(SavedTag(*depths).size(), 6U);
    for (const unsigned tag : {282U, 283U}) {
        const auto resolution = tiff.CreateTag(Word(5, tag), 1, 72, nullptr);
        EXPECT_EQ(resolution->GetValue(), 72U);
        EXPECT_EQ(DataOf(*resolution), ByteWriter().Little32(7200).Little32(100).Done());
    }
    const FileHandle stream = StreamOf(CountingBytes(100));
    EXPECT_EQ(DataOf(*tiff.CreateTag(Word(4, 34665), 1, 11, stream.get())), CountingBytes(44, 12));
    EXPECT_EQ(DataOf(*tiff.CreateTag(Word(3, 258), 3, 11, stream.get())), CountingBytes(6, 12));
    EXPECT_EQ(DataOf(*tiff.CreateTag(Word(5, 283), 1, 11, stream.get())), CountingBytes(8, 12));
}

TEST(Factory, DropsNoSignatureBetweenAReadAndASave) {
    // The known ones, but for those of the image's layout, and some that nobody knows; at most 29 in a file.
    std::vector<unsigned> all{254, 255, 259, 280, 281, 296, 297, 301, 305,   306,   513,   514,   515,   529,  530,
                              531, 532, 700, 0,   1,   253, 400, 999, 33432, 33723, 34377, 34675, 65000, 65535};
    for (const auto& [first, last] :
         {std::pair{262U, 266U}, {269U, 272U}, {285U, 293U}, {315U, 325U}, {332U, 334U}, {336U, 343U}, {517U, 521U}}) {
        for (unsigned tag = first; tag <= last; ++tag) all.push_back(tag);
    }
    all.push_back(274);
    for (std::size_t from = 0; from < all.size(); from += 29) {
        const std::vector<unsigned> some(all.begin() + static_cast<std::ptrdiff_t>(from),
                                         all.begin() + static_cast<std::ptrdiff_t>(std::min(from + 29, all.size())));
        TiffBuilder tiff;
        for (const unsigned tag : some) tiff.Text(tag, "text " + std::to_string(tag));
        const Bytes file = tiff.Build();
        Tiff read;
        EXPECT_EQ(ReadFrom(read, tiff.GapBeforeDirectory(5).Build()), 0);
        EXPECT_EQ(Signatures(read), some);
        EXPECT_EQ(Saved(read), file);
    }
}

}  // namespace
}  // namespace hueweave::test
