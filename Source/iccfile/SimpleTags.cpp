// SPDX-License-Identifier: MIT
#include "iccfile/SimpleTags.h"

#include <algorithm>
#include <limits>
#include <span>

namespace ICC40::ICCFILE {
namespace {

constexpr std::uint64_t kText = 8;  ///< after type and reserved
constexpr std::uint64_t kValues = 8;
constexpr std::uint64_t kCurveCount = 8;
constexpr std::uint64_t kCurveEntries = 12;

std::unique_ptr<unsigned char[]> CopyText(const TagReader& block) {
    const std::span<const unsigned char> bytes = block.From(kText);
    auto text = std::make_unique_for_overwrite<unsigned char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), text.get());
    return text;
}

/// A curve in a block of unknown size: reads as many entries as it declares.
TagReader AsLongAsItSays(const unsigned char* data) {
    if (data == nullptr) return TagReader(nullptr, 0);
    const std::uint64_t entries = TagReader(data, static_cast<int>(kCurveEntries)).U32(kCurveCount);
    return TagReader(std::span(data, kCurveEntries + 2 * entries));
}

}  // namespace

unsigned CTextType::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    text = CopyText(TagReader(data, size));
    return taken;
}

unsigned CTextDescriptionType::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    const TagReader block(data, size);
    text = CopyText(block);
    textLength = static_cast<std::uint32_t>(block.Room(kText));
    return taken;
}

unsigned CXYZType::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    const TagReader block(data, size);
    for (std::size_t i = 0; i < rawXYZ.size(); ++i) {
        rawXYZ[i] = block.U32(kValues + 4 * i);
        XYZ[i] = FromFixed(rawXYZ[i]);
    }
    return taken;
}

void CCurveType::Decode(const TagReader& block) {
    const std::uint64_t announced = block.U32(kCurveCount);
    const std::uint64_t held = block.Room(kCurveEntries) / 2;
    const std::uint64_t entries = std::min(announced, held);
    curve = std::make_unique<std::uint16_t[]>(entries);
    for (std::uint64_t i = 0; i < entries; ++i) curve[i] = block.U16(kCurveEntries + 2 * i);
    curveCount = static_cast<std::uint32_t>(entries);
}

unsigned CCurveType::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    // Kept: nothing is copied from a block of size 0, but the curve at `data` is read.
    const TagReader block = size == 0 ? AsLongAsItSays(data) : TagReader(data, size);
    sig = static_cast<icTagTypeSignature>(block.U32(0));
    Decode(block);
    return taken;
}

unsigned CCurveType::Initial(icTagSignature tagName, unsigned char* data) {
    Initial(tagName, data, 0);
    return SetStep();
}

unsigned CCurveType::InitialWithin(icTagSignature tagName, const TagReader& block) {
    iccTagBase::Initial(tagName, nullptr, 0);
    sig = static_cast<icTagTypeSignature>(block.U32(0));
    Decode(block);
    return SetStep();
}

unsigned CCurveType::SetStep() {
    tagSize = 2 * curveCount + 14;  // Kept: two bytes more than the curve takes, see CLut
    return tagSize;
}

unsigned CChad::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    const TagReader block(data, size);
    for (std::size_t i = 0; i < chad.size(); ++i) chad[i] = FromFixed(block.U32(kValues + 4 * i));
    return taken;
}

}  // namespace ICC40::ICCFILE
