// SPDX-License-Identifier: MIT
#include "tiff/codec/TiffCodec.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

/// Bytes that are encoded before they are written, if a strip is written by rows.
constexpr tmsize_t kRowsBuffer = tmsize_t{1} << 20;

}  // namespace

/// A virtual file: output of libtiff goes to a sink, and nothing can be read back.
struct TiffEncoder::Target {
    Sink sink;
    std::uint64_t size = 0;
    std::uint64_t position = 0;
    TiffMessages messages;
    std::exception_ptr failure;  ///< from the sink, which must not throw through libtiff

    static Target& Of(thandle_t handle) { return *static_cast<Target*>(handle); }
    static tmsize_t Read(thandle_t, void*, tmsize_t) { return 0; }
    static tmsize_t Write(thandle_t handle, void* data, tmsize_t count) {
        Target& self = Of(handle);
        if (self.sink) {
            try {
                self.sink(static_cast<const unsigned char*>(data), static_cast<std::size_t>(count));
            } catch (...) {
                self.failure = std::current_exception();
                return -1;
            }
        }
        self.position += static_cast<std::uint64_t>(count);
        self.size = std::max(self.size, self.position);
        return count;
    }
    static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
        Target& self = Of(handle);
        self.position = whence == SEEK_SET ? offset : whence == SEEK_CUR ? self.position + offset : self.size + offset;
        return self.position;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle).size; }
    static int Warning(TIFF*, void*, const char*, const char*, std::va_list) { return 1; }
};

TiffEncoder::TiffEncoder(const FileAccess& target, const PageForm& form, bool bigEndian)
    : file_(target), form_(form), bigEndian_(bigEndian), target_(new Target) {
    Open();
}

TiffEncoder::~TiffEncoder() = default;

void TiffEncoder::Open() {
    // BigTIFF, so that the amount of data is not limited; its structure is not written to the file.
    const TiffCalls calls{target_.get(), Target::Read, Target::Write, Target::Seek,   Target::Close,
                          Target::Size,  nullptr,      nullptr,       Target::Warning};
    handle_ = OpenTiff(file_.name(), bigEndian_ ? "w8b" : "w8l", calls, target_->messages, 0);
    if (handle_ == nullptr || !target_->messages.first.empty()) Refuse();
    const unsigned samples = form_.SegmentSamples();
    Set(TIFFTAG_IMAGEWIDTH, form_.segmentWidth);
    Set(TIFFTAG_IMAGELENGTH, form_.segmentHeight);
    Set(TIFFTAG_BITSPERSAMPLE, form_.bits);
    Set(TIFFTAG_SAMPLESPERPIXEL, samples);
    Set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    Set(TIFFTAG_PHOTOMETRIC, samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    Set(TIFFTAG_FILLORDER, form_.fillOrder);
    Set(TIFFTAG_COMPRESSION, form_.compression);
    if (form_.predictor != 1) Set(TIFFTAG_PREDICTOR, form_.predictor);
    // The default preset 6 takes 94 MiB per thread.
    if (form_.compression == COMPRESSION_LZMA) Set(TIFFTAG_LZMAPRESET, 1);
    if (form_.tiled) {
        Set(TIFFTAG_TILEWIDTH, form_.segmentWidth);
        Set(TIFFTAG_TILELENGTH, form_.segmentHeight);
    } else {
        Set(TIFFTAG_ROWSPERSTRIP, form_.segmentHeight);
    }
}

/// If libtiff cannot set a tag, it continues without it, for example without compression.
void TiffEncoder::Set(std::uint32_t tag, std::uint32_t value) {
    if (TIFFSetField(handle_.get(), tag, value) == 0) Refuse();
}

void TiffEncoder::Refuse() const {
    if (target_->failure) std::rethrow_exception(target_->failure);
    // If a coder gives no message, only memory can be missing.
    if (target_->messages.first.empty() || TellsOfNoMemory(target_->messages.first)) throw std::bad_alloc();
    throw Refusal(Exit::Output, file_.name(), "image data cannot be encoded (" + target_->messages.first + ")",
                  "give a file that is compressed with LZW or Deflate");
}

Bytes TiffEncoder::Encode(unsigned char* pixels, std::size_t size) {
    Bytes encoded;
    encoded.reserve(size / 2);
    target_->sink = [&](const unsigned char* data, std::size_t count) {
        encoded.insert(encoded.end(), data, data + count);
    };
    const auto count = static_cast<tmsize_t>(size);
    const tmsize_t done = form_.tiled ? TIFFWriteEncodedTile(handle_.get(), 0, pixels, count)
                                      : TIFFWriteEncodedStrip(handle_.get(), 0, pixels, count);
    target_->sink = nullptr;
    if (done != count || encoded.empty() || target_->failure) Refuse();
    return encoded;
}

void TiffEncoder::BeginRows(Sink sink) {
    target_->sink = nullptr;
    Open();  // a new handle, because the previous one has written its only strip
    // Otherwise libtiff allocates a buffer as large as the strip, and fills it as long as the data do not shrink.
    if (TIFFWriteBufferSetup(handle_.get(), nullptr, kRowsBuffer) == 0) Refuse();
    target_->sink = std::move(sink);
}

void TiffEncoder::Row(std::uint32_t row, unsigned char* pixels) {
    // Some coders ignore a failed write.
    if (TIFFWriteScanline(handle_.get(), pixels, row, 0) < 0 || target_->failure) Refuse();
}

void TiffEncoder::EndRows() {
    if (TIFFFlushData(handle_.get()) == 0 || target_->failure) Refuse();
    target_->sink = nullptr;
}

std::uint64_t CoderMemory(const PageForm& form) {
    if (form.compression == COMPRESSION_LZMA) return std::uint64_t{24} << 20;
    if (form.compression == COMPRESSION_ZSTD) return std::uint64_t{16} << 20;
    return 0;
}

}  // namespace hueweave::tool
