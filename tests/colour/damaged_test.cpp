// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Data that are not an RGB profile, and damaged profiles.
#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/base/ProfileError.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

/// The reasons for refusing a profile as the source and as the target; empty where it is accepted.
std::array<std::string, 2> Refusals(const Bytes& profile) {
    const Bytes srgb = LcmsSrgb();
    std::array<std::string, 2> reasons;
    for (const bool target : {false, true}) {
        try {
            Transform(target ? srgb : profile, target ? profile : srgb, {});
        } catch (const colour::ProfileError& error) {
            reasons[target ? 1 : 0] = error.what();
        }
    }
    return reasons;
}

TEST(DamagedTest, OtherThanRgbProfilesAreRefused) {
    using testing::Each;
    using testing::HasSubstr;
    EXPECT_THAT(Refusals({}), Each(HasSubstr("not a readable ICC profile")));
    EXPECT_THAT(Refusals(Bytes(5000, 'x')), Each(HasSubstr("not a readable ICC profile")));
    for (const Bytes& profile : {CmykProfile(), GreyProfile(), LinkProfile(), LabProfile()}) {
        EXPECT_THAT(Refusals(profile), Each(testing::Not(testing::IsEmpty())));
    }
    // A scanner without tables from PCS to device.
    EXPECT_THAT(Refusals(TableProfile({})), testing::ElementsAre("", testing::Not("")));
    // A header for RGB, without any colour tags.
    EXPECT_THAT(Refusals(ProfileBuilder().Build()), Each(testing::Not("")));
}

/// A few colours that reveal damage anywhere in a curve or grid.
Words FewColours() {
    const Words all = SampleColours();
    Words few;
    for (std::size_t i = 0; i + 2 < all.size(); i += 3 * 13) few.insert(few.end(), {all[i], all[i + 1], all[i + 2]});
    return few;
}

/// Expects the profile to be refused, or converted as exactly as promised. Returns whether it was converted.
bool Holds(const Bytes& profile, bool target) {
    const Bytes srgb = LcmsSrgb();
    const Bytes &from = target ? srgb : profile, &to = target ? profile : srgb;
    try {
        const Transform transform(from, to, {});
        if (transform.way() == Way::Copy) return true;
        EXPECT_TRUE(transform.error().p999 <= 0.3 || transform.way() == Way::PixelByPixel);
        EXPECT_EQ(transform.reason().empty(), transform.way() != Way::PixelByPixel);
        const Words few = FewColours();
        if (transform.way() != Way::PixelByPixel) {
            EXPECT_LE(Measure(transform, from, to, {}, few).p999, 1.0) << WayName(transform.way());
            return true;
        }
        // With a damaged target curve, one sample value may be a visible difference.
        std::vector<double> rgb;
        for (const std::uint16_t sample : few) rgb.push_back(sample / 65535.0);
        const std::vector<double> truth = Truth(from, to, {}, rgb);
        const Words converted = Converted(transform, few);
        for (std::size_t i = 0; i < few.size(); ++i) {
            EXPECT_NEAR(converted[i], 65535 * std::clamp(truth[i], 0.0, 1.0), 0.51);
        }
        return true;
    } catch (const colour::ProfileError& error) {
        EXPECT_STRNE(error.what(), "");
        return false;
    }
}

TEST(DamagedTest, CutProfilesAreRefusedOrConvertedExactly) {
    const Bytes profiles[] = {MatrixProfile(kGamutP3, SrgbFormula(), 4),
                              TableProfile({.version = 4.3, .matrix = true, .target = true, .points = 3})};
    for (const Bytes& profile : profiles) {
        std::size_t converted = 0, refused = 0;
        for (std::size_t size = 0; size < profile.size(); size += 97) {
            SCOPED_TRACE(testing::Message() << size << " of " << profile.size());
            ++(Holds(Bytes(profile.begin(), profile.begin() + static_cast<std::ptrdiff_t>(size)), size % 2 == 1)
                   ? converted
                   : refused);
        }
        EXPECT_GT(refused, 2U);
    }
}

TEST(DamagedTest, ProfilesWithChangedBytesAreRefusedOrConvertedExactly) {
    const Bytes profiles[] = {MatrixProfile(kGamutP3, SrgbFormula(), 4),
                              TableProfile({.version = 4.3, .matrix = true, .target = true, .points = 3}),
                              TableProfile({.target = true, .points = 3})};
    Lcg random(2026);
    std::size_t converted = 0;
    for (unsigned n = 0; n < 300; ++n) {
        SCOPED_TRACE(testing::Message() << "profile " << n);
        Bytes profile = profiles[n % 3];
        // Half of the changes are in the header and the tag table.
        for (unsigned changes = 0; changes <= n % 16; ++changes) {
            const auto size = static_cast<std::uint32_t>(profile.size());
            profile[random.Below(random.Below(2) == 0 ? size : 250)] = static_cast<unsigned char>(random.Next());
        }
        if (Holds(profile, n / 3 % 2 == 1)) ++converted;
    }
    EXPECT_GT(converted, 30U);
    EXPECT_LT(converted, 290U);
}

}  // namespace
}  // namespace hueweave::test
