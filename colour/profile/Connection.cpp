// SPDX-License-Identifier: MIT
#include "colour/profile/Connection.h"

#include <cmath>

namespace hueweave::colour {
namespace {

using Xyz = std::array<double, 3>;

constexpr Xyz kWhite{cmsD50X, cmsD50Y, cmsD50Z};
constexpr cmsUInt32Number kVersion4 = 0x4000000;

bool CompensatesBlack(cmsHPROFILE target, const TransformOptions& options) {
    if (options.blackPoint != BlackPoint::Auto) return options.blackPoint == BlackPoint::Compensated;
    return options.intent != RenderingIntent::RelativeColorimetric && cmsGetEncodedICCversion(target) >= kVersion4;
}

/// Little CMS omits a change if the absolute differences of its coefficients from the identity, for encoded XYZ, add up
/// to less than this.
constexpr double kLeastChange = 0.002;
constexpr double kXyzScale = 1.0 + 32767.0 / 32768.0;  ///< XYZ of an encoded 1

Connection IfNoticed(const Connection& connection) {
    double change = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        change += std::abs(connection.scale[i] - 1.0) + std::abs(connection.offset[i] * kWhite[i] / kXyzScale);
    }
    return change < kLeastChange ? Connection() : connection;
}

}  // namespace

std::array<double, 3> MediaWhite(LcmsWork& work, cmsHPROFILE profile) {
    const auto* white = static_cast<const cmsCIEXYZ*>(work.Read(profile, cmsSigMediaWhitePointTag));
    if (white == nullptr || IsOldScreen(profile)) return kWhite;
    return {white->X, white->Y, white->Z};
}

Connection Connect(LcmsWork& work, cmsHPROFILE source, cmsHPROFILE target, const TransformOptions& options) {
    Connection connection;
    if (options.intent == RenderingIntent::AbsoluteColorimetric) {
        const Xyz from = MediaWhite(work, source), to = MediaWhite(work, target);
        for (std::size_t i = 0; i < 3; ++i) connection.scale[i] = from[i] / to[i];
    } else if (CompensatesBlack(target, options)) {
        const int intent = static_cast<int>(options.intent);
        const Xyz from = work.BlackPoint(source, intent), to = work.TargetBlackPoint(target, intent);
        if (from == to) return connection;
        // For each of X, Y and Z, the linear function that maps black to black and D50 to D50.
        for (std::size_t i = 0; i < 3; ++i) {
            connection.scale[i] = (to[i] - kWhite[i]) / (from[i] - kWhite[i]);
            connection.offset[i] = 1.0 - connection.scale[i];
        }
    }
    return IfNoticed(connection);
}

Connection ConnectBeforeLab(LcmsWork& work, cmsHPROFILE source, cmsHPROFILE target, const TransformOptions& options) {
    Connection connection = Connect(work, source, target, options);
    if (options.intent == RenderingIntent::AbsoluteColorimetric || !CompensatesBlack(target, {options.intent})) {
        return connection;
    }
    const Xyz black = work.TargetBlackPoint(target, static_cast<int>(options.intent));
    for (std::size_t i = 0; i < 3; ++i) {
        const double scale = 1.0 - black[i] / kWhite[i];
        connection.scale[i] /= scale;
        connection.offset[i] = (connection.offset[i] - (1.0 - scale)) / scale;
    }
    return connection;
}

}  // namespace hueweave::colour
