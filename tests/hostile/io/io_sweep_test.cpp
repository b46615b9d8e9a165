// SPDX-License-Identifier: MIT
// The k-th call of each file function fails, for k = 1, 2, ... until all calls have failed once.
#include "hostile/Hostile.h"
#include "hostile/io/Faults.h"
#include "iccfile/IccFile4.h"
#include "tiff/CTiff.h"

namespace hueweave::test {
namespace {

struct Fault {
    const char* name;
    Io kind;
    Mode mode;
};
void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

std::vector<Fault> EveryFault() {
    return {{"OpenOnce", Io::Open, Mode::Once},         {"OpenOnAndOn", Io::Open, Mode::OnAndOn},
            {"ReadOnce", Io::Read, Mode::Once},         {"ReadOnAndOn", Io::Read, Mode::OnAndOn},
            {"ReadHalf", Io::Read, Mode::Half},         {"WriteOnce", Io::Write, Mode::Once},
            {"WriteOnAndOn", Io::Write, Mode::OnAndOn}, {"WriteHalf", Io::Write, Mode::Half},
            {"SeekOnce", Io::Seek, Mode::Once},         {"SeekOnAndOn", Io::Seek, Mode::OnAndOn},
            {"CloseOnce", Io::Close, Mode::Once},       {"CloseOnAndOn", Io::Close, Mode::OnAndOn},
            {"StatusOnce", Io::Status, Mode::Once},     {"StatusOnAndOn", Io::Status, Mode::OnAndOn}};
}

class IoSweepTest : public HostileTest, public testing::WithParamInterface<Fault> {
protected:
    /// Call k of the row's kind fails.
    template <typename... Steps>
    std::uint64_t Sweep(const Steps&... steps) {
        return HostileTest::Sweep([](std::uint64_t k) { return Faults(GetParam().kind, GetParam().mode, k); },
                                  steps...);
    }

    const MiniTiff image_{10, 10, 3, 8, SamplePixels(), Bytes(100, 1)};
};

/// Whether an operation makes calls of the row's kind: if not, the sweep would test nothing.
bool Among(std::initializer_list<Io> kinds, const Fault& fault) {
    return std::find(kinds.begin(), kinds.end(), fault.kind) != kinds.end();
}

TEST_P(IoSweepTest, SetProfile) {
    const Bytes block = Mft2(ShortLut());
    const std::string path = Put("sound.icc", MiniProfile({{"desc", Bytes(64, 1)}, {"A2B0", block}}));
    ASSERT_EQ(Bind(path), 8);
    const Bytes golden = ConvertedPixels();
    // In a table whose second half could not be read, that half is zeros.
    Bytes halfBlock(block.begin(), block.begin() + static_cast<std::ptrdiff_t>((block.size() + 3) / 4 * 4 / 2));
    halfBlock.resize(block.size());
    ASSERT_EQ(Bind(Put("half.icc", MiniProfile({{"A2B0", halfBlock}}))), 8);
    const Bytes half = ConvertedPixels();
    ASSERT_NE(half, golden);
    std::int32_t space = 0;
    const auto check = [&] {
        const Bytes pixels = ConvertedPixels();
        if (space == kNone) {
            EXPECT_EQ(pixels, Bytes());
        } else {
            EXPECT_EQ(space, 8);
            EXPECT_TRUE(pixels == golden || pixels == SamplePixels() ||
                        (GetParam().mode == Mode::Half && pixels == half));
        }
        Empty();
        EXPECT_EQ(Bind(path), 8);
        EXPECT_EQ(ConvertedPixels(), golden);
    };
    const std::uint64_t calls = Sweep(
        Empty, [&] { space = Bind(path); }, check);
    EXPECT_EQ(calls > 0, Among({Io::Open, Io::Read, Io::Seek, Io::Close, Io::Status}, GetParam()));
}

/// To another file and onto the source itself: a source that could not be read stays unchanged; otherwise it gets the
/// same contents as any other destination.
TEST_P(IoSweepTest, ConvertFile) {
    const std::string source = dir_.File("source.tif"), other = dir_.File("other.tif");
    ASSERT_EQ(Bind(Good()), 8);
    const Bytes before = image_.Build(), golden = Converted(image_).Build();
    const std::string head = GetParam().kind == Io::Open ? "*** " + source + " Open Error. ***\n" : "";
    std::vector<std::pair<std::string, Bytes>> elsewhere, own;  // what is printed and written
    const auto convert = [&](const std::string& dest, auto& outcomes) {
        const auto prepare = [&] {
            Put("source.tif", before);
            Put("other.tif", before);
        };
        return Sweep(
            prepare, [&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); },
            [&] {
                outcomes.emplace_back(printed_, ReadFile(dest));
                EXPECT_TRUE(dest == source || ReadFile(source) == before);
            });
    };
    EXPECT_GT(convert(other, elsewhere), 0U) << "a conversion makes every kind of call";
    convert(source, own);
    ASSERT_EQ(own.size(), elsewhere.size());
    bool untouched = false;
    for (std::size_t n = 0; n < own.size(); ++n) {
        SCOPED_TRACE("call " + std::to_string(n + 1));
        const auto& [log, result] = own[n];
        EXPECT_EQ(log, elsewhere[n].first);
        EXPECT_TRUE(log == kProgress || log == head + kProgress + kNoEntries) << log;
        const bool nothingRead = log.ends_with(kNoEntries);
        EXPECT_EQ(result, nothingRead ? before : elsewhere[n].second);
        EXPECT_TRUE(!Among({Io::Open, Io::Close}, GetParam()) || result == before || result == golden);
        untouched |= nothingRead;
    }
    EXPECT_EQ(own.back().second, golden);
    EXPECT_EQ(untouched, Among({Io::Open, Io::Read}, GetParam()));
}

TEST_P(IoSweepTest, ProfileSaving) {
    const std::string source = Put("sound.icc", MiniProfile(EveryKindOfTag()));
    const std::string dest = dir_.File("dest.icc");
    ICC40::ICCFILE::IccFile4 file;
    ASSERT_EQ(file.ReadFile(source.c_str()), 0);
    ASSERT_EQ(file.SaveFile(dest.c_str()), 0);
    const Bytes golden = ReadFile(dest);
    const std::uint64_t calls =
        Sweep([&] { std::filesystem::remove(dest); }, [&] { EXPECT_EQ(file.SaveFile(dest.c_str()), 0); },
              [&] {
                  EXPECT_EQ(file.SaveFile(dest.c_str()), 0);
                  EXPECT_EQ(ReadFile(dest), golden);
              });
    EXPECT_EQ(calls > 0, Among({Io::Open, Io::Write, Io::Seek, Io::Close}, GetParam()));
}

TEST_P(IoSweepTest, EmbeddedProfiles) {
    const Bytes profile = SizedContainer(Bytes(128), EveryKindOfTag());
    const std::string icc = Put("in.icc", profile);
    const std::string raw = Put("raw", SamplePixels());
    const std::string out = dir_.File("out.icc");
    const auto embed = [&] {
        Orvix_Tiff_STL2::CTiff tiff;
        tiff.CreateNew(10, 10, 300, 3, 8, raw.c_str());
        try {
            tiff.SetIccProfile(icc.c_str());
        } catch (const char* text) {
            EXPECT_STREQ(text, " *** CTiff::SetIccProfile() --> Icc Profile open Fail. *** ");
        }
        tiff.SaveIccProfile(out.c_str());
    };
    const std::uint64_t calls = Sweep([&] { std::filesystem::remove(out); }, embed,
                                      [&] {
                                          embed();
                                          EXPECT_EQ(ReadFile(out), profile);
                                      });
    EXPECT_EQ(calls > 0, Among({Io::Open, Io::Read, Io::Write, Io::Seek, Io::Close, Io::Status}, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Every, IoSweepTest, testing::ValuesIn(EveryFault()),
                         [](const auto& row) { return std::string(row.param.name); });

/// Reads of a profile: header, count and table, then the first 4 MiB of the file at once, then each block outside
/// these.
class FailedProfileReadTest : public testing::Test {
protected:
    /// The saved blocks of a profile after read number `k` failed.
    Bytes With(const Bytes& profile, std::size_t tags, Mode mode, std::uint64_t k) const {
        WriteFile(dir_.File("in.icc"), profile);
        ICC40::ICCFILE::IccFile4 file;
        Faults faults(Io::Read, mode, k);
        EXPECT_EQ(file.ReadFile(dir_.File("in.icc").c_str()), 0);
        faults.Stop();
        EXPECT_TRUE(faults.Failed());
        EXPECT_EQ(file.SaveFile(dir_.File("out.icc").c_str()), 0);
        const Bytes saved = ReadFile(dir_.File("out.icc"));
        return Bytes(saved.begin() + static_cast<std::ptrdiff_t>(132 + 12 * tags), saved.end());
    }

    const Bytes blocks_[2] = {Bytes(40, 0x31), Bytes(64, 0x32)};
    const TempDir dir_;
};

TEST_F(FailedProfileReadTest, BytesThatCouldNotBeReadAreZeros) {
    const Bytes far(4U << 20, 0x33);
    const Bytes profile = MiniProfile({{"long", far}, {"aaaa", blocks_[0]}, {"bbbb", blocks_[1]}});
    for (const Mode mode : {Mode::Once, Mode::Half}) {
        for (const std::size_t bad : {0U, 1U}) {
            Bytes expected[] = {blocks_[0], blocks_[1]};
            const std::size_t read = mode == Mode::Half ? expected[bad].size() / 2 : 0;
            std::fill(expected[bad].begin() + static_cast<std::ptrdiff_t>(read), expected[bad].end(), std::uint8_t{0});
            EXPECT_EQ(With(profile, 3, mode, 6 + bad),
                      ByteWriter().Append(far).Append(expected[0]).Append(expected[1]).Done());
        }
    }
}

TEST_F(FailedProfileReadTest, BlocksAreReadOneByOneWhereTheyCouldNotBeReadAtOnce) {
    const Bytes profile = MiniProfile({{"aaaa", blocks_[0]}, {"bbbb", blocks_[1]}});
    const Bytes all = ByteWriter().Append(blocks_[0]).Append(blocks_[1]).Done();
    EXPECT_EQ(With(profile, 2, Mode::Once, 4), all);
    EXPECT_EQ(With(profile, 2, Mode::Half, 4), all);
    EXPECT_EQ(With(profile, 2, Mode::OnAndOn, 4), Bytes(all.size(), 0));
}

/// Reads of a file in order, and the output when one of them returns nothing.
class FailedReadTest : public HostileTest {
protected:
    FailedReadTest() { EXPECT_EQ(Bind(Good()), 8); }

    /// The output for the sample file when read number `k` fails.
    Bytes With(std::uint64_t k) {
        Printed([&] {
            const Faults faults(Io::Read, Mode::Once, k);
            EXPECT_EQ(Orvix_Icc_ConvertFile(source_.c_str(), dest_.c_str()), 8);
            EXPECT_TRUE(faults.Failed());
        });
        return ReadFile(dest_);
    }

    const MiniTiff image_{10, 10, 3, 8, SamplePixels(), Bytes(100, 1)};
    const std::string source_ = Put("source.tif", image_.Build());
    const std::string dest_ = dir_.File("dest.tif");
};

TEST_F(FailedReadTest, LeavesNothingWithoutADirectoryElseZerosForWhatCouldNotBeRead) {
    for (const std::uint64_t k : {1U, 2U, 3U}) EXPECT_EQ(With(k), Bytes()) << k << ": head, count, directory";
    MiniTiff whole = Converted(image_);
    const std::ptrdiff_t data = 14 + 12 * 11;
    std::uint64_t k = 4;
    // The data of three tags, then the profile's, which is dropped.
    for (const auto& [at, bytes] : {std::pair{data, 6}, {data + 6, 8}, {data + 14, 9}, {data, 0}}) {
        Bytes expected = whole.Build();
        std::fill_n(expected.begin() + at, bytes, std::uint8_t{0});
        EXPECT_EQ(With(k), expected) << k;
        ++k;
    }
    whole.pixels = ConvertedPixels(Bytes(300, 0));
    EXPECT_EQ(With(k), whole.Build()) << "the image";
}

}  // namespace
}  // namespace hueweave::test
