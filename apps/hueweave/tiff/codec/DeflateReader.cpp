// SPDX-License-Identifier: MIT
#include "tiff/codec/DeflateReader.h"

#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kScratch = std::size_t{64} << 10;  ///< bytes; fits in the processor's cache
constexpr std::uint64_t kPiece = std::uint64_t{256} << 10;

template <typename Sample>
void Accumulate(unsigned char* row, std::uint64_t samples, unsigned stride) {
    for (std::uint64_t i = stride; i < samples; ++i) {
        Sample before, here;
        std::memcpy(&before, row + (i - stride) * sizeof(Sample), sizeof(Sample));
        std::memcpy(&here, row + i * sizeof(Sample), sizeof(Sample));
        here = static_cast<Sample>(here + before);
        std::memcpy(row + i * sizeof(Sample), &here, sizeof(Sample));
    }
}

}  // namespace

DeflateReader::DeflateReader(const PageSource& source)
    : source_(source), stream_(new z_stream_s{}), scratch_(kScratch) {
    if (inflateInit(stream_.get()) != Z_OK) throw std::bad_alloc();
}

DeflateReader::~DeflateReader() { inflateEnd(stream_.get()); }

bool DeflateReader::Concerns(const TiffPage& page) {
    return page.compression == COMPRESSION_ADOBE_DEFLATE || page.compression == COMPRESSION_DEFLATE;
}

void DeflateReader::Begin() {
    inflateReset(stream_.get());
    beyond_ = false;
    state_ = Z_OK;
}

void DeflateReader::Feed(unsigned char* data, std::size_t size) {
    if (source_.page().fillOrder == FILLORDER_LSB2MSB) {
        turned_.assign(data, data + size);
        TIFFReverseBits(turned_.data(), static_cast<tmsize_t>(size));
        data = turned_.data();
    }
    stream_->next_in = data;
    stream_->avail_in = static_cast<unsigned>(size);
}

std::size_t DeflateReader::Inflate(unsigned char* pixels, std::size_t size) {
    std::size_t done = 0;
    while (state_ == Z_OK && done < size) {
        const auto room = static_cast<unsigned>(std::min<std::size_t>(size - done, std::size_t{1} << 30));
        stream_->next_out = pixels + done;
        stream_->avail_out = room;
        state_ = inflate(stream_.get(), Z_NO_FLUSH);
        done += room - stream_->avail_out;
        if (state_ == Z_BUF_ERROR || (state_ == Z_OK && stream_->avail_in == 0 && stream_->avail_out > 0)) {
            state_ = Z_OK;  // it needs more input
            break;
        }
    }
    return done;
}

void DeflateReader::Skip() {
    for (std::size_t done = scratch_.size(); state_ == Z_OK && !beyond_ && done == scratch_.size();) {
        ThrowIfInterrupted();
        done = Inflate(scratch_.data(), scratch_.size());
        beyond_ = (source_.surplus() -= static_cast<std::int64_t>(done)) < 0;
    }
}

/// Surplus data are not damage: some programs fill the last strip up to the height of the others.
DeflateEnd DeflateReader::End(bool enough) const {
    if (beyond_) return DeflateEnd::TooLate;
    if (state_ == Z_OK) return DeflateEnd::Missing;
    if (state_ == Z_STREAM_END) return enough ? DeflateEnd::Sound : DeflateEnd::TooEarly;
    return DeflateEnd::Damaged;
}

std::string DeflateReader::Explain(DeflateEnd end) const {
    switch (end) {
        case DeflateEnd::Sound:
            break;
        case DeflateEnd::Missing:
            return "its Deflate data are truncated";
        case DeflateEnd::TooEarly:
            return "its Deflate data end too early";
        case DeflateEnd::TooLate:
            return "its Deflate data continue far beyond the image";
        case DeflateEnd::Damaged:
            return stream_->msg != nullptr ? stream_->msg : "its Deflate data cannot be decoded";
    }
    return "";
}

DeflateEnd DeflateReader::Decode(Bytes& raw, Bytes& pixels) {
    Begin();
    std::size_t decoded = 0;
    for (std::size_t at = 0; at < raw.size() && state_ == Z_OK && !beyond_; at += kPiece) {
        Feed(raw.data() + at, std::min<std::size_t>(kPiece, raw.size() - at));
        decoded += Inflate(pixels.data() + decoded, pixels.size() - decoded);
        if (decoded == pixels.size()) Skip();
    }
    return End(decoded == pixels.size());
}

void DeflateReader::BeginRows(Extent strip) {
    Begin();
    stream_->avail_in = 0;
    left_ = strip;
}

bool DeflateReader::Refill() {
    if (stream_->avail_in > 0) return true;
    if (left_.size == 0) return false;
    ThrowIfInterrupted();
    block_.resize(static_cast<std::size_t>(std::min(kPiece, left_.size)));
    source_.file().Read(left_.offset, block_.data(), block_.size());
    left_ = {left_.offset + block_.size(), left_.size - block_.size()};
    Feed(block_.data(), block_.size());
    return true;
}

DeflateEnd DeflateReader::Row(unsigned char* pixels, std::size_t size) {
    std::size_t done = 0;
    for (;;) {
        done += Inflate(pixels + done, size - done);
        if (done == size) return DeflateEnd::Sound;
        if (state_ != Z_OK || !Refill()) return End(false);
    }
}

DeflateEnd DeflateReader::EndRows() {
    do {
        Skip();
    } while (state_ == Z_OK && !beyond_ && Refill());
    return End(true);
}

void UndoDifferences(unsigned char* pixels, std::uint64_t rows, std::uint64_t columns, unsigned stride,
                     unsigned width) {
    const std::uint64_t samples = columns * stride;
    for (std::uint64_t row = 0; row < rows; ++row, pixels += samples * width) {
        if (width == 1) {
            Accumulate<std::uint8_t>(pixels, samples, stride);
        } else {
            Accumulate<std::uint16_t>(pixels, samples, stride);
        }
    }
}

}  // namespace hueweave::tool
