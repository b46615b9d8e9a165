// SPDX-License-Identifier: MIT
#include "report/measure/GamutSolid.h"

#include <algorithm>
#include <cmath>

#include "colour/base/ProfileError.h"
#include "colour/judge/Truth.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kFaces = 6, kInFace = kFacePoints * kFacePoints;
constexpr double kOutside = 0.001;  ///< of the sample range, as in a comparison with Little CMS

using Triangle = std::array<std::size_t, 3>;

/// The device colours of the points, in their order.
std::vector<double> CubeSurface() {
    std::vector<double> samples(kFaces * kInFace * 3);
    const auto share = [](std::size_t n) { return static_cast<double>(n) / (kFacePoints - 1); };
    for (std::size_t face = 0; face < kFaces; ++face) {
        const std::size_t fixed = face / 2;
        for (std::size_t row = 0; row < kFacePoints; ++row) {
            for (std::size_t n = 0; n < kFacePoints; ++n) {
                double* const point = &samples[3 * (face * kInFace + row * kFacePoints + n)];
                point[fixed] = static_cast<double>(face % 2);
                point[(fixed + 1) % 3] = share(row);
                point[(fixed + 2) % 3] = share(n);
            }
        }
    }
    return samples;
}

/// All triangles of the surface, whose corners turn the same way seen from outside of the cube.
std::vector<Triangle> Triangles() {
    std::vector<Triangle> all;
    for (std::size_t face = 0; face < kFaces; ++face) {
        for (std::size_t row = 0; row + 1 < kFacePoints; ++row) {
            for (std::size_t n = 0; n + 1 < kFacePoints; ++n) {
                const std::size_t at = face * kInFace + row * kFacePoints + n;
                const std::size_t right = at + 1, below = at + kFacePoints, across = below + 1;
                if (face % 2 == 1) {
                    all.push_back({at, below, across});
                    all.push_back({at, across, right});
                } else {
                    all.push_back({at, across, below});
                    all.push_back({at, right, across});
                }
            }
        }
    }
    return all;
}

/// The sum of the signed volumes of the pyramids from the origin to each triangle.
double VolumeOf(const std::vector<LabColour>& points) {
    double six = 0;
    for (const Triangle& t : Triangles()) {
        const LabColour &p = points[t[0]], &q = points[t[1]], &r = points[t[2]];
        six += p[0] * (q[1] * r[2] - q[2] * r[1]) - p[1] * (q[0] * r[2] - q[2] * r[0]) +
               p[2] * (q[0] * r[1] - q[1] * r[0]);
    }
    return std::abs(six) / 6;
}

GamutSolid MeasureSolid(const colour::Bytes& profile, int intent, const DisplayColours& display) {
    colour::LcmsWork work;
    const cmsHTRANSFORM toLab = work.DeviceToLab(colour::OpenRgb(work, profile).handle, intent);
    if (toLab == nullptr) throw colour::ProfileError("does not define the colours of its device");
    const std::vector<double> samples = CubeSurface();
    std::vector<cmsCIELab> lab(samples.size() / 3);
    cmsDoTransform(toLab, samples.data(), lab.data(), static_cast<cmsUInt32Number>(lab.size()));
    GamutSolid solid;
    for (const cmsCIELab& one : lab) {
        solid.points.push_back({one.L, one.a, one.b});
        solid.colours.push_back(display.Of(solid.points.back()));
    }
    solid.volume = VolumeOf(solid.points);
    return solid;
}

}  // namespace

Gamuts MeasureGamuts(const colour::Bytes& source, const colour::Bytes& target, const colour::TransformOptions& how) {
    const DisplayColours display;
    Gamuts gamuts{MeasureSolid(source, static_cast<int>(how.intent), display),
                  MeasureSolid(target, INTENT_RELATIVE_COLORIMETRIC, display)};
    colour::LcmsWork work;
    const colour::Truth truth(work, colour::OpenRgb(work, source), colour::OpenRgb(work, target), how);
    const std::vector<double> samples = CubeSurface();
    const std::vector<float> from(samples.begin(), samples.end());
    std::vector<float> to(from.size());
    truth.Convert(from.data(), to.data(), from.size() / 3);
    const auto isOutside = [](float sample) { return !(sample >= -kOutside && sample <= 1 + kOutside); };
    for (std::size_t at = 0; at < to.size(); at += 3) {
        const auto first = to.begin() + static_cast<std::ptrdiff_t>(at);
        gamuts.device.isOutside.push_back(std::any_of(first, first + 3, isOutside));
    }
    return gamuts;
}

std::vector<Piece> SliceOf(const GamutSolid& solid, double lightness) {
    std::vector<Piece> pieces;
    for (const Triangle& t : Triangles()) {
        std::vector<std::array<double, 2>> crossings;
        for (std::size_t side = 0; side < 3; ++side) {
            const LabColour &p = solid.points[t[side]], &q = solid.points[t[(side + 1) % 3]];
            if ((p[0] < lightness) == (q[0] < lightness)) continue;
            const double share = (lightness - p[0]) / (q[0] - p[0]);
            crossings.push_back({p[1] + share * (q[1] - p[1]), p[2] + share * (q[2] - p[2])});
        }
        if (crossings.size() == 2) pieces.push_back({crossings[0], crossings[1]});
    }
    return pieces;
}

}  // namespace hueweave::tool
