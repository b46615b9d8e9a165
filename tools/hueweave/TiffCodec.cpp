// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "TiffCodec.h"

#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "Refusal.h"
#include "Samples.h"

namespace hueweave::tool {
namespace {

std::string Format(const char* format, std::va_list arguments) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    return text;
}

struct OptionsCloser {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

/// Whether a warning of libtiff tells of damage. The decoder of JPEG goes on with grey where data are missing, that of
/// PackBits leaves out what runs past the end of a strip.
bool IsDamage(std::string_view module, std::string_view format) {
    // Some programs fill the last strip up to the height of the others.
    if (format.starts_with("JPEG strip size exceeds expected dimensions")) return false;
    return module.starts_with("JPEG") || module.starts_with("PackBits");
}

/// Keeps the first error, or warning that means one.
int NoteMessage(std::string& error, bool warning, const char* module, const char* format, std::va_list arguments) {
    const bool counts = !warning || (module != nullptr && IsDamage(module, format));
    if (counts && error.empty()) error = Format(format, arguments);
    return 1;
}

/// Bytes that are encoded before they are written, where a strip is written by rows.
constexpr tmsize_t kRowsBuffer = tmsize_t{1} << 20;

/// Pages mapped at once before those that are done with are given back.
constexpr std::uint64_t kMappedWindow = std::uint64_t{4} << 20;

}  // namespace

void TiffCloser::operator()(tiff* handle) const { TIFFClose(handle); }

/// The file as libtiff sees it.
struct TiffDecoder::Source {
    const FileAccess& file;
    std::uint64_t size;
    bool map;  ///< for reading by rows: libtiff then decodes from the mapping and holds no strip
    std::uint64_t position = 0;
    unsigned char* mapped = nullptr;
    std::uint64_t dropped = 0;  ///< bytes of the strip at hand whose memory was given back
    std::string error{};
    std::exception_ptr failure{};  ///< of a read, which may not throw through libtiff

    static Source& Of(thandle_t handle) { return *static_cast<Source*>(handle); }
    static tmsize_t Read(thandle_t handle, void* data, tmsize_t count) {
        Source& self = Of(handle);
        const std::uint64_t left = self.size > self.position ? self.size - self.position : 0;
        const std::uint64_t size = std::min(left, static_cast<std::uint64_t>(count));
        try {
            self.file.Read(self.position, data, static_cast<std::size_t>(size));
        } catch (...) {
            self.failure = std::current_exception();
            return -1;
        }
        self.position += size;
        return static_cast<tmsize_t>(size);
    }
    static tmsize_t Write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
        Source& self = Of(handle);
        self.position = whence == SEEK_SET ? offset : whence == SEEK_CUR ? self.position + offset : self.size + offset;
        return self.position;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle).size; }
    static int Map(thandle_t handle, void** base, toff_t* size) {
        Source& self = Of(handle);
        if (!self.map) return 0;
        void* at = ::mmap(nullptr, self.size, PROT_READ, MAP_SHARED, self.file.descriptor(), 0);
        if (at == MAP_FAILED) return 0;
        ::madvise(at, self.size, MADV_SEQUENTIAL);
        self.mapped = static_cast<unsigned char*>(at);
        *base = at;
        *size = self.size;
        return 1;
    }
    static void Unmap(thandle_t handle, void* base, toff_t size) {
        ::munmap(base, size);
        Of(handle).mapped = nullptr;
    }
    static int Error(TIFF*, void* user, const char* module, const char* format, std::va_list arguments) {
        return NoteMessage(static_cast<Source*>(user)->error, false, module, format, arguments);
    }
    static int Warning(TIFF*, void* user, const char* module, const char* format, std::va_list arguments) {
        return NoteMessage(static_cast<Source*>(user)->error, true, module, format, arguments);
    }
};

TiffDecoder::TiffDecoder(const FileAccess& file, const TiffPage& page, std::uint64_t directory)
    : page_(page), source_(new Source{file, file.Size(), page.DecodedBytes(0) > kMappedWindow && !page.tiled}) {
    const std::unique_ptr<TIFFOpenOptions, OptionsCloser> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Source::Error, source_.get());
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Source::Warning, source_.get());
    // "h": the header alone, the page's directory is read right after it.
    handle_.reset(TIFFClientOpenExt(file.name().c_str(), source_->map ? "rh" : "rhm", source_.get(), Source::Read,
                                    Source::Write, Source::Seek, Source::Close, Source::Size, Source::Map,
                                    Source::Unmap, options.get()));
    if (handle_ == nullptr || TIFFSetSubDirectory(handle_.get(), directory) == 0 || source_->failure) Refuse();
    if (page.photometric == PHOTOMETRIC_YCBCR) {
        TIFFSetField(handle_.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    source_->error.clear();
    if (DeflateReader::Concerns(page)) deflate_ = std::make_unique<DeflateReader>(page);
}

TiffDecoder::~TiffDecoder() = default;

void TiffDecoder::Refuse() const {
    if (source_->failure) std::rethrow_exception(source_->failure);
    const std::string why = source_->error.empty() ? "it cannot be decoded" : source_->error;
    throw Refusal(Exit::Input, source_->file.name(), "holds damaged image data (" + why + ")",
                  "get a whole copy of the file");
}

void TiffDecoder::RefuseUnlessWhole(const char* problem) {
    if (problem == nullptr) return;
    source_->error = problem;
    Refuse();
}

void TiffDecoder::ReadSegment(std::uint64_t segment, Bytes& pixels) {
    const Extent extent = page_.segments[static_cast<std::size_t>(segment)];
    raw_.resize(static_cast<std::size_t>(extent.size));
    source_->file.Read(extent.offset, raw_.data(), raw_.size());
    pixels.resize(static_cast<std::size_t>(page_.DecodedBytes(segment)));
    if (deflate_) {
        const unsigned width = page_.bits / 8;
        RefuseUnlessWhole(deflate_->Decode(raw_, pixels));
        ToNative(pixels.data(), pixels.size() / width, width, TIFFIsBigEndian(handle_.get()) != 0);
        if (page_.predictor == PREDICTOR_HORIZONTAL) {
            UndoDifferences(pixels.data(), page_.RowsOf(segment), page_.segmentWidth, page_.SegmentSamples(), width);
        }
        return;
    }
    const int done =
        TIFFReadFromUserBuffer(handle_.get(), static_cast<std::uint32_t>(segment), raw_.data(),
                               static_cast<tmsize_t>(raw_.size()), pixels.data(), static_cast<tmsize_t>(pixels.size()));
    if (done == 0 || !source_->error.empty() || source_->failure) Refuse();
}

void TiffDecoder::ReadRow(std::uint32_t row, unsigned plane, unsigned char* pixels) {
    const std::uint64_t segment = plane * page_.InPlane() * (page_.planar ? 1 : 0) + row / page_.segmentHeight;
    const std::uint32_t inStrip = row % page_.segmentHeight;
    if (deflate_ && inStrip == 0) RefuseUnlessWhole(deflate_->Check(segment, source_->file));
    if (TIFFReadScanline(handle_.get(), pixels, row, static_cast<std::uint16_t>(plane)) < 0 ||
        !source_->error.empty() || source_->failure) {
        Refuse();
    }
    // The decoder goes through a strip from its start to its end. What lies well behind it is not needed again; were
    // it touched nevertheless, it would be read from the file anew.
    const Extent extent = page_.segments[static_cast<std::size_t>(segment)];
    if (source_->mapped == nullptr) return;
    if (inStrip == 0) source_->dropped = 0;
    const auto done = static_cast<std::uint64_t>(static_cast<double>(extent.size) * inStrip / page_.RowsOf(segment));
    if (done < source_->dropped + kMappedWindow) return;
    const std::uint64_t pageSize = 4096;
    const std::uint64_t from = (extent.offset + source_->dropped) / pageSize * pageSize;
    const std::uint64_t to = (extent.offset + done) / pageSize * pageSize;
    ::madvise(source_->mapped + from, to - from, MADV_DONTNEED);
    source_->dropped = done;
}

/// A file that is not there: what libtiff writes goes to a sink, and nothing can be read back.
struct TiffEncoder::Target {
    Sink sink;
    std::uint64_t size = 0;
    std::uint64_t position = 0;
    std::string error;
    std::exception_ptr failure;  ///< of the sink, which may not throw through libtiff

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
    static int Error(TIFF*, void* user, const char* module, const char* format, std::va_list arguments) {
        return NoteMessage(static_cast<Target*>(user)->error, false, module, format, arguments);
    }
    static int Warning(TIFF*, void*, const char*, const char*, std::va_list) { return 1; }
};

TiffEncoder::TiffEncoder(const FileAccess& target, const TiffPage& page, bool bigEndian)
    : file_(target), page_(page), bigEndian_(bigEndian), target_(new Target) {
    Open();
}

TiffEncoder::~TiffEncoder() { target_->sink = nullptr; }  // closing writes a directory, which goes nowhere

void TiffEncoder::Open() {
    const std::unique_ptr<TIFFOpenOptions, OptionsCloser> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Target::Error, target_.get());
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Target::Warning, target_.get());
    // BigTIFF, so that the length of what is written sets no limit; none of its structure reaches the file.
    handle_.reset(TIFFClientOpenExt(file_.name().c_str(), bigEndian_ ? "w8b" : "w8l", target_.get(), Target::Read,
                                    Target::Write, Target::Seek, Target::Close, Target::Size, nullptr, nullptr,
                                    options.get()));
    if (handle_ == nullptr) Refuse();
    TIFF* handle = handle_.get();
    const Coding coding = OutputCoding(page_);
    TIFFSetField(handle, TIFFTAG_IMAGEWIDTH, page_.segmentWidth);
    TIFFSetField(handle, TIFFTAG_IMAGELENGTH, page_.segmentHeight);
    TIFFSetField(handle, TIFFTAG_BITSPERSAMPLE, page_.bits);
    TIFFSetField(handle, TIFFTAG_SAMPLESPERPIXEL, page_.SegmentSamples());
    TIFFSetField(handle, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(handle, TIFFTAG_PHOTOMETRIC, page_.SegmentSamples() < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(handle, TIFFTAG_FILLORDER, page_.fillOrder);
    TIFFSetField(handle, TIFFTAG_COMPRESSION, coding.compression);
    if (coding.predictor != 1) TIFFSetField(handle, TIFFTAG_PREDICTOR, coding.predictor);
    // The usual 6 takes 94 MiB a thread.
    if (coding.compression == COMPRESSION_LZMA) TIFFSetField(handle, TIFFTAG_LZMAPRESET, 1);
    if (page_.tiled) {
        TIFFSetField(handle, TIFFTAG_TILEWIDTH, page_.segmentWidth);
        TIFFSetField(handle, TIFFTAG_TILELENGTH, page_.segmentHeight);
    } else {
        TIFFSetField(handle, TIFFTAG_ROWSPERSTRIP, page_.segmentHeight);
    }
}

void TiffEncoder::Refuse() const {
    if (target_->failure) std::rethrow_exception(target_->failure);
    throw Refusal(Exit::Output, file_.name(), "image data cannot be encoded (" + target_->error + ")",
                  "give a file that is compressed with LZW or Deflate");
}

Bytes TiffEncoder::Encode(unsigned char* pixels, std::size_t size) {
    Bytes encoded;
    encoded.reserve(size / 2);
    target_->sink = [&](const unsigned char* data, std::size_t count) {
        encoded.insert(encoded.end(), data, data + count);
    };
    const auto count = static_cast<tmsize_t>(size);
    const tmsize_t done = page_.tiled ? TIFFWriteEncodedTile(handle_.get(), 0, pixels, count)
                                      : TIFFWriteEncodedStrip(handle_.get(), 0, pixels, count);
    target_->sink = nullptr;
    if (done != count || encoded.empty()) Refuse();
    return encoded;
}

void TiffEncoder::BeginRows(Sink sink) {
    target_->sink = nullptr;
    handle_.reset();
    Open();  // a fresh handle, since the one before has its only strip behind it
    // Else libtiff takes a buffer as large as the strip, and fills it as far as the data do not shrink.
    if (TIFFWriteBufferSetup(handle_.get(), nullptr, kRowsBuffer) == 0) Refuse();
    target_->sink = std::move(sink);
}

void TiffEncoder::Row(std::uint32_t row, unsigned char* pixels) {
    if (TIFFWriteScanline(handle_.get(), pixels, row, 0) < 0) Refuse();
}

void TiffEncoder::EndRows() {
    if (TIFFFlushData(handle_.get()) == 0) Refuse();
    target_->sink = nullptr;
}

std::uint64_t CoderMemory(const TiffPage& page) {
    if (page.compression == COMPRESSION_LZMA) return std::uint64_t{24} << 20;
    if (page.compression == COMPRESSION_ZSTD) return std::uint64_t{16} << 20;
    return 0;
}

Coding OutputCoding(const TiffPage& page) {
    if (page.Lossy()) return {COMPRESSION_ADOBE_DEFLATE, PREDICTOR_HORIZONTAL};
    return {page.compression, page.predictor};
}

}  // namespace hueweave::tool
