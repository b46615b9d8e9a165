// SPDX-License-Identifier: MIT
#pragma once

#include "engine/CIccEngineS.h"

namespace ICC40::ICC_ENG_S4 {

template <typename Build>
int CIccEngineS::Rebuild(const Build& build) {
    using ICCFILE::CLut16Type;
    const ICCFILE::iccTagBase* tag = GetMft2();
    if (tag == nullptr) return ICC_UNIT::kUnset;
    const auto use = [&](const CLut16Type& lut) {
        if (!lut.Usable()) return Refuse();
        build(lut);
        return int{Unit.OutputSpace};
    };
    try {
        const auto* lut = dynamic_cast<const CLut16Type*>(tag);
        // Any other tag is converted to a temporary table; a tag that is no LUT gives an unusable table. The casts ask
        // for the class because callers depend on the virtual functions of the tags, which therefore stay as they are.
        return lut != nullptr ? use(*lut) : use(CLut16Type(dynamic_cast<const ICCFILE::CLut*>(tag)));
    } catch (...) {
        Refuse();
        throw;
    }
}

}  // namespace ICC40::ICC_ENG_S4
