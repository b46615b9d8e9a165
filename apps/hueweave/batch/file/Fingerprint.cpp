// SPDX-License-Identifier: MIT
#include "batch/file/Fingerprint.h"

#include <fmt/format.h>

#include <algorithm>

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kBlock = std::uint64_t{256} << 10;  ///< bytes read at once
constexpr std::uint64_t kGap = std::uint64_t{1} << 20;      ///< bytes; the largest gap before data that are taken

void AddSettings(Sha256& hash, const Session& session) {
    const colour::Rendering& r = session.options.rendering;
    const ConvertOptions& options = session.options;
    const char* const precision = options.precision == Precision::Exact ? "exact" : "library";
    hash.Add(fmt::format("{} {} {} {} {} {} {} {} {} {} {} {}\n", kVersion, precision, session.target.name,
                         session.target.hash, colour::IntentName(r.intent), options.compensateBlack, r.lightness,
                         r.chroma, r.hue, static_cast<int>(options.source), options.noTag,
                         session.profile ? session.profile->hash : "embedded"));
    if (options.greyToRgb) hash.Add("grey to RGB\n");
    if (options.format) {
        hash.Add(fmt::format("as {} {}\n", FormatName(*options.format), options.quality.value_or(0)));
    }
    if (!r.curves) return;
    for (const auto& curve : *r.curves) hash.Add(curve.data(), curve.size());
}

}  // namespace

std::string SettingsHash(const Session& session) {
    constexpr std::size_t kDigits = 32;
    Sha256 hash;
    AddSettings(hash, session);
    return hash.Hex().substr(0, kDigits);
}

Fingerprint::Fingerprint(const Session& session, const SourceFile& source) : file_(source.file) {
    AddSettings(hash_, session);
}

void Fingerprint::Take(std::uint64_t offset, std::span<const unsigned char> data) {
    const std::uint64_t end = offset + data.size();
    if (end <= hashed_ || offset > hashed_ + kGap) return;
    ReadTo(offset);
    const auto known = static_cast<std::size_t>(hashed_ - offset);  // strips may overlap
    hash_.Add(data.data() + known, data.size() - known);
    hashed_ = end;
}

std::string Fingerprint::Finish() {
    ReadTo(file_.Size());
    return hash_.Hex();
}

void Fingerprint::ReadTo(std::uint64_t end) {
    while (hashed_ < end) {
        const Bytes block = file_.Read({hashed_, std::min(kBlock, end - hashed_)});
        hash_.Add(block.data(), block.size());
        hashed_ += block.size();
    }
}

}  // namespace hueweave::tool
