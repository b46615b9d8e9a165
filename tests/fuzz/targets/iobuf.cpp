// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A stream over a block of memory, compared with a vector and a position in it. Buffers have exactly the size that may
// be copied.
#include <algorithm>
#include <cstring>

#include "FuzzInput.h"
#include "support/ByteStreams.h"

namespace hueweave::fuzz {
namespace {

constexpr std::uint64_t kFar = std::uint64_t{1} << 62;  ///< a position beyond any block

/// The block and a position, which may be past its end; from `kFar` on it counts as lost.
struct Model {
    Bytes bytes;
    std::uint64_t place = 0;

    bool Lost() const { return place >= kFar; }
    std::uint64_t Room(std::uint64_t wanted) const {
        return place >= bytes.size() ? 0 : std::min<std::uint64_t>(wanted, bytes.size() - place);
    }
    /// The result: the offset, or how far it was out of range.
    int Seek(int offset, int origin) {
        const auto length = static_cast<std::int64_t>(bytes.size());
        const auto here = static_cast<std::int64_t>(place);
        const std::int64_t target = origin == 0   ? offset
                                    : origin == 1 ? here + offset
                                    : origin == 2 ? length + offset
                                                  : here;
        const std::int64_t limited = offset > 0 ? std::min(target, length) : std::max<std::int64_t>(target, 0);
        place = static_cast<std::uint64_t>(limited);
        const std::int64_t answer = target == limited ? offset : target - limited;
        return static_cast<int>(static_cast<std::uint32_t>(answer));
    }
};

/// `size` times `count`, or a length greater than any block.
std::uint64_t Product(std::uint64_t size, std::uint64_t count) {
    if (size == 0 || count == 0) return 0;
    return size > kFar / count ? kFar : size * count;
}

class Session {
public:
    /// The block follows a guard byte: so an empty one has an address too, and offsets count from there.
    explicit Session(const Bytes& bytes)
        : block_(Fenced(bytes)), stream_(block_.data() + 1, bytes.size()), model_{bytes, 0} {}

    void Step(FuzzInput& input) {
        const std::size_t how = input.Below(3);
        if (model_.Lost()) {
            // From a lost position only seeks from the start and the end work.
            stream_.Seek(0, 0);
            model_.place = 0;
        } else {
            how == 0 ? Read(input) : how == 1 ? Write(input) : Seek(input);
        }
        Require(block_ == Fenced(model_.bytes), "bytes of the block");
        Require(stream_.GetHandle() == block_.data() + 1, "start of the block");
        if (!model_.Lost()) Require(stream_.position == stream_.begin + model_.place, "place");
    }
    void Close() {
        stream_.Close();
        unsigned char byte = 7;
        Require(stream_.Read(&byte, 1, 1) == 0 && byte == 7, "a closed stream has nothing to read");
        Require(stream_.GetHandle() == nullptr, "a closed stream has no block");
        stream_.Write(&byte, 1, 1);
        Require(block_ == Fenced(model_.bytes), "a closed stream writes nothing");
    }

private:
    static Bytes Fenced(const Bytes& bytes) {
        Bytes block{0xee};
        block.insert(block.end(), bytes.begin(), bytes.end());
        block.shrink_to_fit();
        return block;
    }

    void Read(FuzzInput& input) {
        const std::uint64_t size = input.Length(), count = input.Length();
        const std::uint64_t moved = model_.Room(Product(size, count));
        Bytes got(moved, 0xcc);
        const std::uint64_t answer = stream_.Read(got.data(), size, count);
        const auto from = model_.bytes.begin() + static_cast<std::ptrdiff_t>(moved == 0 ? 0 : model_.place);
        Require(std::equal(got.begin(), got.end(), from), "bytes read");
        model_.place += moved;
        Require(answer == stream_.begin + model_.place, "answer of a read");
    }
    void Write(FuzzInput& input) {
        const std::uint64_t size = input.Length(), count = input.Length(), wanted = Product(size, count);
        const std::uint64_t moved = model_.Room(wanted);
        Bytes given(moved, static_cast<unsigned char>(input.U8()));
        const std::uint64_t answer = stream_.Write(given.data(), size, count);
        if (moved != 0) {
            std::copy(given.begin(), given.end(), model_.bytes.begin() + static_cast<std::ptrdiff_t>(model_.place));
        }
        // The position advances by the whole length even if only a part fits.
        model_.place = wanted >= kFar - model_.place ? kFar : model_.place + wanted;
        Require(model_.Lost() || answer == stream_.begin + model_.place, "answer of a write");
        Require(answer >= stream_.begin, "a position does not start again from 0");
    }
    void Seek(FuzzInput& input) {
        const int offset = input.Int(), origin = input.Between(-1, 3);
        const int answer = stream_.Seek(offset, origin);
        Require(answer == model_.Seek(offset, origin), "answer of a seek");
    }

    Bytes block_;
    IO_Buf stream_;
    Model model_;
};

}  // namespace

void RunTarget(FuzzInput& input) {
    const std::size_t length = input.Below(70);
    Session session(input.Take(length));
    while (!input.Empty()) session.Step(input);
    session.Close();
}

}  // namespace hueweave::fuzz
