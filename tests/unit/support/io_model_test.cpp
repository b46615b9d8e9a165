// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Long runs of random operations on both streams, beside naive streams over a vector.
#include <algorithm>
#include <random>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

/// Bytes and a place among them. How far an operation may go is each stream's own matter.
struct NaiveStream {
    ByteList bytes;
    std::int64_t place = 0;

    std::int64_t Length() const { return static_cast<std::int64_t>(bytes.size()); }
    /// Where a seek leads, were there no limits.
    std::int64_t Target(int offset, int origin) const {
        if (origin == 0) return offset;
        if (origin == 1) return place + offset;
        if (origin == 2) return Length() + offset;
        return place;
    }
    /// Reads up to `n` bytes; how many there were.
    std::int64_t Take(ByteList& target, std::int64_t n) {
        std::int64_t taken = 0;
        for (; taken < n && place < Length(); ++taken) {
            target[static_cast<std::size_t>(taken)] = bytes[static_cast<std::size_t>(place++)];
        }
        return taken;
    }
};

/// Over a block, which never grows.
struct NaiveBlock : NaiveStream {
    void Write(const ByteList& source, std::int64_t n) {
        for (std::int64_t i = 0; i < n; ++i, ++place) {
            if (place < Length()) bytes[static_cast<std::size_t>(place)] = source[static_cast<std::size_t>(i)];
        }
    }
    std::int64_t Seek(int offset, int origin) {
        const std::int64_t target = Target(offset, origin);
        place = target;
        if (offset > 0 && target > Length()) {
            place = Length();
            return target - Length();
        }
        if (offset <= 0 && target < 0) {
            place = 0;
            return target;
        }
        return offset;
    }
};

/// Over a file, which grows with zeros.
struct NaiveFile : NaiveStream {
    void Write(const ByteList& source, std::int64_t n) {
        if (n == 0) return;
        if (place + n > Length()) bytes.resize(static_cast<std::size_t>(place + n));
        for (std::int64_t i = 0; i < n; ++i) {
            bytes[static_cast<std::size_t>(place++)] = source[static_cast<std::size_t>(i)];
        }
    }
    std::int64_t Seek(int offset, int origin) {
        const std::int64_t target = Target(offset, origin);
        if (origin < 0 || origin > 2 || target < 0) return -1;
        place = target;
        return 0;
    }
};

class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}
    int Draw(int from, int to) { return from + static_cast<int>(engine_() % static_cast<unsigned>(to - from + 1)); }
    ByteList Bytes(int count) {
        ByteList bytes(static_cast<std::size_t>(count));
        for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(engine_() & 0xff);
        return bytes;
    }

private:
    std::mt19937 engine_;
};

constexpr int kMost = 8 * 8;  // bytes that one operation asks for

struct Operation {
    int kind;  ///< 0 read, 1 write, 2 seek
    unsigned long size, count;
    int offset, origin;
};
Operation DrawOperation(Dice& dice) {
    Operation operation{};
    operation.kind = dice.Draw(0, 2);
    operation.size = static_cast<unsigned long>(dice.Draw(0, 8));
    operation.count = static_cast<unsigned long>(dice.Draw(0, 8));
    operation.offset = dice.Draw(-30, 30);
    operation.origin = dice.Draw(-1, 3);
    return operation;
}

void StepBlock(const Operation& step, Dice& dice, IO_Buf& stream, NaiveBlock& model) {
    const auto asked = static_cast<std::int64_t>(step.size * step.count);
    if (step.kind == 2) {
        const int result = stream.Seek(step.offset, step.origin);
        ASSERT_EQ(result, model.Seek(step.offset, step.origin));
    } else if (step.kind == 1) {
        ByteList source = dice.Bytes(kMost);
        const std::uint64_t result = stream.Write(source.data(), step.size, step.count);
        model.Write(source, asked);
        ASSERT_EQ(result, stream.begin + static_cast<std::uint64_t>(model.place));
    } else if (model.place <= model.Length()) {  // no caller reads from beyond the end
        ByteList target(kMost, 0xcc);
        ByteList expected = target;
        const std::uint64_t result = stream.Read(target.data(), step.size, step.count);
        model.Take(expected, asked);
        ASSERT_EQ(target, expected);
        ASSERT_EQ(result, stream.begin + static_cast<std::uint64_t>(model.place));
    }
    ASSERT_EQ(Place(stream), model.place);
}

TEST(IoModelTest, ABlockDoesWhatAVectorDoes) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        Dice dice(seed);
        const int length = dice.Draw(0, 40);
        NaiveBlock model;
        model.bytes = dice.Bytes(length);
        FencedBlock block(model.bytes);
        IO_Buf stream(block.Data(), block.Size());
        for (int i = 0; i < 60; ++i) {
            const Operation step = DrawOperation(dice);
            StepBlock(step, dice, stream, model);
            if (HasFatalFailure()) FAIL() << "seed " << seed << ", step " << i;
            ASSERT_EQ(block.Content(), model.bytes) << "seed " << seed << ", step " << i;
        }
        ASSERT_TRUE(block.FencesStand()) << "seed " << seed;
    }
}

/// `last` is the kind of the operation before: the standard asks for a seek between a read and a write.
void StepFile(const Operation& step, int last, Dice& dice, IO_File& stream, NaiveFile& model) {
    const auto asked = static_cast<std::int64_t>(step.size * step.count);
    if (step.kind != 2 && last != step.kind) {
        ASSERT_EQ(stream.Seek(0, 1), 0);
    }
    if (step.kind == 2) {
        const int result = stream.Seek(step.offset, step.origin);
        ASSERT_EQ(result, model.Seek(step.offset, step.origin));
    } else if (step.kind == 1) {
        ByteList source = dice.Bytes(kMost);
        const std::uint64_t result = stream.Write(source.data(), step.size, step.count);
        ASSERT_EQ(result, step.size == 0 ? 0 : step.count);
        model.Write(source, asked);
    } else {
        ByteList target(kMost, 0xcc);
        ByteList expected = target;
        const std::uint64_t result = stream.Read(target.data(), step.size, step.count);
        const auto taken = static_cast<std::uint64_t>(model.Take(expected, asked));
        ASSERT_EQ(result, step.size == 0 ? 0 : taken / step.size);
        ASSERT_EQ(target, expected);
    }
    ASSERT_EQ(std::ftell(stream.stream), model.place);
}

TEST(IoModelTest, AFileDoesWhatAGrowingVectorDoes) {
    const TempDir folder;
    for (unsigned seed = 0; seed < 60; ++seed) {
        Dice dice(seed);
        const int length = dice.Draw(0, 40);
        NaiveFile model;
        model.bytes = dice.Bytes(length);
        const std::string path = folder.File("bytes");
        PutFile(path, model.bytes);
        IO_File stream(path.c_str(), "r+b");
        int last = 2;
        for (int i = 0; i < 60; ++i) {
            const Operation step = DrawOperation(dice);
            StepFile(step, last, dice, stream, model);
            if (HasFatalFailure()) FAIL() << "seed " << seed << ", step " << i;
            last = step.kind;
        }
        stream.Close();
        ASSERT_EQ(FileBytes(path), model.bytes) << "seed " << seed;
    }
}

TEST(IoModelTest, BothHoldTheSameBytesAsLongAsNothingPassesAnEnd) {
    const TempDir folder;
    const std::string path = folder.File("bytes");
    for (unsigned seed = 0; seed < 40; ++seed) {
        Dice dice(seed);
        ByteList memory = dice.Bytes(64);
        PutFile(path, memory);
        IO_Buf block(memory.data(), memory.size());
        IO_File file(path.c_str(), "r+b");
        for (int i = 0; i < 40; ++i) {
            const int place = dice.Draw(0, 56);
            const auto count = static_cast<unsigned long>(dice.Draw(0, 8));
            const bool writes = dice.Draw(0, 1) == 1;
            ByteList one = dice.Bytes(8);
            ByteList two = one;
            for (auto& [stream, bytes] : {std::pair<IO_Interface&, ByteList&>{block, one}, {file, two}}) {
                stream.Seek(place, 0);
                writes ? stream.Write(bytes.data(), 1, count) : stream.Read(bytes.data(), 1, count);
            }
            ASSERT_EQ(one, two) << "seed " << seed << ", step " << i;
            ASSERT_EQ(std::ftell(file.stream), Place(block));
        }
        file.Close();
        ASSERT_EQ(FileBytes(path), memory) << "seed " << seed;
    }
}

}  // namespace
}  // namespace hueweave::test
