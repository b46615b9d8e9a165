// SPDX-License-Identifier: MIT
#include "colour/library/LibraryConverter.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "colour/base/ProfileError.h"
#include "colour/library/EngineBinding.h"
#include "colour/profile/OutputProfile.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kRun = 2048;  ///< pixels converted at a time; they stay in the L1 cache
/// The largest linear value of a grid node: nodes have 8 bits.
constexpr std::size_t kTopNode = 65280;

std::uint16_t Get16(const unsigned char* at) {
    std::uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
void Put16(unsigned char* at, std::uint16_t value) { std::memcpy(at, &value, sizeof value); }

}  // namespace

LibraryConverter::LibraryConverter(const Bytes& profile, const Rendering& rendering, unsigned bits)
    : rendering_(rendering), bits_(bits) {
    const Space& space = *rendering.space;
    engine_ = BindEngine(profile, rendering, bits == 16 || space.ByTable(), space.Built(bits).space);
    if (engine_ == nullptr) throw ProfileError("has no table that can be used");
    if (space.ByTable()) {
        map_.resize(65536);
        for (unsigned v = 0; v < 65536; ++v) {
            const unsigned adobe = AdobeFromGamma18(static_cast<std::uint16_t>(v));
            map_[v] = static_cast<std::uint16_t>(bits == 16 ? adobe : (adobe * 255 + 32767) / 65535);
        }
    } else if (bits == 16 && space.Built(bits).bits == 8 && !rendering.curves) {
        // This curve has 8-bit samples at both depths; used directly, it would make a 16-bit file black.
        for (unsigned v = 0; v < 65536; ++v) map_.push_back(static_cast<std::uint16_t>(std::min(v, 255U) * 257));
    }
    if (bits == 8 && !space.ByTable() && FindPackedLoop() != nullptr)
        packed_ = std::make_unique<const PackedTables>(*engine_);
    const std::uint32_t* tables[] = {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB};
    for (std::size_t c = 0; c < 3; ++c) {
        range_.low[c] = static_cast<std::uint16_t>(tables[c][0]);
        range_.high[c] = static_cast<std::uint16_t>(tables[c][kTopNode]);
        if (!map_.empty()) range_.low[c] = map_[range_.low[c]], range_.high[c] = map_[range_.high[c]];
    }
}

LibraryConverter::~LibraryConverter() = default;

void LibraryConverter::MapWide(unsigned char* rgb, std::size_t pixels) const {
    for (std::size_t i = 0; i < 3 * pixels; ++i) Put16(rgb + 2 * i, map_[Get16(rgb + 2 * i)]);
}

void LibraryConverter::Convert(unsigned char* rgb, std::size_t pixels) const {
    if (packed_ != nullptr) return FindPackedLoop()(*packed_, rgb, pixels);
    for (std::size_t done = 0; done < pixels; done += kRun) {
        ConvertRun(rgb + done * 3 * (bits_ / 8), std::min(kRun, pixels - done));
    }
}

void LibraryConverter::ConvertRun(unsigned char* rgb, std::size_t pixels) const {
    if (bits_ == 8 && rendering_.space->ByTable()) {
        unsigned char wide[6 * kRun];
        for (std::size_t i = 0; i < 3 * pixels; ++i) Put16(wide + 2 * i, static_cast<std::uint16_t>(rgb[i] * 257));
        engine_->Conversion(wide, wide, static_cast<int>(pixels));
        for (std::size_t i = 0; i < 3 * pixels; ++i) rgb[i] = static_cast<unsigned char>(map_[Get16(wide + 2 * i)]);
        return;
    }
    engine_->Conversion(rgb, rgb, static_cast<int>(pixels));
    if (!map_.empty()) MapWide(rgb, pixels);
}

Bytes LibraryConverter::OutputProfile() const {
    const Space& space = *rendering_.space;
    std::string title(space.title);
    std::vector<std::vector<double>> decoding;
    if (space.tone == Tone::Kodak || rendering_.curves) {
        const bool narrow = space.Built(bits_).bits == 8;
        const std::uint32_t top = narrow && !(rendering_.curves && bits_ == 16) ? 255 : 65535;
        for (const std::uint32_t* table : {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB}) {
            const auto inverse = InvertTable(table, top, top == 255 ? 256 : 4096);
            if (!inverse) return {};
            decoding.push_back(*inverse);
        }
        if (rendering_.curves) title += ", own curves";
    }
    return MakeOutputProfile(space, Colorants::Engine, decoding, title);
}

}  // namespace hueweave::colour
