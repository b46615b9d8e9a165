// SPDX-License-Identifier: MIT
#include "colour/library/EngineBinding.h"

namespace hueweave::colour {

using ICC40::ICC_ENG_S4::CIccEngineS;
using namespace ICC40::ICCFILE;

std::unique_ptr<CIccEngineS> BindEngine(const Bytes& profile, const Rendering& rendering, bool wide,
                                        ColorSpaceSignature output) {
    auto engine = std::make_unique<CIccEngineS>();
    // Passed here, the fractional parts of the offsets are used as well.
    engine->SetProfile(profile, rendering.intent, wide ? CsRGB_16 : CsRGB_8, output, rendering.lightness,
                       rendering.chroma, rendering.hue);
    if (!engine->Ready()) return nullptr;
    if (rendering.curves) {
        const ToneCurves& curves = *rendering.curves;
        engine->Adjust_Output(curves[0].data(), curves[1].data(), curves[2].data(), 256);
    }
    return engine;
}

}  // namespace hueweave::colour
