// SPDX-License-Identifier: MIT
// The judge without roundings, which `make peers` compares converters with: cases worked out by hand, and Little CMS.
#include "judges/colours/Unrounded.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

using judge::Interpolation;
using judge::Unrounded;
using Triple = judge::Triple;
using Entries = std::vector<std::uint16_t>;

Bytes CurvBlock(const Entries& entries) {
    return ByteWriter().Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(entries.size())).Big16s(entries).Done();
}
/// A profile whose colorants are the axes of XYZ in halves, so that nothing is lost in a double.
Bytes AxesProfile(const Entries& curve, std::uint32_t version = 0x02400000) {
    ProfileBuilder builder;
    builder.HeaderWord(8, version).Xyz("rXYZ", 0x8000, 0, 0).Xyz("gXYZ", 0, 0x8000, 0).Xyz("bXYZ", 0, 0, 0x8000);
    for (const char* name : {"rTRC", "gTRC", "bTRC"}) builder.Raw(name, CurvBlock(curve));
    return builder.Build();
}
/// A profile with a table of two points an axis and straight curves.
Bytes GridProfile(const std::string& connection, const Entries& nodes) {
    const Entries ramps{0, 65535, 0, 65535, 0, 65535};
    ByteWriter table = TableHead("mft2", {.points = 2, .inputEntries = 2, .outputEntries = 2}, 0x10000);
    table.Big16s(ramps).Big16s(nodes).Big16s(ramps);
    ProfileBuilder builder;
    return builder.HeaderWord(20, connection == "XYZ " ? 0x58595a20 : 0x4c616220).Raw("A2B0", table.Done()).Build();
}
/// The same colour everywhere.
Bytes EvenProfile(const std::string& connection, std::uint16_t x, std::uint16_t y, std::uint16_t z) {
    Entries nodes;
    for (int n = 0; n < 8; ++n) nodes.insert(nodes.end(), {x, y, z});
    return GridProfile(connection, nodes);
}

/// Scattered colours.
std::vector<judge::Rgb> SomeColours() {
    Lcg random(5);
    std::vector<judge::Rgb> colours(2000);
    for (auto& colour : colours) {
        for (double& value : colour) value = random.Sample() / 65535.0;
    }
    return colours;
}

TEST(UnroundedTest, CurvesAreStraightPowersOrTables) {
    const Bytes straight = AxesProfile({}), square = AxesProfile({0x0200}), table = AxesProfile({0, 16384, 65535});
    const Triple device{0.5, 0.25, 1};
    const double low = 16384 / 65535.0;  // at the middle of the table
    EXPECT_EQ(Unrounded(straight, straight).Of(device), device);
    EXPECT_EQ(Unrounded(square, straight).Of(device), (Triple{0.25, 0.0625, 1}));
    EXPECT_EQ(Unrounded(straight, square).Of({0.25, 0.0625, 1}), device);
    EXPECT_EQ(Unrounded(table, straight).Of(device), (Triple{low, low / 2, 1}));
    EXPECT_EQ(Unrounded(straight, table).Of({low, low / 2, 1}), device);
}

TEST(UnroundedTest, TablesAreFollowedBetweenTheir16BitSteps) {
    const Bytes straight = AxesProfile({}), ramp = AxesProfile({0, 65535});
    const double between = 0.5 / 65535;
    EXPECT_EQ(Unrounded(ramp, straight).Of({between, between, between}), (Triple{between, between, between}));
    EXPECT_EQ(Unrounded(straight, ramp).Of({between, between, between}), (Triple{between, between, between}));
}

TEST(UnroundedTest, ResultsAreClipped) {
    const Bytes bright = EvenProfile("XYZ ", 65535, 0, 16384);  // XYZ of almost 2, 0 and 0.5
    EXPECT_EQ(Unrounded(bright, AxesProfile({})).Of({0, 0, 0}), (Triple{1, 0, 1}));
}

TEST(UnroundedTest, GridsAreInterpolatedByTetrahedraOrTrilinearly) {
    constexpr double kXyz = 65535.0 / 32768;
    const Bytes screen = AxesProfile({});
    const Triple device{0.5, 0.25, 0.75};
    // Only the farthest node is not 0: the least part by tetrahedra, the product of all three trilinearly.
    Entries nodes(24);
    nodes[21] = nodes[22] = nodes[23] = 65535;
    const Bytes corner = GridProfile("XYZ ", nodes);
    const double least = 0.25 * kXyz, product = 0.09375 * kXyz;
    EXPECT_EQ(Unrounded(corner, screen).XyzOf(device), (Triple{least, least, least}));
    EXPECT_EQ(Unrounded(corner, screen, Interpolation::Trilinear).XyzOf(device), (Triple{product, product, product}));
    // Each axis is a channel; the last one varies fastest.
    for (std::size_t n = 0; n < 8; ++n) {
        for (std::size_t c = 0; c < 3; ++c) nodes[3 * n + c] = (n >> (2 - c) & 1) != 0 ? 65535 : 0;
    }
    const Triple axes{0.5 * kXyz, 0.25 * kXyz, 0.75 * kXyz};
    EXPECT_EQ(Unrounded(GridProfile("XYZ ", nodes), screen).XyzOf(device), axes);
    EXPECT_EQ(Unrounded(GridProfile("XYZ ", nodes), screen, Interpolation::Trilinear).XyzOf(device), axes);
}

TEST(UnroundedTest, LabTablesHaveTheEncodingOfVersion2) {
    const auto xyz = [](std::uint16_t l, std::uint16_t a, std::uint16_t b) {
        return Unrounded(EvenProfile("Lab ", l, a, b), AxesProfile({})).XyzOf({0, 0, 0});
    };
    const auto near = [](const Triple& found, const Triple& wanted) {
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(found[i], wanted[i], 1e-12);
    };
    near(xyz(0xff00, 0x8000, 0x8000), {0.9642, 1, 0.8249});
    // L* 50, a* 20, b* -40.
    const auto cube = [](double root) { return root * root * root; };
    near(xyz(0x7f80, 0x9400, 0x5800),
         {0.9642 * cube(66 / 116.0 + 0.04), cube(66 / 116.0), 0.8249 * cube(66 / 116.0 + 0.2)});
    // L* 5 is on the straight part, with 27 / 24389 for each unit.
    near(xyz(0x0cc0, 0x8000, 0x8000), {0.9642 * 135 / 24389, 135.0 / 24389, 0.8249 * 135 / 24389});
}

TEST(UnroundedTest, DifferencesAreThoseOfColoursOfTheTarget) {
    // XYZ is half of the device's values.
    const Bytes screen = AxesProfile({});
    const auto grey = [](double lightness) {
        const double y = std::pow((lightness + 16) / 116, 3);
        return Triple{2 * 0.9642 * y, 2 * y, 2 * 0.8249 * y};
    };
    // By the formula of CIEDE2000 for L* of 50 on average, where the weight of lightness is 1.
    EXPECT_NEAR(Unrounded(screen, screen).Difference(grey(49), grey(51)), 2, 1e-9);
}

Bytes OfArgyll(const std::string& name) { return ReadFile("/usr/share/color/argyll/ref/" + name + ".icm"); }

TEST(UnroundedTest, LittleCmsAgreesWhereItDoesNotRound) {
    // Exponents and matrices: Little CMS computes in single precision from stage to stage.
    const Bytes source = OfArgyll("SMPTE431_P3"), target = OfArgyll("ClayRGB1998");
    const Unrounded unrounded(source, target);
    const judge::Truth truth(source, target, INTENT_PERCEPTUAL, false);
    for (const judge::Rgb& device : SomeColours()) {
        const Triple found = unrounded.Of(device), wanted = truth.Of(device);
        for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(found[c], wanted[c], 1e-6);
    }
}

TEST(UnroundedTest, LittleCmsDiffersByItsRoundingsOfTables) {
    const Bytes source = ReadFile(std::string(HUEWEAVE_REAL_INPUTS) + "/scanner.icc"), target = OfArgyll("sRGB");
    const Unrounded unrounded(source, target), trilinear(source, target, Interpolation::Trilinear);
    const judge::Truth truth(source, target, INTENT_PERCEPTUAL, false);
    const std::vector<judge::Rgb> colours = SomeColours();
    std::vector<judge::Rgb> judged;
    for (const judge::Rgb& device : colours) judged.push_back(truth.Of(device));
    const double differs = unrounded.Compare(colours, judged).mean;
    EXPECT_GT(differs, 0);
    EXPECT_LT(differs, 0.004);
    EXPECT_GT(trilinear.Compare(colours, judged).mean, 10 * differs);
}

TEST(UnroundedTest, ProfilesOfOtherKindsAreRefused) {
    const Bytes straight = AxesProfile({});
    EXPECT_THROW(Unrounded(straight, AxesProfile({}, 0x04200000)), std::runtime_error);  // would compensate the black
    EXPECT_THROW(Unrounded(straight, AxesProfile({0, 40, 40, 90})).Of({0, 0, 0}), std::runtime_error);
    EXPECT_THROW(Unrounded(straight, EvenProfile("XYZ ", 0, 0, 0)), std::runtime_error);
    EXPECT_THROW(Unrounded(ProfileBuilder().Mft2("A2B0", MakeLut({})).Build(), straight),
                 std::runtime_error);  // matrix
}

}  // namespace
}  // namespace hueweave::test
