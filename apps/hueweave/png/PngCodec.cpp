// SPDX-License-Identifier: MIT
#include "png/PngCodec.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "system/Refusal.h"

namespace hueweave::tool {

/// What a call of libpng left behind. libpng reports errors with a jump, which must not pass an object with a
/// destructor: each call is made through `Guarded`, and callbacks keep their exceptions here.
struct PngState {
    std::jmp_buf out;
    char message[200] = "";  ///< the first error, or the first warning that means damage
    std::exception_ptr failure{};
};

namespace {

constexpr std::size_t kReadBlock = std::size_t{64} << 10;
constexpr std::size_t kImageChunk = std::size_t{64} << 10;  ///< bytes of a chunk IDAT that is written
constexpr std::uint32_t kMostSize = 0x7fffffff;             ///< width and height, as in IHDR

[[noreturn]] void OnError(png_structp png, png_const_charp message) {
    auto& state = *static_cast<PngState*>(png_get_error_ptr(png));
    if (state.message[0] == 0) std::snprintf(state.message, sizeof state.message, "%s", message);
    std::longjmp(state.out, 1);
}

void OnWarning(png_structp png, png_const_charp message) {
    auto& state = *static_cast<PngState*>(png_get_error_ptr(png));
    // Some programs write more image data than the pixels need.
    for (const char* const harmless : {"Too much image data", "Extra compressed data", "Too many IDATs"}) {
        if (std::strstr(message, harmless) != nullptr) return;
    }
    if (state.message[0] == 0) std::snprintf(state.message, sizeof state.message, "%s", message);
}

/// Makes a call of libpng. Returns false if it failed.
template <typename Call>
bool Guarded(PngState& state, const Call& call) {
    if (setjmp(state.out) != 0) return false;
    call();
    return true;
}

/// Throws what a failed call means for the file `name`.
[[noreturn]] void Throw(const PngState& state, const std::string& name) {
    if (state.failure) std::rethrow_exception(state.failure);
    const std::string message = state.message;
    if (message.find("emory") != message.npos) throw std::bad_alloc();
    throw Refusal(Exit::Input, name, "contains damaged image data (" + message + ")",
                  "get a complete copy of the file");
}

void SetSamples(png_structp png, const PngHeader& header) {
    if (header.depth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
    if (header.depth < 8 && header.IsGrey()) png_set_expand_gray_1_2_4_to_8(png);
    if (header.depth < 8 && !header.IsGrey()) png_set_packing(png);
}

/// A palette is not passed to libpng: its indices look like grey of the same depth.
int ColoursForLibpng(const PngHeader& header) {
    return static_cast<int>(header.colours == PngHeader::Palette ? PngHeader::Grey : header.colours);
}

}  // namespace

Raster RasterOf(const PngHeader& header) {
    const bool hasAlpha = header.colours == PngHeader::GreyAlpha || header.colours == PngHeader::RgbAlpha;
    const unsigned colours = header.IsGrey() || header.colours == PngHeader::Palette ? 1 : 3;
    return {header.width, header.height, colours + (hasAlpha ? 1 : 0), header.depth == 16 ? 16U : 8U};
}

std::uint64_t PngCoderMemory(std::uint64_t rowBytes) {
    // Decoder: a row, the one before it, and one with room for all transformations. Encoder: a row, the one before it
    // and two filtered ones. Both of them: zlib.
    return 8 * rowBytes + (std::uint64_t{512} << 10);
}

struct PngDecoder::Parts {
    explicit Parts(const PngStructure& from) : structure(from), image(from.image()), next(image.offset) {}
    ~Parts() { png_destroy_read_struct(&png, &info, nullptr); }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    /// The next bytes of the file that libpng sees. Returns false at its end, or after an exception.
    bool Take(unsigned char* to, std::size_t size) noexcept {
        try {
            if (size > allowed) {
                throw Refusal(Exit::Input, structure.file().name(),
                              "contains image data that continue after the last pixel",
                              "get a complete copy of the file");
            }
            allowed -= size;
            while (size > 0) {
                if (used == block.size() && !Refill()) return false;
                const std::size_t part = std::min(size, block.size() - used);
                std::copy_n(block.data() + used, part, to);
                used += part, to += part, size -= part;
            }
            return true;
        } catch (...) {
            state.failure = std::current_exception();
            return false;
        }
    }
    bool Refill() {
        used = 0;
        if (next < image.End()) {
            block = structure.file().Read({next, std::min<std::uint64_t>(kReadBlock, image.End() - next)});
            next += block.size();
        } else if (!ended) {
            block = MakeChunk("IEND", {});
            ended = true;
        } else {
            return false;
        }
        return true;
    }
    /// Allows the bytes that a row may have, however badly it is compressed. With the last row, libpng decodes to the
    /// end of the data, which could otherwise be a thousand times as many as the pixels.
    void AllowRow(std::uint64_t rowBytes) { allowed = rowBytes + rowBytes / 64 + png_limit::kBehindPixels; }

    const PngStructure& structure;
    const Extent image;
    std::uint64_t next;  ///< offset of the next block in the source
    Bytes block;
    std::size_t used = 0;
    std::uint64_t allowed = png_limit::kBehindPixels;  ///< bytes that libpng may take
    bool ended = false;
    PngState state;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

PngDecoder::PngDecoder(const PngStructure& structure) : parts_(std::make_unique<Parts>(structure)) {
    Parts& parts = *parts_;
    const PngHeader& header = structure.header();
    Bytes data = structure.Data(structure.chunks()[0]);
    data[9] = static_cast<unsigned char>(ColoursForLibpng(header));
    parts.block.assign(std::begin(kPngSignature), std::end(kPngSignature));
    const Bytes chunk = MakeChunk("IHDR", data);
    parts.block.insert(parts.block.end(), chunk.begin(), chunk.end());
    const bool done = Guarded(parts.state, [&parts, &header] {
        parts.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &parts.state, OnError, OnWarning);
        if (parts.png != nullptr) parts.info = png_create_info_struct(parts.png);
        if (parts.info == nullptr) return;
        png_set_read_fn(parts.png, &parts, [](png_structp png, png_bytep to, std::size_t size) {
            if (!static_cast<Parts*>(png_get_io_ptr(png))->Take(to, size)) png_error(png, "it ends too early");
        });
        png_set_user_limits(parts.png, kMostSize, kMostSize);
        png_read_info(parts.png, parts.info);
        SetSamples(parts.png, header);
        png_set_interlace_handling(parts.png);
        png_read_update_info(parts.png, parts.info);
    });
    if (parts.png == nullptr || parts.info == nullptr) throw std::bad_alloc();
    const std::string& name = structure.file().name();
    if (!done) Throw(parts.state, name);
    if (png_get_rowbytes(parts.png, parts.info) != RasterOf(header).RowBytes()) {
        throw Refusal(Exit::Input, name, "contains rows that cannot be decoded", "get a complete copy of the file");
    }
}

PngDecoder::~PngDecoder() = default;

void PngDecoder::Read(unsigned char* rows, std::uint32_t count) {
    Parts& parts = *parts_;
    const std::size_t rowBytes = static_cast<std::size_t>(RasterOf(parts.structure.header()).RowBytes());
    const bool done = Guarded(parts.state, [&parts, rows, count, rowBytes] {
        for (std::uint32_t r = 0; r < count; ++r) {
            parts.AllowRow(rowBytes);
            png_read_row(parts.png, rows + r * rowBytes, nullptr);
        }
    });
    if (!done || parts.state.message[0] != 0) Throw(parts.state, parts.structure.file().name());
}

void PngDecoder::ReadAll(Bytes& pixels) {
    const PngHeader& header = parts_->structure.header();
    const std::size_t rowBytes = static_cast<std::size_t>(RasterOf(header).RowBytes());
    pixels.resize(rowBytes * header.height);
    for (int pass = 0; pass < (header.interlaced ? 7 : 1); ++pass) Read(pixels.data(), header.height);
}

void PngDecoder::Finish() {
    Parts& parts = *parts_;
    const bool done = Guarded(parts.state, [&parts] {
        parts.AllowRow(0);
        png_read_end(parts.png, nullptr);
    });
    if (!done || parts.state.message[0] != 0) Throw(parts.state, parts.structure.file().name());
}

struct PngEncoder::Parts {
    Parts(const FileAccess& file, std::uint64_t offset, const PngHeader& of, std::string source)
        : target(file), at(offset), header(of), name(std::move(source)) {}
    ~Parts() { png_destroy_write_struct(&png, &info); }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    bool Put(const unsigned char* data, std::size_t size) noexcept {
        if (!inImage) return true;
        try {
            target.Write(at, data, size);
            at += size;
            return true;
        } catch (...) {
            state.failure = std::current_exception();
            return false;
        }
    }

    const FileAccess& target;
    std::uint64_t at;
    const PngHeader header;
    const std::string name;  ///< of the source
    bool inImage = false;    ///< what libpng writes before the image is dropped
    PngState state;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

PngEncoder::PngEncoder(const FileAccess& target, std::uint64_t offset, const PngHeader& header, std::string name,
                       int level)
    : parts_(std::make_unique<Parts>(target, offset, header, std::move(name))) {
    Parts& parts = *parts_;
    const bool done = Guarded(parts.state, [&parts, level] {
        parts.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &parts.state, OnError, OnWarning);
        if (parts.png != nullptr) parts.info = png_create_info_struct(parts.png);
        if (parts.info == nullptr) return;
        png_set_write_fn(
            parts.png, &parts,
            [](png_structp png, png_bytep data, std::size_t size) {
                if (!static_cast<Parts*>(png_get_io_ptr(png))->Put(data, size)) png_error(png, "it cannot be written");
            },
            [](png_structp) {});
        png_set_user_limits(parts.png, kMostSize, kMostSize);
        png_set_IHDR(parts.png, parts.info, parts.header.width, parts.header.height,
                     static_cast<int>(parts.header.depth), ColoursForLibpng(parts.header),
                     parts.header.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE,
                     PNG_FILTER_TYPE_BASE);
        png_set_compression_level(parts.png, level);
        png_set_compression_buffer_size(parts.png, kImageChunk);
        png_write_info(parts.png, parts.info);
        SetSamples(parts.png, parts.header);
        png_set_interlace_handling(parts.png);
    });
    if (parts.png == nullptr || parts.info == nullptr) throw std::bad_alloc();
    if (!done) Throw(parts.state, parts.name);
    parts.inImage = true;
}

PngEncoder::~PngEncoder() = default;

void PngEncoder::Write(unsigned char* rows, std::uint32_t count) {
    Parts& parts = *parts_;
    const std::size_t rowBytes = static_cast<std::size_t>(RasterOf(parts.header).RowBytes());
    const bool done = Guarded(parts.state, [&parts, rows, count, rowBytes] {
        for (std::uint32_t r = 0; r < count; ++r) png_write_row(parts.png, rows + r * rowBytes);
    });
    if (!done || parts.state.message[0] != 0) Throw(parts.state, parts.name);
}

void PngEncoder::WriteAll(Bytes& pixels) {
    for (int pass = 0; pass < (parts_->header.interlaced ? 7 : 1); ++pass) Write(pixels.data(), parts_->header.height);
}

std::uint64_t PngEncoder::End() const { return parts_->at; }

}  // namespace hueweave::tool
