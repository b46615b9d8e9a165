// SPDX-License-Identifier: MIT
// Data that are not an RGB profile, and damaged profiles.
#include <variant>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/base/ProfileError.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

/// A profile as the source or as the target, and sRGB as the other; or why it is refused.
std::variant<Transform, std::string> Make(const Bytes& profile, bool target) {
    try {
        return target ? Transform(LcmsSrgb(), profile, {}) : Transform(profile, LcmsSrgb(), {});
    } catch (const colour::ProfileError& error) {
        EXPECT_STRNE(error.what(), "");
        return error.what();
    }
}
std::string Refusal(const Bytes& profile, bool target) {
    const auto made = Make(profile, target);
    return made.index() == 1 ? std::get<std::string>(made) : "";
}

TEST(DamagedProfileTest, OtherThanRgbProfilesAreRefused) {
    for (const bool target : {false, true}) {
        EXPECT_THAT(Refusal({}, target), testing::HasSubstr("not a readable ICC profile"));
        EXPECT_THAT(Refusal(Bytes(5000, 'x'), target), testing::HasSubstr("not a readable ICC profile"));
        EXPECT_NE(Refusal(ProfileBuilder().Build(), target), "") << "no colour tags";
        const auto refused = [&](std::size_t at, std::uint32_t word) {
            const Bytes sound = MatrixProfile(kGamutP3, SrgbFormula());
            return Refusal(ByteWriter().Append(sound).PatchBig32(at, word).Done(), target);
        };
        for (const auto kind : {cmsSigLinkClass, cmsSigAbstractClass}) EXPECT_NE(refused(12, kind), "");
        for (const auto colours : {cmsSigCmykData, cmsSigGrayData, cmsSigLabData}) {
            EXPECT_EQ(refused(16, colours), "does not describe RGB colours");
        }
        // A scanner without tables from PCS to device.
        EXPECT_EQ(Refusal(TableProfile({}), target).empty(), !target);
    }
}

/// Expects the profile to be refused, or converted as exactly as promised. Returns whether it was converted.
bool Holds(const Bytes& profile, bool target) {
    const Bytes srgb = LcmsSrgb();
    const Bytes &from = target ? srgb : profile, &to = target ? profile : srgb;
    const auto made = Make(profile, target);
    if (made.index() == 1) return false;
    const auto& transform = std::get<Transform>(made);
    EXPECT_EQ(transform.reason().empty(), transform.way() != Way::PixelByPixel);
    if (transform.way() == Way::Copy) return true;
    // A few colours that reveal damage anywhere in a curve or grid.
    const Words all = SampleColours();
    Words few;
    for (std::size_t i = 0; i + 2 < all.size(); i += 3 * 13) few.insert(few.end(), {all[i], all[i + 1], all[i + 2]});
    if (transform.way() != Way::PixelByPixel) {
        EXPECT_LE(transform.error().p999, 0.3);
        EXPECT_LE(Measure(transform, from, to, {}, few).words.p999, 1.0) << WayName(transform.way());
        return true;
    }
    // With a damaged target curve, one sample value may be a visible difference.
    const judge::Truth truth = TruthOf(from, to, {});
    const auto pixels = judge::Pixels(few);
    const Words converted = Converted(transform, few);
    for (std::size_t i = 0; i < few.size(); ++i) {
        EXPECT_NEAR(converted[i], 65535 * truth.Of(pixels[i / 3])[i % 3], 0.51);
    }
    return true;
}

std::array<Bytes, 3> SoundProfiles() {
    return {MatrixProfile(kGamutP3, SrgbFormula(), 4),
            TableProfile({.version = 4.3, .matrix = true, .target = true, .points = 3}),
            TableProfile({.target = true, .points = 3})};
}

TEST(DamagedProfileTest, CutProfilesAreRefusedOrConvertedExactly) {
    for (const Bytes& profile : SoundProfiles()) {
        unsigned refused = 0;
        for (std::size_t size = 0; size < profile.size(); size += 97) {
            SCOPED_TRACE(testing::Message() << size << " of " << profile.size());
            const Bytes cut(profile.begin(), profile.begin() + static_cast<std::ptrdiff_t>(size));
            refused += Holds(cut, size % 2 == 1) ? 0U : 1U;
        }
        EXPECT_GT(refused, 2U);
    }
}

TEST(DamagedProfileTest, ProfilesWithChangedBytesAreRefusedOrConvertedExactly) {
    const auto sound = SoundProfiles();
    Lcg random(2026);
    unsigned converted = 0;
    for (unsigned n = 0; n < 300; ++n) {
        SCOPED_TRACE(testing::Message() << "profile " << n);
        Bytes profile = sound[n % 3];
        // Half of the changes are in the header and the tag table.
        for (unsigned changes = 0; changes <= n % 16; ++changes) {
            const auto size = static_cast<std::uint32_t>(profile.size());
            profile[random.Below(random.Below(2) == 0 ? size : 250)] = static_cast<unsigned char>(random.Next());
        }
        converted += Holds(profile, n / 3 % 2 == 1) ? 1U : 0U;
    }
    EXPECT_GT(converted, 30U);
    EXPECT_LT(converted, 290U);
}

}  // namespace
}  // namespace hueweave::test
