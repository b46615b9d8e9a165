// SPDX-License-Identifier: MIT
// Bytes of an image by their coordinates: every read and write compared with a flat copy of the image and plain
// arithmetic. The buffers of rows and blocks have exactly the size that may be copied.
#include <span>

#include "Mutation.h"
#include "tiff/CTiff.h"

namespace hueweave::fuzz {
namespace {

using Orvix_Tiff_STL2::CTiff;

constexpr std::size_t kOperations = 160;  ///< steering bytes before the file

Bytes ImageOf(const CTiff& tiff) {
    return tiff.imageBuf == nullptr ? Bytes() : Bytes(tiff.imageBuf, tiff.imageBuf + tiff.ImageBytes());
}

/// A byte buffer as 16-bit words.
unsigned short* Words(Bytes& bytes) { return reinterpret_cast<unsigned short*>(bytes.data()); }

/// The image as one block of bytes, with the geometry of the object under test.
struct Model {
    int width, height, samples, bits, rowBytes;
    Bytes image;

    /// Bytes before pixel x of a row, in 32-bit arithmetic that wraps around.
    int Column(std::int64_t x) const {
        const std::uint32_t product =
            static_cast<std::uint32_t>(bits) * static_cast<std::uint32_t>(samples) * static_cast<std::uint32_t>(x);
        return static_cast<int>(product) >> 3;
    }
    /// The bytes from a pixel on, which is clamped to the image; none if it lies outside of them.
    std::span<unsigned char> From(std::int64_t x, std::int64_t y) {
        if (width < 1 || height < 1) return {};
        const std::int64_t row = std::clamp<std::int64_t>(y, 0, height - 1);
        const std::int64_t offset = row * rowBytes + Column(std::clamp<std::int64_t>(x, 0, width - 1));
        if (offset < 0 || offset >= static_cast<std::int64_t>(image.size())) return {};
        return std::span(image).subspan(static_cast<std::size_t>(offset));
    }
    /// Rows counted from the bottom; out of range, the row at the opposite end.
    std::int64_t Mirror(int y) const { return y < 0 ? 0 : y >= height ? std::int64_t{height} - 1 : height - 1 - y; }
    /// Number of bytes that a row copy transfers.
    std::size_t RowLength(int row, int count) {
        const int wanted = count != 0 ? Column(count) : rowBytes;
        return wanted < 1 ? 0 : std::min(static_cast<std::size_t>(wanted), From(0, row).size());
    }
};

class Session {
public:
    Session(CTiff& tiff, FuzzInput& input) : tiff_(tiff), input_(input) {}

    void Step() {
        const std::size_t how = input_.Below(7);
        const int x = input_.Int(), y = input_.Int();
        if (how < 2) Address(x, y);
        if (how == 2) Store(x, y);
        if (how == 3) ReadRow(x, y);
        if (how == 4) WriteRow(x, y);
        if (how > 4) MoveBlock(x, y, how == 5);
        Require(ImageOf(tiff_) == model_.image, "the image is that of the model");
    }

private:
    unsigned char* Pointer(std::span<unsigned char> bytes) const {
        return bytes.empty() ? nullptr : tiff_.imageBuf + (bytes.data() - model_.image.data());
    }
    void Address(int x, int y) {
        Require(tiff_.GetXY(x, y) == Pointer(model_.From(x, y)), "address of a pixel");
        Require(tiff_.GetXY_M(x, y) == Pointer(model_.From(x, model_.Mirror(y))), "mirrored address of a pixel");
    }
    void Store(int x, int y) {
        const auto value = static_cast<unsigned char>(input_.U8());
        const bool mirrored = input_.Bool();
        mirrored ? tiff_.SetXY_M(x, y, value) : tiff_.SetXY(x, y, value);
        const auto bytes = model_.From(x, mirrored ? model_.Mirror(y) : y);
        if (!bytes.empty()) bytes[0] = value;
    }
    void ReadRow(int row, int count) {
        Bytes got(model_.RowLength(row, count), 0xa5);
        const int result = input_.Bool() ? tiff_.GetRow(got.data(), row, count) : tiff_.GetRow(Words(got), row, count);
        Require(result == count, "result of a row");
        Require(std::equal(got.begin(), got.end(), model_.From(0, row).begin()), "bytes of a row");
    }
    void WriteRow(int row, int count) {
        Bytes given(model_.RowLength(row, count), static_cast<unsigned char>(input_.U8()));
        const int result =
            input_.Bool() ? tiff_.PutRow(given.data(), row, count) : tiff_.PutRow(Words(given), row, count);
        Require(result == count, "result of a row");
        std::ranges::copy(given, model_.From(0, row).begin());
    }
    /// A block of a size for which a caller can have a buffer, as bytes or as words.
    void MoveBlock(int x, int y, bool reads) {
        const int w = input_.Int(), h = input_.Between(-2, 40);
        const std::int64_t length = std::max(model_.Column(w), 0);
        if (length > 1 << 14) return;
        const bool wide = input_.Bool();
        Bytes buffer = ScatteredBytes(static_cast<std::size_t>(length * std::max(h, 0)), 1), expected = buffer;
        const int result =
            reads ? wide ? tiff_.GetRowColumn(Words(buffer), x, y, w, h) : tiff_.GetRowColumn(buffer.data(), x, y, w, h)
            : wide ? tiff_.SetRowColumn(Words(buffer), x, y, w, h)
                   : tiff_.SetRowColumn(buffer.data(), x, y, w, h);
        const bool possible = model_.bits == 8 || model_.bits == 16;
        Require(result == (possible ? 0 : -1), "result of a block");
        for (std::int64_t row = 0; row < h && possible; ++row) {
            const std::span part(expected.data() + row * length, static_cast<std::size_t>(length));
            reads ? ReadBlockRow(x, y + row, wide, part) : WriteBlockRow(x, y + row, part);
        }
        Require(buffer == expected, "bytes of a block");
    }
    /// The contents of the caller's buffer for one row of a block.
    void ReadBlockRow(int x, std::int64_t y, bool wide, std::span<unsigned char> part) {
        const std::uint32_t items = static_cast<std::uint32_t>(x) * static_cast<std::uint32_t>(model_.samples);
        const std::int64_t start = std::int64_t{static_cast<int>(items)} * (wide ? 2 : 1);
        const auto row = model_.From(0, y);
        const std::int64_t held = std::min(model_.rowBytes, static_cast<int>(row.size())) - start;
        if (start < 0 || held <= 0) return;
        std::copy_n(&row[static_cast<std::size_t>(start)], std::min(held, std::ssize(part)), part.begin());
    }
    void WriteBlockRow(int x, std::int64_t y, std::span<const unsigned char> part) {
        const auto bytes = model_.From(x, y);
        std::copy_n(part.begin(), std::min(part.size(), bytes.size()), bytes.begin());
    }

    CTiff& tiff_;
    FuzzInput& input_;
    Model model_{tiff_.width, tiff_.height, tiff_.samples, tiff_.bits, tiff_.rowBytes, ImageOf(tiff_)};
};

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile file;
    FuzzInput steering = input.Split(kOperations);
    file.Put(input.Rest());
    CTiff tiff;
    tiff.ReadFile(file.Path());
    if (tiff.ImageBytes() > 1U << 16) return;  // the reference copies it at every step
    Session session(tiff, steering);
    while (!steering.Empty()) session.Step();
}

HUEWEAVE_FUZZ_MUTATOR(kOperations, TiffLayout);

}  // namespace hueweave::fuzz
