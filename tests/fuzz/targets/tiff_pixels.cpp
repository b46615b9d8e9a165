// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Bytes of an image by their addresses: every read and write beside a flat copy of the image and plain arithmetic. The
// buffers of rows and blocks are exactly as long as what may be copied.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "FuzzInput.h"
#include "Mutation.h"
#include "tiff/CTiff.h"

using namespace hueweave::fuzz;
using Orvix_Tiff_STL2::CTiff;

namespace {

constexpr std::size_t kOperations = 160;  ///< steering bytes in front of the file

/// The image as a plain block, with the geometry of the object under test.
struct Model {
    explicit Model(CTiff& tiff)
        : width(tiff.width), height(tiff.height), samples(tiff.samples), bits(tiff.bits), rowBytes(tiff.rowBytes) {
        if (tiff.imageBuf != nullptr) image.assign(tiff.imageBuf, tiff.imageBuf + tiff.ImageBytes());
    }
    /// Bytes before pixel x of a row, in 32 bits that wrap around.
    int Column(int x) const {
        const std::uint32_t product =
            static_cast<std::uint32_t>(bits) * static_cast<std::uint32_t>(samples) * static_cast<std::uint32_t>(x);
        return static_cast<int>(product) >> 3;
    }
    std::int64_t Offset(std::int64_t x, std::int64_t y) const { return y * rowBytes + Column(static_cast<int>(x)); }
    /// Clamped to the image; none outside its bytes.
    std::optional<std::size_t> Place(std::int64_t x, std::int64_t y) const {
        if (width < 1 || height < 1) return std::nullopt;
        x = std::clamp<std::int64_t>(x, 0, width - 1);
        y = std::clamp<std::int64_t>(y, 0, height - 1);
        const std::int64_t offset = Offset(x, y);
        if (offset < 0 || offset >= static_cast<std::int64_t>(image.size())) return std::nullopt;
        return static_cast<std::size_t>(offset);
    }
    /// Rows from the bottom; out of range to the other end.
    std::int64_t Mirror(int y) const { return y < 0 ? 0 : y >= height ? std::int64_t{height} - 1 : height - 1 - y; }
    /// Bytes that a row copy moves.
    std::size_t RowLength(int row, int count) const {
        const auto place = Place(0, row);
        const std::int64_t wanted = count != 0 ? Column(count) : rowBytes;
        if (!place || wanted < 1) return 0;
        return std::min(static_cast<std::size_t>(wanted), image.size() - *place);
    }

    int width, height, samples, bits, rowBytes;
    Bytes image;
};

class Session {
public:
    Session(CTiff& tiff, FuzzInput& input) : tiff_(tiff), input_(input), model_(tiff) {}

    void Step() {
        switch (input_.Below(8)) {
            case 0:
            case 1:
                Address();
                break;
            case 2:
                Store();
                break;
            case 3:
                ReadRow();
                break;
            case 4:
                WriteRow();
                break;
            case 5:
                ReadBlock();
                break;
            case 6:
                WriteBlock();
                break;
            default:
                Unchecked();
                break;
        }
        const Bytes now =
            tiff_.imageBuf == nullptr ? Bytes() : Bytes(tiff_.imageBuf, tiff_.imageBuf + tiff_.ImageBytes());
        Require(now == model_.image, "the image is that of the model");
    }

private:
    void CheckPointer(const unsigned char* got, std::optional<std::size_t> place) {
        Require(got == (place ? tiff_.imageBuf + *place : nullptr), "address of a pixel");
    }
    void Address() {
        const int x = input_.Int(), y = input_.Int();
        CheckPointer(tiff_.GetXY(x, y), model_.Place(x, y));
        CheckPointer(tiff_.GetXY_M(x, y), model_.Place(x, model_.Mirror(y)));
    }
    void Store() {
        const int x = input_.Int(), y = input_.Int();
        const auto value = static_cast<unsigned char>(input_.U8());
        const bool mirrored = input_.Bool();
        mirrored ? tiff_.SetXY_M(x, y, value) : tiff_.SetXY(x, y, value);
        const auto place = model_.Place(x, mirrored ? model_.Mirror(y) : y);
        if (place) model_.image[*place] = value;
    }
    /// Forms that leave the checks to the caller: called where there is something to point at, or no image at all.
    void Unchecked() {
        const int x = input_.Int(), y = input_.Int();
        const std::int64_t offset = model_.Offset(x, y);
        const bool inside = offset >= 0 && offset < static_cast<std::int64_t>(model_.image.size());
        if (tiff_.imageBuf == nullptr) {
            Require(tiff_.GetXY_Q(x, y) == nullptr && tiff_.GetXY_MQ(x, y) == nullptr, "no image to point into");
            tiff_.SetXY_Q(x, y, 1);
            tiff_.SetXY_MQ(x, y, 1);
        } else if (inside) {
            const auto value = static_cast<unsigned char>(input_.U8());
            Require(tiff_.GetXY_Q(x, y) == tiff_.imageBuf + offset, "unchecked address");
            const std::int64_t mirrored = std::int64_t{model_.height} - 1 - y;
            if (mirrored >= INT32_MIN && mirrored <= INT32_MAX) {
                Require(tiff_.GetXY_MQ(x, static_cast<int>(mirrored)) == tiff_.imageBuf + offset, "and mirrored");
            }
            // Storing counts rows from the top in both forms.
            (value & 1) != 0 ? tiff_.SetXY_Q(x, y, value) : tiff_.SetXY_MQ(x, y, value);
            model_.image[static_cast<std::size_t>(offset)] = value;
        }
    }
    void ReadRow() {
        const int row = input_.Int(), count = input_.Int();
        const std::size_t length = model_.RowLength(row, count);
        Bytes got(length, 0xa5);
        const int result = input_.Bool() ? tiff_.GetRow(got.data(), row, count)
                                         : tiff_.GetRow(reinterpret_cast<unsigned short*>(got.data()), row, count);
        Require(result == count, "result of a row");
        if (length != 0) {
            Require(std::memcmp(got.data(), &model_.image[*model_.Place(0, row)], length) == 0, "bytes of a row");
        }
    }
    void WriteRow() {
        const int row = input_.Int(), count = input_.Int();
        const std::size_t length = model_.RowLength(row, count);
        Bytes given(length, static_cast<unsigned char>(input_.U8()));
        const int result = input_.Bool() ? tiff_.PutRow(given.data(), row, count)
                                         : tiff_.PutRow(reinterpret_cast<unsigned short*>(given.data()), row, count);
        Require(result == count, "result of a row");
        if (length != 0) std::copy(given.begin(), given.end(), &model_.image[*model_.Place(0, row)]);
    }
    struct Block {
        int x, y, w, h;
        std::int64_t length;  ///< bytes a row, less than 1 for none
        bool possible;        ///< whether a caller can have a buffer for it
    };
    Block DrawBlock() {
        Block block{input_.Int(), input_.Int(), input_.Int(), input_.Between(-2, 40), 0, true};
        block.length = model_.Column(block.w);
        block.possible = block.length <= 1 << 14;
        return block;
    }
    static Bytes Buffer(const Block& block, unsigned char mark) {
        const std::int64_t bytes = block.length > 0 && block.h > 0 ? block.length * block.h : 0;
        return Bytes(static_cast<std::size_t>(bytes), mark);
    }
    void ReadBlock() {
        const Block block = DrawBlock();
        if (!block.possible) return;
        const bool wide = input_.Bool();
        Bytes got = Buffer(block, 0xa5), expected = got;
        const int result =
            wide ? tiff_.GetRowColumn(reinterpret_cast<unsigned short*>(got.data()), block.x, block.y, block.w, block.h)
                 : tiff_.GetRowColumn(got.data(), block.x, block.y, block.w, block.h);
        if (model_.bits != 8 && model_.bits != 16) {
            Require(result == -1 && got == expected, "a depth that blocks do not have");
            return;
        }
        Require(result == 0, "result of a block");
        const std::uint32_t items = static_cast<std::uint32_t>(block.x) * static_cast<std::uint32_t>(model_.samples);
        const std::int64_t start = std::int64_t{static_cast<int>(items)} * (wide ? 2 : 1);
        for (std::int64_t r = 0; r < block.h && block.length > 0; ++r) {
            const auto place = model_.Place(0, block.y + r);
            const std::int64_t left = place ? static_cast<std::int64_t>(model_.image.size() - *place) : 0;
            const std::int64_t held = std::min<std::int64_t>(model_.rowBytes, left);
            for (std::int64_t i = 0; i < block.length && start >= 0 && start + i < held; ++i) {
                expected[static_cast<std::size_t>(r * block.length + i)] =
                    model_.image[*place + static_cast<std::size_t>(start + i)];
            }
        }
        Require(got == expected, "bytes of a block");
    }
    void WriteBlock() {
        const Block block = DrawBlock();
        if (!block.possible) return;
        Bytes given = Buffer(block, 0);
        for (std::size_t i = 0; i < given.size(); ++i) given[i] = static_cast<unsigned char>(i * 7 + 1);
        const int result = input_.Bool() ? tiff_.SetRowColumn(reinterpret_cast<unsigned short*>(given.data()), block.x,
                                                              block.y, block.w, block.h)
                                         : tiff_.SetRowColumn(given.data(), block.x, block.y, block.w, block.h);
        if (model_.bits != 8 && model_.bits != 16) {
            Require(result == -1, "a depth that blocks do not have");
            return;
        }
        Require(result == 0, "result of a block");
        for (std::int64_t r = 0; r < block.h && block.length > 0; ++r) {
            const auto place = model_.Place(block.x, block.y + r);
            for (std::size_t i = 0; place && i < static_cast<std::size_t>(block.length); ++i) {
                if (*place + i < model_.image.size()) {
                    model_.image[*place + i] = given[static_cast<std::size_t>(r * block.length) + i];
                }
            }
        }
    }

    CTiff& tiff_;
    FuzzInput& input_;
    Model model_;
};

/// A fresh image, of the size that its shape asks for and black, or none.
void CreateNew(CTiff& tiff, FuzzInput& input, const Bytes& raw) {
    static const ScratchFile file;
    const int width = input.Between(-2, 70), height = input.Between(-2, 40);
    const int samples = input.Between(-1, 8), bits = static_cast<int>(input.Below(34));
    const bool fromRaw = input.Bool(), allocate = fromRaw || input.Below(4) != 0;
    file.Put(raw);
    const int result = fromRaw ? tiff.CreateNew(width, height, 300, samples, bits, file.Path())
                               : tiff.CreateNew(width, height, 300, samples, bits, allocate ? 1 : 0);
    Require(result == 0 && tiff.tags.size() == 15, "fifteen tags");
    const double bytes = height * std::ceil(bits * width * 0.125) * samples;
    Require((tiff.imageBuf != nullptr) == (allocate && bytes >= 0), "whether there is an image");
    if (tiff.imageBuf == nullptr) return;
    Require(tiff.ImageBytes() == static_cast<std::size_t>(bytes), "bytes of a new image");
    const std::int64_t wanted = std::int64_t{height} * tiff.rowBytes;
    const std::size_t taken = fromRaw && wanted > 0 ? static_cast<std::size_t>(wanted) : 0;
    for (std::size_t i = 0; i < tiff.ImageBytes(); ++i) {
        Require(tiff.imageBuf[i] == (i < taken && i < raw.size() ? raw[i] : 0), "bytes of a new image");
    }
}

}  // namespace

HUEWEAVE_FUZZ_MUTATOR(kOperations, MutateTiff);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile file;
    const std::size_t steering = std::min(size, kOperations);
    FuzzInput input(data, steering);
    const Bytes rest(data + steering, data + size);
    CTiff tiff;
    if (input.Bool()) {
        CreateNew(tiff, input, rest);
    } else {
        file.Put(rest);
        tiff.ReadFile(file.Path());
        if (tiff.ImageBytes() > 1U << 16) return 0;  // the model copies it at every step
    }
    Session session(tiff, input);
    while (!input.Empty()) session.Step();
    return 0;
}
