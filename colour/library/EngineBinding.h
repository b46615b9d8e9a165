// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "colour/base/Bytes.h"
#include "colour/library/Rendering.h"
#include "engine/CIccEngineS.h"

namespace hueweave::colour {

/// An engine bound to a profile in memory, or null if it cannot use the profile.
std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> BindEngine(const Bytes& profile, const Rendering& rendering, bool wide,
                                                           ICC40::ICCFILE::ColorSpaceSignature output);

}  // namespace hueweave::colour
