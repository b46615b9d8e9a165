// SPDX-License-Identifier: MIT
#include "report/measure/ToneResponse.h"

#include <cmath>
#include <cstring>

#include "colour/base/ProfileError.h"
#include "colour/profile/OpenProfile.h"

namespace hueweave::tool {

ToneResponse MeasureTone(const colour::Transform& transform, const colour::Bytes& target) {
    constexpr std::size_t kGreys = kGreySteps + 1;
    std::vector<float> samples;
    for (std::size_t n = 0; n < kGreys; ++n) samples.insert(samples.end(), 3, static_cast<float>(n) / kGreySteps);
    std::vector<unsigned char> data(samples.size() * sizeof(float));
    std::memcpy(data.data(), samples.data(), data.size());
    transform.Convert(data.data(), data.data(), 32, kGreys, 3);
    std::memcpy(samples.data(), data.data(), data.size());

    colour::LcmsWork work;
    const cmsHTRANSFORM toLab = work.DeviceToLab(colour::OpenRgb(work, target).handle, INTENT_RELATIVE_COLORIMETRIC);
    if (toLab == nullptr) throw colour::ProfileError("does not define the colours of its device");
    const std::vector<double> rgb(samples.begin(), samples.end());
    std::vector<cmsCIELab> lab(kGreys);
    cmsDoTransform(toLab, rgb.data(), lab.data(), kGreys);

    ToneResponse tone;
    for (std::size_t n = 0; n < kGreys; ++n) {
        tone.greys.push_back({lab[n].L, lab[n].a, lab[n].b});
        const double chroma = std::hypot(lab[n].a, lab[n].b);
        tone.meanChroma += chroma / static_cast<double>(kGreys);
        if (chroma > tone.largestChroma) tone.largestChroma = chroma, tone.mostTinted = n;
        const double fall = n == 0 ? 0 : lab[n - 1].L - lab[n].L;
        if (fall > tone.largestFall) tone.largestFall = fall, tone.fallsAt = n;
    }
    return tone;
}

}  // namespace hueweave::tool
