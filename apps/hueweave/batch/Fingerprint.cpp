// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/Fingerprint.h"

#include <fmt/format.h>

#include <algorithm>

#include "system/Sha256.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10;  ///< bytes read at once

}  // namespace

std::string Fingerprint(const Session& session, const SourceFile& source) {
    const Rendering& r = session.options.rendering;
    Sha256 hash;
    hash.Add(fmt::format("{} {} {} {} {} {} {} {} {}\n", kVersion, r.space->name, IntentName(r.intent), r.lightness,
                         r.chroma, r.hue, static_cast<int>(session.options.source), session.options.noTag,
                         session.profile ? session.profile->hash : "embedded"));
    if (r.curves) {
        for (const auto& curve : *r.curves) hash.Add(curve.data(), curve.size());
    }
    Bytes block(kBlock);
    const std::uint64_t size = source.file.Size();
    for (std::uint64_t at = 0; at < size; at += block.size()) {
        ThrowIfInterrupted();
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), size - at));
        source.file.Read(at, block.data(), part);
        hash.Add(block.data(), part);
    }
    return hash.Hex();
}

}  // namespace hueweave::tool
