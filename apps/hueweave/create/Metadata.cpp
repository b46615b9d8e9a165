// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

#include "create/ExifBlock.h"
#include "create/SourcePicture.h"
#include "system/BigEndian.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostBlock = std::uint64_t{4} << 20;  ///< bytes; larger metadata are left out
constexpr double kPerInch = 0.0254, kInchPerCentimetre = 2.54;
constexpr std::string_view kXmpText{"XML:com.adobe.xmp\0\0\0\0\0", 22};  ///< not compressed, in no language
constexpr std::string_view kJfifStart{"JFIF\0", 5};

bool StartsWith(const Bytes& data, std::string_view start) {
    return data.size() >= start.size() &&
           std::equal(start.begin(), start.end(), data.begin(),
                      [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
}

Bytes After(const Bytes& data, std::size_t start) {
    return {data.begin() + static_cast<std::ptrdiff_t>(start), data.end()};
}

void SetResolution(Metadata& metadata, double x, double y) {
    constexpr double kMost = 1e6;
    if (x > 0 && y > 0 && x < kMost && y < kMost) metadata.resolution = {x, y};
}

/// PNG counts pixels per metre. A resolution that was a whole number per inch becomes one again.
double PerInch(std::uint32_t perMetre) {
    const double exact = perMetre * kPerInch, whole = std::round(exact);
    return std::abs(exact - whole) <= kPerInch / 2 ? whole : exact;
}

void SetExif(Metadata& metadata, Bytes block) {
    const bool isSound = IsSoundExif(block);
    if (isSound) metadata.exif = std::move(block);
    metadata.hasOthers = metadata.hasOthers || !isSound;
}

/// Tags that say how a page is stored, or what other formats store otherwise.
constexpr std::uint16_t kStoring[] = {tag::SubfileType,
                                      255,
                                      tag::Width,
                                      tag::Height,
                                      tag::BitsPerSample,
                                      tag::Compression,
                                      tag::Photometric,
                                      tag::FillOrder,
                                      tag::StripOffsets,
                                      tag::SamplesPerPixel,
                                      tag::RowsPerStrip,
                                      tag::StripByteCounts,
                                      tag::MinSampleValue,
                                      tag::MaxSampleValue,
                                      tag::XResolution,
                                      tag::YResolution,
                                      tag::Planar,
                                      tag::ResolutionUnit,
                                      tag::Predictor,
                                      tag::ColourMap,
                                      tag::TileWidth,
                                      tag::TileHeight,
                                      tag::TileOffsets,
                                      tag::TileByteCounts,
                                      tag::InkSet,
                                      tag::NumberOfInks,
                                      tag::ExtraSamples,
                                      tag::SampleFormat,
                                      tag::JpegTables,
                                      tag::YCbCrCoefficients,
                                      tag::YCbCrSubSampling,
                                      tag::YCbCrPositioning,
                                      tag::ReferenceBlackWhite,
                                      tag::Xmp,
                                      tag::IccProfile};

double RationalOf(const TiffStructure& structure, const TiffDirectory& directory, std::uint16_t which) {
    const TiffEntry* entry = directory.Find(which);
    if (entry == nullptr || entry->type != type::Rational || entry->count != 1) return 0;
    const Bytes data = structure.Data(*entry);
    const std::uint64_t divisor = structure.form().Get(&data[4], 4);
    return divisor == 0 ? 0 : static_cast<double>(structure.form().Get(data.data(), 4)) / static_cast<double>(divisor);
}

}  // namespace

Metadata MetadataOf(const PngStructure& structure) {
    Metadata metadata;
    for (const PngChunk& chunk : structure.chunks()) {
        if (chunk.type == "pHYs" && chunk.Data().size == 9) {
            const Bytes data = structure.Data(chunk);
            if (data[8] == 1) SetResolution(metadata, PerInch(Big32(&data[0])), PerInch(Big32(&data[4])));
        }
        const bool isText =
            chunk.type == "tEXt" || chunk.type == "zTXt" || chunk.type == "iTXt" || chunk.type == "tIME";
        if (!isText && chunk.type != "eXIf") continue;
        if (chunk.Data().size > kMostBlock) {
            metadata.hasOthers = true;
            continue;
        }
        Bytes data = structure.Data(chunk);
        if (chunk.type == "eXIf") {
            SetExif(metadata, std::move(data));
        } else if (chunk.type == "iTXt" && StartsWith(data, kXmpText)) {
            metadata.xmp = After(data, kXmpText.size());
        } else {
            metadata.hasOthers = true;
        }
    }
    return metadata;
}

Metadata MetadataOf(const JpegStructure& structure) {
    using namespace jpeg_marker;
    Metadata metadata;
    for (const JpegSegment& segment : structure.segments()) {
        if (!segment.IsAttached() || structure.IsProfile(segment) || structure.IsAdobe(segment)) continue;
        const Bytes data = structure.Data(segment);
        if (segment.marker == kApp0 && StartsWith(data, kJfifStart) && data.size() >= 12) {
            const double factor = data[7] == 1 ? 1 : data[7] == 2 ? kInchPerCentimetre : 0;
            SetResolution(metadata, Big16(&data[8]) * factor, Big16(&data[10]) * factor);
        } else if (segment.marker == kApp1 && StartsWith(data, kExifStart)) {
            SetExif(metadata, After(data, kExifStart.size()));
        } else if (segment.marker == kApp1 && StartsWith(data, kXmpStart)) {
            metadata.xmp = After(data, kXmpStart.size());
        } else {
            metadata.hasOthers = true;
        }
    }
    return metadata;
}

Metadata MetadataOf(const TiffStructure& structure, const TiffDirectory& directory) {
    Metadata metadata;
    for (const TiffEntry& entry : directory.entries) {
        const bool isStoring = std::find(std::begin(kStoring), std::end(kStoring), entry.tag) != std::end(kStoring);
        metadata.hasOthers = metadata.hasOthers || (!isStoring && !DescribesPicture(entry.tag));
    }
    const std::uint64_t unit = structure.Number(directory, tag::ResolutionUnit, 2);
    const double factor = unit == 2 ? 1 : unit == 3 ? kInchPerCentimetre : 0;
    SetResolution(metadata, RationalOf(structure, directory, tag::XResolution) * factor,
                  RationalOf(structure, directory, tag::YResolution) * factor);
    const TiffEntry* xmp = directory.Find(tag::Xmp);
    if (xmp != nullptr && xmp->dataSize <= kMostBlock) metadata.xmp = structure.Data(*xmp);
    ExifOfPage exif = MakeExifBlock(structure, directory);
    metadata.exif = std::move(exif.block);
    metadata.hasMakerNote = exif.hasMakerNote;
    return metadata;
}

}  // namespace hueweave::tool
