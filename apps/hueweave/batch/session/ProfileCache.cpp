// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/session/ProfileCache.h"

#include "colour/library/EngineProfile.h"
#include "system/Signals.h"

namespace hueweave::tool {

std::shared_ptr<const ReadyConverter> ProfileCache::Get(const DeviceProfile& profile, unsigned bits) {
    const std::lock_guard lock(mutex_);
    for (const auto& ready : ready_) {
        if (ready->hash == profile.hash && ready->bits == bits) return ready;
    }
    ready_.push_back(Named(profile.name, [&] {
        colour::EngineProfile engine = colour::PrepareProfile(profile.data, rendering_.intent, ThrowIfInterrupted);
        colour::PixelConverter converter(engine.data, rendering_, bits);
        Bytes output = converter.OutputProfile();
        return std::make_shared<const ReadyConverter>(ReadyConverter{profile.hash, bits, std::move(engine.bakedBecause),
                                                                     std::move(converter), std::move(output)});
    }));
    if (ready_.size() > kMost) ready_.pop_front();
    return ready_.back();
}

}  // namespace hueweave::tool
