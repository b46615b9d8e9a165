// SPDX-License-Identifier: MIT
// Destinations that cannot be written, and sources that must not be lost.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <iostream>

#include "base/FileHandle.h"
#include "hostile/TiffRun.h"

namespace hueweave::test {
namespace {

class SavingTest : public TiffRun {
protected:
    Bytes Image() const { return MiniTiff{200, 200, 3, 8, Bytes(120000, 0x42), Bytes(100, 1)}.Build(); }
    Bytes Expected() const { return MiniTiff{200, 200, 3, 8, ConvertedPixels(Bytes(120000, 0x42)), {}}.Build(); }
    std::string Source() const { return Put("source.tif", Image()); }
};

TEST_F(SavingTest, ADestinationThatCannotBeWrittenLooksLikeASuccess) {
    const std::string source = Source();
    const std::string pipe = dir_.File("unread");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& dest : {std::string("/dev/full"), dir_.Path(), dir_.File("absent/dest.tif"), pipe}) {
        EXPECT_EQ(Convert(source, dest), kProgress) << dest;
    }
    EXPECT_EQ(Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), nullptr), 8); }), kProgress);
    EXPECT_EQ(ReadFile(source), Image());
}

TEST_F(SavingTest, APipesReaderGetsTheWholeFile) {
    const std::string pipe = dir_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_EQ(fcntl(reader, F_SETFL, O_RDONLY), 0);
    // More than a pipe can hold.
    auto received = std::async(std::launch::async, [reader] {
        pollfd writer{reader, POLLIN, 0};
        poll(&writer, 1, 60000);  // without a writer, a read would return the end of the file
        Bytes bytes, part(4096);
        for (ssize_t got = read(reader, part.data(), part.size()); got > 0;
             got = read(reader, part.data(), part.size())) {
            bytes.insert(bytes.end(), part.begin(), part.begin() + got);
        }
        return bytes;
    });
    EXPECT_EQ(Convert(Source(), pipe), kProgress);
    EXPECT_EQ(received.get(), Expected());
    close(reader);
}

TEST_F(SavingTest, SpecialSourcesAreImagesWithoutTags) {
    const std::string pipe = dir_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& source : {dir_.Path(), pipe, std::string("/dev/zero"), std::string("/dev/null")}) {
        WriteFile(dest_, Bytes(10, 1));
        EXPECT_EQ(Convert(source, dest_), kProgress + kNoEntries) << source;
        EXPECT_EQ(ReadFile(dest_), Bytes()) << source;
    }
}

TEST_F(SavingTest, ASourceThatIsNoImageSurvivesBeingItsOwnDestination) {
    const std::string source = Put("foreign.tif", Bytes(5000, 0x4d));
    const std::string hard = dir_.File("hard"), soft = dir_.File("soft");
    ASSERT_EQ(link(source.c_str(), hard.c_str()), 0);
    ASSERT_EQ(symlink(source.c_str(), soft.c_str()), 0);
    for (const std::string& dest : {source, hard, soft}) {
        EXPECT_EQ(Convert(source, dest), kProgress + kNoEntries);
        EXPECT_EQ(Convert(dest, source), kProgress + kNoEntries);
        EXPECT_EQ(ReadFile(source), Bytes(5000, 0x4d)) << dest;
    }
}

/// Whichever standard stream the host has closed: output to it must not end up in a file.
TEST_F(SavingTest, AFileTakesThePlaceOfNoStandardStream) {
    const auto write = [&](unsigned closed) {
        for (int stream = 0; stream < 3; ++stream) {
            if (closed >> stream & 1U) close(stream);
        }
        const FileHandle file = OpenForWriting(dest_.c_str());
        if (file == nullptr) return 1;
        if (fileno(file.get()) < 3) return 2;
        return std::fwrite("abc", 1, 3, file.get()) == 3 ? 0 : 3;
    };
    for (unsigned closed = 0; closed < 8; ++closed) {
        std::filesystem::remove(dest_);
        EXPECT_EXIT(_exit(write(closed)), testing::ExitedWithCode(0), "") << closed;
        EXPECT_EQ(ReadFile(dest_), (Bytes{'a', 'b', 'c'})) << closed;
    }
}

/// Of a failed standard output, whether it throws or not, the log is lost and the file is not.
TEST_F(SavingTest, AStandardOutputThatIsFullOrThrowsLosesTheLogAlone) {
    const std::string source = Source();
    for (const bool throws : {false, true}) {
        const auto convert = [&] {
            if (freopen("/dev/full", "w", stdout) == nullptr) return 1;
            if (throws) {
                std::setvbuf(stdout, nullptr, _IONBF, 0);
                std::cout.exceptions(std::ios::badbit | std::ios::failbit);
                try {
                    std::cout << "a" << std::flush;
                    return 5;
                } catch (const std::ios_base::failure&) {
                }
            }
            if (func1() != 0) return 2;
            if (Orvix_Icc_ConvertFile(dir_.File("absent.tif").c_str(), dest_.c_str()) != 8) return 3;
            return Orvix_Icc_ConvertFile(source.c_str(), dest_.c_str()) == 8 ? 0 : 4;
        };
        EXPECT_EXIT(_exit(convert()), testing::ExitedWithCode(0), "");
        EXPECT_EQ(ReadFile(source), Image());
        EXPECT_EQ(ReadFile(dest_), Expected());
    }
}

}  // namespace
}  // namespace hueweave::test
