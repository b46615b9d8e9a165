// SPDX-License-Identifier: MIT
#include "jpeg/JpegStructure.h"

#include <algorithm>
#include <cstring>

#include "system/BigEndian.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

using namespace jpeg_marker;

constexpr const char* kWholeCopy = "get a complete copy of the file";
constexpr std::uint64_t kBlock = std::uint64_t{64} << 10;
constexpr std::size_t kProfileHead = kProfileStart.size() + 2;  ///< with the number of the part, and of all

}  // namespace

std::uint64_t JpegFrame::CoefficientBytes() const {
    unsigned across = 1, down = 1;
    for (const Component& c : components) across = std::max(across, c.across), down = std::max(down, c.down);
    const std::uint64_t columns = (width - 1) / (8 * across) + 1, rows = (height - 1) / (8 * down) + 1;
    std::uint64_t bytes = 0;
    for (const Component& c : components) bytes += columns * c.across * rows * c.down * 64 * 2;
    return bytes;
}

/// The bytes of a file, one after the other.
class JpegStructure::Cursor {
public:
    Cursor(const JpegStructure& structure, std::uint64_t at) : structure_(structure), begin_(at) {}

    std::uint64_t Position() const { return begin_ + used_; }
    unsigned Next() {
        if (used_ == block_.size()) Refill();
        return block_[used_++];
    }
    void Skip(std::uint64_t bytes) {
        if (bytes <= block_.size() - used_) {
            used_ += static_cast<std::size_t>(bytes);
            return;
        }
        MoveTo(Position() + bytes);
    }
    void MoveTo(std::uint64_t position) {
        begin_ = position;
        used_ = 0;
        block_.clear();
    }
    /// Moves behind the next byte 0xff.
    void SkipToMarker() {
        for (;;) {
            if (used_ == block_.size()) Refill();
            const void* const found = std::memchr(block_.data() + used_, 0xff, block_.size() - used_);
            if (found != nullptr) {
                used_ = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - block_.data()) + 1;
                return;
            }
            used_ = block_.size();
        }
    }
    /// The second byte of a marker. `start` becomes the offset of its first byte, or of the fill bytes before it.
    unsigned Marker(std::uint64_t& start) {
        start = Position();
        if (Next() != 0xff) structure_.Refuse("is damaged: no marker begins at byte " + std::to_string(start));
        unsigned marker = 0xff;
        while (marker == 0xff) marker = Next();
        return marker;
    }

private:
    void Refill() {
        begin_ += used_;
        used_ = 0;
        const std::uint64_t size = structure_.fileSize_;
        if (begin_ >= size) structure_.Refuse("is truncated: it ends at byte " + std::to_string(size));
        block_ = structure_.file_.Read({begin_, std::min(kBlock, size - begin_)});
    }

    const JpegStructure& structure_;
    std::uint64_t begin_;  ///< offset of the block
    Bytes block_;
    std::size_t used_ = 0;
};

JpegStructure::JpegStructure(const FileAccess& file) : file_(file), fileSize_(file.Size()) {
    Cursor cursor(*this, 0);
    if (cursor.Next() != 0xff || cursor.Next() != kSoi) Refuse("is damaged: it does not begin as a JPEG file");
    ReadSegments(cursor);
}

void JpegStructure::Refuse(const std::string& reason) const {
    throw Refusal(Exit::Input, file_.name(), reason, kWholeCopy);
}

/// The loop ends with the marker EOI, or with a refusal at the end of the file.
void JpegStructure::ReadSegments(Cursor& cursor) {
    for (;;) {
        std::uint64_t start = 0;
        const unsigned marker = cursor.Marker(start);
        if (marker == kEoi) break;
        if (marker < kSof0 || (marker >= kRst0 && marker <= kSoi)) {
            Refuse("is damaged: an unexpected marker is at byte " + std::to_string(start));
        }
        const JpegSegment segment = ReadSegment(cursor, start, marker);
        const bool isFrame = marker <= kSof15 && marker != kDht && marker != kJpg && marker != kDac;
        if (isFrame) ReadFrame(segment);
        if (scans_ == 0 && marker == kSos) coded_.offset = start;
        // Readers look for these before the first scan only; moved there, they would describe the image.
        const bool isInterpreted = marker == kApp0 || marker == kApp2 || marker == kApp14;
        if (scans_ == 0 ? marker != kSos : segment.IsAttached() && !isInterpreted) {
            if (segments_.size() == jpeg_limit::kSegments) Refuse("contains more than 65536 segments");
            segments_.push_back(segment);
        }
        if (marker != kSos) continue;
        if (frame_.marker == 0) Refuse("is damaged: its image data have no header");
        if (++scans_ > jpeg_limit::kScans) Refuse("contains more than 256 scans");
        unsigned code = 0;
        do {
            cursor.SkipToMarker();
            do code = cursor.Next();
            while (code == 0xff);
        } while (code == 0 || (code >= kRst0 && code <= kRst7));
        cursor.MoveTo(cursor.Position() - 2);
    }
    if (scans_ == 0) Refuse("is damaged: it contains no image data");
    coded_.size = cursor.Position() - coded_.offset;
}

JpegSegment JpegStructure::ReadSegment(Cursor& cursor, std::uint64_t start, unsigned marker) {
    const unsigned high = cursor.Next(), length = high << 8 | cursor.Next();
    if (length < 2) Refuse("is damaged: a segment at byte " + std::to_string(start) + " has no length");
    const Extent data{cursor.Position(), length - 2U};
    cursor.Skip(data.size);
    if (data.End() > fileSize_) Refuse("is truncated: it ends at byte " + std::to_string(fileSize_));
    return {marker, {start, data.End() - start}, data};
}

void JpegStructure::ReadFrame(const JpegSegment& segment) {
    if (frame_.marker != 0) Refuse("is damaged: it contains several frames");
    const Bytes data = Data(segment);
    const std::size_t count = data.size() < 6 ? 0 : data[5];
    if (count == 0 || data.size() != 6 + 3 * count) Refuse("is damaged: its frame header has a wrong size");
    frame_.marker = segment.marker;
    frame_.precision = data[0];
    frame_.height = Big16(&data[1]);
    frame_.width = Big16(&data[3]);
    if (frame_.width == 0 || frame_.height == 0) Refuse("does not give its size in its frame header");
    for (std::size_t c = 0; c < count; ++c) {
        const unsigned factors = data[6 + 3 * c + 1];
        frame_.components.push_back({factors >> 4, factors & 15U});
        if (factors >> 4 == 0 || (factors & 15U) == 0) Refuse("is damaged: its sampling factors are 0");
    }
}

bool JpegStructure::Begins(const JpegSegment& segment, std::string_view start) const {
    if (segment.data.size < start.size()) return false;
    const Bytes data = file_.Read({segment.data.offset, start.size()});
    return std::equal(data.begin(), data.end(), start.begin(),
                      [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); });
}

bool JpegStructure::IsProfile(const JpegSegment& segment) const {
    return segment.marker == kApp2 && Begins(segment, kProfileStart);
}

bool JpegStructure::IsAdobe(const JpegSegment& segment) const {
    return segment.marker == kApp14 && segment.data.size > kAdobeTransform && Begins(segment, kAdobeStart);
}

bool JpegStructure::HasAdobe() const {
    return std::any_of(segments_.begin(), segments_.end(), [this](const JpegSegment& s) { return IsAdobe(s); });
}

Bytes JpegStructure::Profile() const {
    std::vector<Extent> parts;
    bool isWhole = true;
    std::size_t found = 0;
    for (const JpegSegment& segment : segments_) {
        if (!IsProfile(segment)) continue;
        const Bytes head = file_.Read({segment.data.offset, std::min<std::uint64_t>(kProfileHead, segment.data.size)});
        const std::size_t number = head.size() < kProfileHead ? 0 : head[kProfileHead - 2];
        const std::size_t count = head.size() < kProfileHead ? 0 : head[kProfileHead - 1];
        if (found++ == 0) parts.resize(count);
        isWhole = isWhole && number > 0 && number <= count && count == parts.size() && parts[number - 1].size == 0;
        if (isWhole) parts[number - 1] = {segment.data.offset + kProfileHead, segment.data.size - kProfileHead};
    }
    if (found != parts.size() || !isWhole) {
        throw Refusal(Exit::Profile, file_.name(), "embeds a profile with missing or duplicate parts",
                      "give one with --profile and --source given");
    }
    Bytes profile;
    for (const Extent& part : parts) {
        const Bytes data = file_.Read(part);
        profile.insert(profile.end(), data.begin(), data.end());
    }
    return profile;
}

}  // namespace hueweave::tool
