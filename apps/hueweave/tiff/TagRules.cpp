// SPDX-License-Identifier: MIT
#include "tiff/TagRules.h"

#include <algorithm>
#include <set>

namespace hueweave::tool {
namespace {

/// Number of values of a tag.
enum class Values {
    One,
    OneOrPerSample,  ///< with equal values
    PerSample,
    UpToSamples,
    Any,
};

constexpr std::uint32_t Types(std::initializer_list<unsigned> list) {
    std::uint32_t set = 0;
    for (const unsigned type : list) set |= std::uint32_t{1} << type;
    return set;
}
constexpr std::uint32_t kWhole = Types({1, 3, 4, 16});                               ///< BYTE, SHORT, LONG, LONG8
constexpr std::uint32_t kDirectory = Types({4, 13, 16, 18});                         ///< LONG, IFD, LONG8, IFD8
constexpr std::uint32_t kBytes = Types({1, 2, 6, 7});                                ///< one byte per item
constexpr std::uint32_t kNumber = Types({1, 3, 4, 5, 6, 8, 9, 10, 11, 12, 16, 17});  ///< any number, signed or unsigned
constexpr std::uint32_t kAll = ~std::uint32_t{0};

struct Rule {
    std::uint16_t tag;
    std::uint32_t types;
    Values values;
};

constexpr Rule kRules[] = {
    {tag::SubfileType, kWhole, Values::Any},  // files created by the library have four bytes
    {tag::Width, kWhole, Values::One},
    {tag::Height, kWhole, Values::One},
    {tag::BitsPerSample, kWhole, Values::OneOrPerSample},
    {tag::Compression, kWhole, Values::OneOrPerSample},
    {tag::Photometric, kWhole, Values::One},
    {tag::FillOrder, kWhole, Values::One},
    {tag::StripOffsets, kWhole, Values::Any},
    {tag::Orientation, kWhole, Values::One},
    {tag::SamplesPerPixel, kWhole, Values::One},
    {tag::RowsPerStrip, kWhole, Values::One},
    {tag::StripByteCounts, kWhole, Values::Any},
    {tag::MinSampleValue, kWhole, Values::OneOrPerSample},
    {tag::MaxSampleValue, kWhole, Values::OneOrPerSample},
    {tag::Planar, kWhole, Values::One},
    {tag::Predictor, kWhole, Values::One},
    {tag::TileWidth, kWhole, Values::One},
    {tag::TileHeight, kWhole, Values::One},
    {tag::TileOffsets, kWhole, Values::Any},
    {tag::TileByteCounts, kWhole, Values::Any},
    {tag::SubIfds, kDirectory, Values::Any},
    {tag::ExtraSamples, kWhole, Values::UpToSamples},
    {tag::SampleFormat, kWhole, Values::OneOrPerSample},
    {tag::LeastSample, kNumber, Values::PerSample},
    {tag::LargestSample, kNumber, Values::PerSample},
    {tag::JpegTables, kBytes, Values::Any},
    {tag::YCbCrCoefficients, kAll, Values::Any},
    {tag::YCbCrSubSampling, kAll, Values::Any},
    {tag::YCbCrPositioning, kAll, Values::Any},
    {tag::ReferenceBlackWhite, kAll, Values::Any},
    {tag::DataType, kWhole, Values::OneOrPerSample},
    {tag::Depth, kWhole, Values::One},
    {tag::TileDepth, kWhole, Values::One},
    {tag::PhotoshopResources, kAll, Values::Any},
    {tag::IccProfile, kBytes, Values::Any},
};
static_assert(std::is_sorted(std::begin(kRules), std::end(kRules),
                             [](const Rule& a, const Rule& b) { return a.tag < b.tag; }));

const Rule* RuleOf(std::uint16_t tag) {
    const auto* found = std::lower_bound(std::begin(kRules), std::end(kRules), tag,
                                         [](const Rule& rule, std::uint16_t wanted) { return rule.tag < wanted; });
    return found != std::end(kRules) && found->tag == tag ? found : nullptr;
}

bool HasRightCount(Values values, std::uint64_t count, std::uint64_t samples) {
    switch (values) {
        case Values::One:
            return count == 1;
        case Values::OneOrPerSample:
            return count == 1 || count == samples;
        case Values::PerSample:
            return count == samples;
        case Values::UpToSamples:
            return count <= samples;
        default:
            return true;
    }
}

std::string FaultOfEntry(const TiffStructure& structure, const TiffEntry& entry, const Rule& rule,
                         std::uint64_t samples) {
    const std::string name = "tag " + std::to_string(entry.tag);
    if (rule.types != kAll && (entry.type > 18 || (rule.types >> entry.type & 1U) == 0)) {
        return "has " + name + " in type " + std::to_string(entry.type) + ", which it cannot have";
    }
    if (!HasRightCount(rule.values, entry.count, samples)) {
        return "has " + name + " with " + std::to_string(entry.count) + " values";
    }
    if (structure.LiesOverDirectory(entry)) return "has the value of " + name + " over a directory";
    if (rule.values == Values::OneOrPerSample && entry.count > 1) {
        const auto numbers = structure.Numbers(entry);
        const bool alike =
            std::all_of(numbers.begin(), numbers.end(), [&](std::uint64_t number) { return number == numbers[0]; });
        if (!alike && entry.tag != tag::BitsPerSample) return "has " + name + " with different values for the samples";
    }
    return {};
}

bool HasAny(const TiffDirectory& directory, std::initializer_list<std::uint16_t> tags) {
    return std::any_of(tags.begin(), tags.end(), [&](auto which) { return directory.Find(which) != nullptr; });
}

/// Some programs store the places of tiles in the tags of strips. Readers accept that.
bool HasTilesInStripTags(const TiffDirectory& directory) {
    return directory.Find(tag::TileWidth) != nullptr && directory.Find(tag::TileHeight) != nullptr &&
           directory.Find(tag::StripOffsets) != nullptr && !HasAny(directory, {tag::TileOffsets, tag::TileByteCounts});
}

}  // namespace

std::string FaultOfTags(const TiffStructure& structure, const TiffDirectory& directory) {
    std::uint64_t samples = 1;
    if (const TiffEntry* entry = directory.Find(tag::SamplesPerPixel)) {
        std::string fault = FaultOfEntry(structure, *entry, *RuleOf(entry->tag), 1);
        if (!fault.empty()) return fault;
        samples = structure.Number(directory, tag::SamplesPerPixel, 1);
    }
    std::set<std::uint16_t> seen;
    for (const TiffEntry& entry : directory.entries) {
        const Rule* rule = RuleOf(entry.tag);
        if (rule == nullptr) continue;
        if (!seen.insert(entry.tag).second) return "has tag " + std::to_string(entry.tag) + " twice";
        std::string fault = FaultOfEntry(structure, entry, *rule, samples);
        if (!fault.empty()) return fault;
    }
    if (HasAny(directory, {tag::StripOffsets, tag::StripByteCounts}) &&
        HasAny(directory, {tag::TileWidth, tag::TileHeight, tag::TileOffsets, tag::TileByteCounts}) &&
        !HasTilesInStripTags(directory)) {
        return "has both strips and tiles";
    }
    return {};
}

}  // namespace hueweave::tool
