// SPDX-License-Identifier: MIT
#pragma once

namespace hueweave::colour {

/// Rendering intents, with the numbers of the ICC.
enum class RenderingIntent { Perceptual = 0, RelativeColorimetric = 1, Saturation = 2, AbsoluteColorimetric = 3 };

/// Whether the black of the source becomes the black of the target. Never for the absolute intent.
enum class BlackPoint {
    Auto,         ///< for the perceptual and saturation intents and a target of version 4, as the ICC requires
    Compensated,  ///< for all other intents as well
    Kept          ///< for none; a judge's choice: `Transform` does not offer it, since Little CMS does not
};

struct TransformOptions {
    RenderingIntent intent = RenderingIntent::Perceptual;
    BlackPoint blackPoint = BlackPoint::Auto;
    /// Offsets of L* and C* in CIELAB units, -100 to 100, and of the hue in degrees. If one is not 0, L* and C* are
    /// clamped to 0 to 100 between the two profiles. Below a chroma of `kFullChroma`, the offset of C* is smaller in
    /// proportion, so that neutral colours stay neutral and their noise stays small.
    double lightness = 0, chroma = 0, hue = 0;
    static constexpr double kFullChroma = 20;

    bool Adjusts() const { return lightness != 0 || chroma != 0 || hue != 0; }
};

}  // namespace hueweave::colour
