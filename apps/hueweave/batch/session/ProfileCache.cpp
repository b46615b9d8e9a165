// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/session/ProfileCache.h"

#include "colour/library/EngineProfile.h"

namespace hueweave::tool {

std::shared_ptr<const ReadyConverter> ProfileCache::Get(const DeviceProfile& profile, unsigned bits) {
    const std::lock_guard lock(mutex_);
    for (const auto& ready : ready_) {
        if (ready->hash == profile.hash && ready->bits == bits) return ready;
    }
    EngineProfile engine = PrepareProfile(profile, rendering_.intent);
    PixelConverter converter(engine.data, profile.name, rendering_, bits);
    Bytes output = converter.OutputProfile();
    ready_.push_back(std::make_shared<const ReadyConverter>(
        ReadyConverter{profile.hash, bits, std::move(engine.bakedBecause), std::move(converter), std::move(output)}));
    if (ready_.size() > kMost) ready_.pop_front();
    return ready_.back();
}

}  // namespace hueweave::tool
