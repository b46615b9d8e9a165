// SPDX-License-Identifier: MIT
#pragma once

#include "colour/base/Bytes.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {

/// An RGB profile: its bytes, and its handle in Little CMS. Borrows both.
struct OpenProfile {
    const Bytes& data;
    cmsHPROFILE handle;
};

/// Throws a `ProfileError` for data that are not an RGB profile.
OpenProfile OpenRgb(LcmsWork& work, const Bytes& data);

}  // namespace hueweave::colour
