// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "DeflateReader.h"

#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kScratch = std::size_t{64} << 10;  ///< bytes; stays in the processor's cache
constexpr std::uint64_t kBlock = std::uint64_t{256} << 10;

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

// The last strip may be filled up to the height of the others, and a little more is no harm. Many times as much makes
// a small file slow, above all where its strips share their data.
DeflateReader::DeflateReader(const TiffPage& page)
    : page_(page),
      stream_(new z_stream_s{}),
      scratch_(kScratch),
      most_(2 * page.RowBytes() * page.segmentHeight + page.slack) {
    if (inflateInit(stream_.get()) != Z_OK) throw std::bad_alloc();
}

DeflateReader::~DeflateReader() { inflateEnd(stream_.get()); }

bool DeflateReader::Concerns(const TiffPage& page) {
    return page.compression == COMPRESSION_ADOBE_DEFLATE || page.compression == COMPRESSION_DEFLATE;
}

void DeflateReader::Begin(unsigned char* target, std::uint64_t wanted) {
    inflateReset(stream_.get());
    target_ = target;
    wanted_ = wanted;
    decoded_ = 0;
    state_ = Z_OK;
}

bool DeflateReader::Add(const unsigned char* data, std::size_t size) {
    if (page_.fillOrder == FILLORDER_LSB2MSB) {
        turned_.assign(data, data + size);
        TIFFReverseBits(turned_.data(), static_cast<tmsize_t>(size));
        data = turned_.data();
    }
    stream_->next_in = const_cast<unsigned char*>(data);  // zlib reads it only
    stream_->avail_in = static_cast<unsigned>(size);
    do {
        const bool kept = target_ != nullptr && decoded_ < wanted_;
        const std::uint64_t room = kept ? std::min(wanted_ - decoded_, std::uint64_t{1} << 30) : scratch_.size();
        stream_->next_out = kept ? target_ + decoded_ : scratch_.data();
        stream_->avail_out = static_cast<unsigned>(room);
        state_ = inflate(stream_.get(), Z_NO_FLUSH);
        decoded_ += room - stream_->avail_out;
        if (decoded_ > most_) return false;
    } while (state_ == Z_OK && (stream_->avail_in > 0 || stream_->avail_out == 0));
    return state_ == Z_OK || state_ == Z_BUF_ERROR;
}

/// More than is wanted is no damage: some programs fill the last strip up to the height of the others.
const char* DeflateReader::End() const {
    if (decoded_ > most_) return "its Deflate data are far longer than its pixels";
    if (state_ == Z_OK || state_ == Z_BUF_ERROR) return "its Deflate data break off";
    if (state_ == Z_STREAM_END) return decoded_ < wanted_ ? "its Deflate data end too early" : nullptr;
    return stream_->msg != nullptr ? stream_->msg : "its Deflate data cannot be decoded";
}

const char* DeflateReader::Decode(const Bytes& raw, Bytes& pixels) {
    Begin(pixels.data(), pixels.size());
    for (std::size_t at = 0; at < raw.size(); at += kBlock) {
        if (!Add(raw.data() + at, std::min<std::size_t>(kBlock, raw.size() - at))) break;
    }
    return End();
}

const char* DeflateReader::Check(std::uint64_t segment, const FileAccess& file) {
    const Extent extent = page_.segments[static_cast<std::size_t>(segment)];
    Bytes block(static_cast<std::size_t>(std::min(kBlock, extent.size)));
    Begin(nullptr, page_.DecodedBytes(segment));
    for (std::uint64_t at = extent.offset; at < extent.End(); at += block.size()) {
        ThrowIfInterrupted();
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), extent.End() - at));
        file.Read(at, block.data(), size);
        if (!Add(block.data(), size)) break;
    }
    return End();
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
