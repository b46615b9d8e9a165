// SPDX-License-Identifier: MIT
// Sample profiles truncated at every byte, and with every bit of the tag table and of table headers flipped; and field
// values that would cause a bad division.
#include <cfenv>
#include <optional>

#include "hostile/Hostile.h"
#include "iccfile/IccFile4.h"
#include "support/ProfileBuilder.h"
#include "support/ReferencePipeline.h"
#include "support/ReferenceProfile.h"

namespace hueweave::test {
namespace {

TagList TagsOf(const ICC40::ICCFILE::IccFile4& file) {
    TagList tags;
    for (const auto& tag : file.tagList) {
        const std::string name = SignatureText(static_cast<std::uint32_t>(tag->tagSig));
        tags.emplace_back(name, Bytes(tag->tagData.get(), tag->tagData.get() + tag->tagSize));
    }
    return tags;
}

class ProfileSweepTest : public HostileTest {
protected:
    /// The container has exactly the tags that the reference reader finds, and the engine gives the reference's results
    /// for those tags.
    void Check(const Bytes& file, const std::string& what) {
        const std::string path = Put("bad.icc", file);
        const TagList tags = ReadTags(file);
        ICC40::ICCFILE::IccFile4 container;
        ASSERT_EQ(container.ReadFile(path.c_str()), 0) << what;
        ASSERT_EQ(TagsOf(container), tags) << what;
        Empty();
        if (!expected_ || expected_->tags != tags) expected_ = Reference(path, tags);
        ASSERT_EQ(Bind(path), expected_->space) << what;
        ASSERT_EQ(ConvertedPixels(), expected_->pixels) << what;
    }

    void FlipBits(const Bytes& file, std::size_t from, std::size_t to) {
        FlipEveryBit(file, from, to, [&](const Bytes& bad, const std::string& what) { Check(bad, what); });
    }

private:
    struct Expected {
        TagList tags;
        std::int32_t space;
        Bytes pixels;  ///< empty if the engine refuses
    };
    static Expected Reference(const std::string& path, const TagList& tags) {
        ReferenceEngine reference({{path, tags}});
        reference.SetProfile(path, 0, 0, 8, 0, 0, 0);
        if (reference.outputSpace == 65535) return {tags, 65535, {}};
        const bool converts = reference.CanConvert();
        return {tags, reference.outputSpace, converts ? reference.Convert(SamplePixels()) : SamplePixels()};
    }

    std::optional<Expected> expected_;  ///< for the previous tags: most changes leave the tags unchanged
};

TEST_F(ProfileSweepTest, CutAtEveryByte) {
    for (const Bytes& file : {MiniProfile(EveryKindOfTag()), MiniProfile({{"A2B1", MftAB(ShortLut())}})}) {
        CutAtEveryByte(file, [&](const Bytes& cut, const std::string& what) { Check(cut, what); });
    }
}

/// A block that ends early in a file that contains all of it: the table decoder, not the container, must detect it.
TEST_F(ProfileSweepTest, BlockDeclaredShorterByEveryByte) {
    for (const Bytes& block : {Mft2(ShortLut()), MftAB(ShortLut())}) {
        const Bytes file = MiniProfile({{"A2B0", block}});
        for (std::size_t size = 0; size < block.size(); ++size) {
            Check(ByteWriter().Append(file).PatchBig32(140, static_cast<std::uint32_t>(size)).Done(),
                  "a block of " + std::to_string(size) + " bytes");
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(ProfileSweepTest, EveryBitOfTheTagTable) {
    const TagList tags = EveryKindOfTag();
    FlipBits(MiniProfile(tags), 128, 132 + 12 * tags.size());
}

TEST_F(ProfileSweepTest, EveryBitOfAnMft2Header) { FlipBits(MiniProfile({{"A2B0", Mft2(ShortLut())}}), 144, 144 + 52); }

TEST_F(ProfileSweepTest, EveryBitOfAnMabHeader) {
    const Bytes block = MftAB(ShortLut());
    const Bytes file = MiniProfile({{"A2B0", block}});
    FlipBits(file, 144, 144 + 32);  // channels and offsets
    const std::size_t grid = 144 + Big32At(block, 24);
    FlipBits(file, grid, grid + 20);  // points and precision
    const std::size_t curves = 144 + Big32At(block, 28);
    FlipBits(file, curves, curves + 12);  // type and count of the first curve
}

#if defined(__x86_64__) && defined(__GLIBC__)
/// In a host that traps division by zero and invalid operations, no file may cause either.
TEST_F(ProfileSweepTest, NoFileDividesByZero) {
    std::vector<std::string> paths;
    for (const unsigned points : {0U, 1U, 2U, 3U, 33U, 34U}) {
        for (const unsigned entries : {0U, 1U, 2U, 3U}) {
            Bytes block = Mft2(ShortLut());
            block[10] = static_cast<unsigned char>(points);
            block[49] = static_cast<unsigned char>(entries);
            block[51] = static_cast<unsigned char>(entries);
            block.resize(400000, 0x33);
            paths.push_back(Put("p" + std::to_string(paths.size()), MiniProfile({{"A2B0", block}})));
        }
    }
    Bytes zero = MiniTiff{2, 2, 3, 8, Bytes(12, 1), {}}.Build();
    std::fill(zero.begin() + 14 + 12 * 11 + 6, zero.begin() + 14 + 12 * 11 + 14, std::uint8_t{0});
    const std::string image = Put("zero.tif", zero);
    const std::string dest = dir_.File("dest.tif");
    const std::string good = Good();
    const auto convert = [&] {
        if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
        feenableexcept(FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW);
        for (const std::string& path : paths) {
            Bind(path);
            Orvix_Icc_Adjust(1, 1, 1, nullptr, nullptr, nullptr, 0);
        }
        Bind(good);
        return Orvix_Icc_ConvertFile(image.c_str(), dest.c_str()) == 8 ? 0 : 2;
    };
    EXPECT_EXIT(_exit(convert()), testing::ExitedWithCode(0), "");
    EXPECT_EQ(ReadFile(dest).size(), zero.size());
}
#endif

}  // namespace
}  // namespace hueweave::test
