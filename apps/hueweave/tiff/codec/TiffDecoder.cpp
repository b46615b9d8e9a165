// SPDX-License-Identifier: MIT
#include "tiff/codec/TiffDecoder.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include "system/Refusal.h"
#include "system/Signals.h"
#include "tiff/Samples.h"
#include "tiff/codec/WebpSize.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kPage = 4096;  ///< bytes of a memory page
/// Size of mapped memory after which used pages are released.
constexpr std::uint64_t kMappedWindow = std::uint64_t{4} << 20;
constexpr std::uint64_t kCopyBlock = std::uint64_t{256} << 10;
/// Maximum single allocation of libtiff in addition to rows and strips: the tables of its decoders.
constexpr std::uint64_t kTables = std::uint64_t{1} << 20;

}  // namespace

/// A small virtual file for libtiff: a directory in memory, followed by image data that are at the same offsets in
/// `data`, or at others.
class DecoderView {
public:
    Bytes directory;
    std::uint64_t start = 0;  ///< start of the image data in this file
    std::uint64_t size = 0;   ///< of this file
    const FileAccess* data = nullptr;
    std::uint64_t place = 0;  ///< start of these data in `data`
    bool map = false;         ///< `data` is this file and may be mapped
    unsigned char* mapped = nullptr;
    TiffMessages messages{};
    std::exception_ptr failure{};  ///< from a read, which must not throw through libtiff

    TiffHandle Open(const std::string& name, std::uint64_t mostMemory) {
        const TiffCalls calls{this, Read, Write, Seek, Close, Size, Map, Unmap, TiffMessages::Warning};
        // "c": libtiff must not split strips.
        return OpenTiff(name, map ? "rc" : "rcm", calls, messages, mostMemory);
    }
    [[noreturn]] void Refuse(const std::string& name) const {
        if (failure) std::rethrow_exception(failure);
        if (TellsOfNoMemory(messages.first)) throw std::bad_alloc();
        RefuseDamaged(name, messages.first);
    }
    [[noreturn]] static void RefuseDamaged(const std::string& name, const std::string& why) {
        throw Refusal(Exit::Input, name,
                      "contains damaged image data (" + (why.empty() ? "it cannot be decoded" : why) + ")",
                      "get a complete copy of the file");
    }
    bool Failed() const { return failure || !messages.first.empty(); }

private:
    static DecoderView& Of(thandle_t handle) { return *static_cast<DecoderView*>(handle); }
    static tmsize_t Read(thandle_t handle, void* target, tmsize_t count) {
        DecoderView& self = Of(handle);
        auto* to = static_cast<unsigned char*>(target);
        const std::uint64_t left = self.size > self.position_ ? self.size - self.position_ : 0;
        std::uint64_t wanted = std::min(left, static_cast<std::uint64_t>(count)), done = 0;
        try {
            while (done < wanted) {
                const std::uint64_t at = self.position_ + done;
                const std::uint64_t end = at < self.directory.size() ? self.directory.size()
                                          : at < self.start          ? self.start
                                                                     : self.size;
                const auto part = static_cast<std::size_t>(std::min(wanted - done, end - at));
                if (at < self.directory.size()) {
                    std::memcpy(to + done, &self.directory[static_cast<std::size_t>(at)], part);
                } else if (at < self.start) {
                    std::memset(to + done, 0, part);
                } else {
                    self.data->Read(self.place + (at - self.start), to + done, part);
                }
                done += part;
            }
        } catch (...) {
            self.failure = std::current_exception();
            return -1;
        }
        self.position_ += done;
        return static_cast<tmsize_t>(done);
    }
    static tmsize_t Write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
        DecoderView& self = Of(handle);
        self.position_ = offset + (whence == SEEK_SET ? 0 : whence == SEEK_CUR ? self.position_ : self.size);
        return self.position_;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle).size; }
    static int Map(thandle_t handle, void** base, toff_t* size) {
        DecoderView& self = Of(handle);
        if (!self.map) return 0;
        void* at = ::mmap(nullptr, self.size, PROT_READ, MAP_SHARED, self.data->descriptor(), 0);
        if (at == MAP_FAILED) return 0;  // then libtiff reads instead
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

    std::uint64_t position_ = 0;
};

namespace {

/// Refuses a page if libtiff derives another geometry from the directory, because the buffers have our sizes.
void CheckGeometry(tiff* handle, const TiffPage& page, std::uint64_t rows, std::uint64_t segments, const char* name) {
    const auto alike = [](tmsize_t theirs, std::uint64_t ours) {
        return theirs > 0 && static_cast<std::uint64_t>(theirs) == ours;
    };
    bool same = false;
    if (page.tiled) {
        same = TIFFIsTiled(handle) != 0 && TIFFNumberOfTiles(handle) == segments &&
               alike(TIFFTileRowSize(handle), page.RowBytes()) && alike(TIFFTileSize(handle), page.DecodedBytes(0));
    } else {
        const std::uint64_t last = rows - (segments - 1) * page.segmentHeight;
        same = TIFFIsTiled(handle) == 0 && TIFFNumberOfStrips(handle) == segments &&
               alike(TIFFScanlineSize(handle), page.RowBytes()) && alike(TIFFStripSize(handle), page.DecodedBytes(0)) &&
               alike(TIFFVStripSize(handle, static_cast<std::uint32_t>(last)), page.RowBytes() * last);
    }
    if (!same) DecoderView::RefuseDamaged(name, "the size of its strips or tiles cannot be decoded");
}

/// Refuses data that do not end correctly.
void CheckDeflate(const DeflateReader& reader, DeflateEnd end, const std::string& name) {
    if (end != DeflateEnd::Sound) DecoderView::RefuseDamaged(name, reader.Explain(end));
}

/// Whether libtiff has the JPEG tables. It reports nothing if it has no memory for them.
bool HasTables(tiff* handle, const Bytes& tables) {
    if (tables.empty()) return true;
    std::uint32_t size = 0;
    const void* data = nullptr;
    return TIFFGetField(handle, TIFFTAG_JPEGTABLES, &size, &data) != 0 && data != nullptr && size == tables.size() &&
           std::memcmp(data, tables.data(), size) == 0;
}

std::uint64_t WebpHead(std::uint64_t size) { return std::min<std::uint64_t>(size, kWebpHead); }

/// Refuses WebP data whose size differs from the strip or tile whose first bytes are `head`.
void CheckWebp(const PageSource& source, std::uint64_t segment, Bytes head) {
    const TiffPage& page = source.page();
    if (page.compression != COMPRESSION_WEBP) return;
    if (page.fillOrder == FILLORDER_LSB2MSB) TIFFReverseBits(head.data(), static_cast<tmsize_t>(head.size()));
    if (WebpSize(head) == PixelSize{page.segmentWidth, page.RowsOf(segment)}) return;
    DecoderView::RefuseDamaged(source.file().name(), "its WebP data have a different size");
}

void OpenView(DecoderView& view, TiffHandle& handle, const PageSource& source, std::uint64_t mostMemory) {
    const std::string& name = source.file().name();
    handle = view.Open(name, mostMemory);
    if (handle == nullptr || view.failure) view.Refuse(name);
    if (source.page().photometric == PHOTOMETRIC_YCBCR && source.page().compression == COMPRESSION_JPEG) {
        if (TIFFSetField(handle.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) == 0) view.Refuse(name);
    }
    if (!HasTables(handle.get(), source.jpegTables())) throw std::bad_alloc();
    view.messages.first.clear();  // the geometry check reveals real problems
}

}  // namespace

/// libtiff gets one tile, or one strip of full height and, if the last one is shorter, that strip below it. The only
/// relevant property of a strip number is whether it is the last.
TiffDecoder::TiffDecoder(const PageSource& source) : source_(source) {
    const TiffPage& page = source.page();
    if (DeflateReader::Concerns(page)) {
        deflate_ = std::make_unique<DeflateReader>(source);
        return;
    }
    if (page.compression == COMPRESSION_OJPEG) {
        OpenOldJpeg();
        return;
    }
    const bool two = !page.tiled && page.InPlane() > 1;
    const std::uint64_t rows = page.segmentHeight + (two ? page.RowsOf(page.InPlane() - 1) : 0);
    view_ = std::make_unique<DecoderView>();
    view_->start = source.DirectorySize(two ? 2 : 1);
    const Extent first{view_->start, page.segments[0].size};
    view_->directory = source.Directory(rows, two ? std::vector{first, first} : std::vector{first});
    view_->size = first.End();
    view_->data = &source.file();
    view_->place = page.segments[0].offset;
    OpenView(*view_, handle_, source, page.DecodedBytes(0) + kTables);
    CheckGeometry(handle_.get(), page, rows, two ? 2 : 1, source.file().name().c_str());
}

/// libtiff takes the sampling factors from the JPEG data, so strips have another size if the tags are wrong.
void TiffDecoder::OpenOldJpeg() {
    const TiffPage& page = source_.page();
    view_ = std::make_unique<DecoderView>();
    view_->directory = source_.OldJpegDirectory();
    view_->start = view_->directory.size();
    view_->size = view_->start + source_.file().Size();
    view_->data = &source_.file();
    OpenView(*view_, handle_, source_, page.DecodedBytes(0) + kTables);
    const std::uint64_t last = page.Segments() - 1;
    const auto rows = static_cast<std::uint32_t>(page.chroma.height - last * page.chroma.segmentHeight);
    const auto isSize = [](tmsize_t theirs, std::uint64_t ours) {
        return theirs > 0 && static_cast<std::uint64_t>(theirs) == ours;
    };
    const bool isSame = TIFFIsTiled(handle_.get()) == 0 && TIFFNumberOfStrips(handle_.get()) == page.Segments() &&
                        isSize(TIFFStripSize(handle_.get()), page.DecodedBytes(0)) &&
                        isSize(TIFFVStripSize(handle_.get(), rows), page.DecodedBytes(last));
    if (!isSame) {
        DecoderView::RefuseDamaged(source_.file().name(), "its old-style JPEG data have another size or subsampling");
    }
}

TiffDecoder::~TiffDecoder() = default;

void TiffDecoder::ReadSegment(std::uint64_t segment, Bytes& pixels) {
    const TiffPage& page = source_.page();
    const std::string& name = source_.file().name();
    const Extent extent = page.segments[static_cast<std::size_t>(segment)];
    raw_.resize(static_cast<std::size_t>(extent.size));
    source_.file().Read(extent.offset, raw_.data(), raw_.size());
    pixels.resize(static_cast<std::size_t>(page.DecodedBytes(segment)));
    if (deflate_) {
        const unsigned width = page.OrderedBytes();
        CheckDeflate(*deflate_, deflate_->Decode(raw_, pixels), name);
        ToNative(pixels.data(), pixels.size() / width, width, source_.bigEndian());
        if (page.predictor == PREDICTOR_HORIZONTAL) {
            UndoDifferences(pixels.data(), page.RowsOf(segment), page.segmentWidth, page.SegmentSamples(), width);
        }
        return;
    }
    if (page.compression == COMPRESSION_OJPEG) {
        const auto size = static_cast<tmsize_t>(pixels.size());
        const auto strip = static_cast<std::uint32_t>(segment);
        const tmsize_t done = TIFFReadEncodedStrip(handle_.get(), strip, pixels.data(), size);
        if (done != size || view_->Failed()) view_->Refuse(name);
        return;
    }
    CheckWebp(source_, segment, Bytes(raw_.begin(), raw_.begin() + static_cast<std::ptrdiff_t>(WebpHead(raw_.size()))));
    const bool last = !page.tiled && page.InPlane() > 1 && segment % page.InPlane() == page.InPlane() - 1;
    const int done =
        TIFFReadFromUserBuffer(handle_.get(), last ? 1 : 0, raw_.data(), static_cast<tmsize_t>(raw_.size()),
                               pixels.data(), static_cast<tmsize_t>(pixels.size()));
    if (done == 0 || view_->Failed()) view_->Refuse(name);
}

RowDecoder::RowDecoder(const PageSource& source, unsigned plane, const std::string& folder, const std::string& name)
    : source_(source), first_(plane * source.page().InPlane()), folder_(folder), name_(name) {
    if (DeflateReader::Concerns(source.page())) deflate_ = std::make_unique<DeflateReader>(source);
}

RowDecoder::~RowDecoder() = default;

Extent RowDecoder::StripOf(std::uint64_t strip) const {
    const TiffPage& page = source_.page();
    Extent extent = page.segments[static_cast<std::size_t>(first_ + strip)];
    if (page.compression == COMPRESSION_NONE) extent.size = std::min(extent.size, page.DecodedBytes(strip));
    return extent;
}

/// All strips use the same position in the copy, one at a time.
void RowDecoder::Open() {
    const TiffPage& page = source_.page();
    std::vector<Extent> places;
    for (std::uint64_t s = 0; s < page.InPlane(); ++s) {
        places.push_back({start_, StripOf(s).size});
    }
    view_ = std::make_unique<DecoderView>();
    view_->directory = source_.Directory(page.height, places);
    copy_.Write(0, view_->directory);
    view_->start = view_->place = start_;
    view_->size = start_ + page.LargestSegment();
    copy_.Resize(view_->size);
    view_->data = &copy_;
    view_->map = true;
    // Reversed bits are reordered in memory.
    const std::uint64_t whole = page.fillOrder == 1 ? 0 : page.LargestSegment();
    OpenView(*view_, handle_, source_, std::max({page.RowBytes(), whole, 8 * page.InPlane()}) + kTables);
    CheckGeometry(handle_.get(), page, page.height, page.InPlane(), source_.file().name().c_str());
}

void RowDecoder::CopyStrip(Extent strip) {
    if (copy_.descriptor() < 0) {
        copy_ = FileAccess::Scratch(folder_, name_);
        start_ = (source_.DirectorySize(source_.page().InPlane()) + kPage - 1) / kPage * kPage;
    }
    Bytes block(static_cast<std::size_t>(std::min(kCopyBlock, strip.size)));
    for (std::uint64_t done = 0; done < strip.size; done += block.size()) {
        ThrowIfInterrupted();
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), strip.size - done));
        source_.file().Read(strip.offset + done, block.data(), part);
        copy_.Write(start_ + done, block.data(), part);
    }
}

void RowDecoder::BeginStrip() {
    const Extent strip = StripOf(strip_);
    if (deflate_) {
        deflate_->BeginRows(strip);
        return;
    }
    CopyStrip(strip);
    CheckWebp(source_, first_ + strip_, copy_.Read({start_, WebpHead(strip.size)}));
    if (handle_ == nullptr) Open();
    given_ = 0;
}

void RowDecoder::EndStrip() {
    if (deflate_) {
        CheckDeflate(*deflate_, deflate_->EndRows(), source_.file().name());
    } else {
        GiveBack(UINT32_MAX);
    }
    ++strip_;
}

void RowDecoder::ReadRow(unsigned char* pixels) {
    const TiffPage& page = source_.page();
    const std::uint32_t inStrip = row_ % page.segmentHeight;
    if (inStrip == 0) BeginStrip();
    if (deflate_) {
        const unsigned width = page.OrderedBytes();
        const auto size = static_cast<std::size_t>(page.RowBytes());
        CheckDeflate(*deflate_, deflate_->Row(pixels, size), source_.file().name());
        ToNative(pixels, size / width, width, source_.bigEndian());
        if (page.predictor == PREDICTOR_HORIZONTAL) {
            UndoDifferences(pixels, 1, page.segmentWidth, page.SegmentSamples(), width);
        }
    } else {
        if (TIFFReadScanline(handle_.get(), pixels, row_, 0) < 0 || view_->Failed()) Refuse();
        GiveBack(inStrip + 1);
    }
    ++row_;
    if (inStrip + 1 == page.RowsOf(strip_)) EndStrip();
}

void RowDecoder::Refuse() const {
    // Some programs compress a strip as a whole. When decoding by rows, libtiff does not support runs that cross rows.
    const bool damaged = !view_->failure && !TellsOfNoMemory(view_->messages.first);
    if (damaged && source_.page().compression == COMPRESSION_PACKBITS) {
        throw Refusal(
            Exit::Input, source_.file().name(),
            "has PackBits data that run across rows or are damaged, in strips that do not fit in the memory allowed",
            "raise --max-memory");
    }
    view_->Refuse(source_.file().name());
}

/// The decoder reads a strip from start to end. Data well before the position after `rows` rows are no longer needed;
/// if they were accessed, they would be read from the copy again.
void RowDecoder::GiveBack(std::uint32_t rows) {
    if (view_->mapped == nullptr) return;
    const std::uint64_t size = StripOf(strip_).size;
    const double share = std::min(1.0, static_cast<double>(rows) / source_.page().RowsOf(strip_));
    const auto done = static_cast<std::uint64_t>(static_cast<double>(size) * share);
    if (done < given_ + kMappedWindow && rows != UINT32_MAX) return;
    const std::uint64_t to = rows == UINT32_MAX ? size : done / kPage * kPage;
    ::madvise(view_->mapped + start_ + given_ / kPage * kPage, to - given_ / kPage * kPage, MADV_DONTNEED);
    given_ = done;
}

}  // namespace hueweave::tool
