// SPDX-License-Identifier: MIT
// The differences between a chart's converted colours and their reference.
#include <regex>

#include "command/support/DeviceProfiles.h"
#include "command/support/ProfileTest.h"

namespace hueweave::test {
namespace {

using testing::ContainsRegex;

constexpr double kPrinted = 0.0005;  ///< half of the last digit that is printed

/// A table as scanin writes it.
std::string Table(const std::string& kind, const std::string& fields, const std::vector<std::string>& rows) {
    std::string text = kind + "\n\nORIGINATOR \"a test\"\nNUMBER_OF_SETS " + std::to_string(rows.size()) +
                       "\nBEGIN_DATA_FORMAT\nSAMPLE_ID " + fields + "\nEND_DATA_FORMAT\nBEGIN_DATA\n";
    for (const std::string& row : rows) text += row + " \n";
    return text + "END_DATA\n";
}
constexpr const char* kRgb = "RGB_R RGB_G RGB_B";
constexpr const char* kLab = "LAB_L LAB_A LAB_B";
const std::string kBoth = std::string(kRgb) + " " + kLab;

/// Patches of an sRGB screen, whose colours do not change: white is L* 100 and black 0. By the formula of CIEDE2000,
/// the difference of two greys is that of L*, divided by S_L at their mean.
class CheckTest : public ProfileTest {
protected:
    CheckTest() {
        Write("chart.ti3",
              Table("CTI3", kBoth,
                    {"W1 100 100 100 98 0 0", "W2 100 100 100 100 0 0", "K1 0 0 0 10 0 0", "K2 0 0 0 0 0 0"}));
    }
    void Write(const std::string& name, const std::string& text) const { WriteBytes(folder_ / name, text); }
    Words Check(const std::string& name, const Words& more = {}) const {
        return Words{"check", "--profile", Input("screen.icc"), folder_ / name} + more;
    }
};

constexpr double kWhite = 2 / 1.731953;   ///< S_L at 99: 1 + 0.015 * 49^2 / sqrt(20 + 49^2)
constexpr double kBlack = 10 / 1.671682;  ///< S_L at 5: 1 + 0.015 * 45^2 / sqrt(20 + 45^2)

TEST_F(CheckTest, ReportsTheDifferencesAndTheWorstPatches) {
    const json told = Told(Check("chart.ti3", {"--worst", "2"}));
    const json& all = told["all"];
    EXPECT_EQ(all["patches"], 4);
    EXPECT_NEAR(all["mean"], (kWhite + kBlack) / 4, kPrinted);
    EXPECT_NEAR(all["median"], kWhite / 2, kPrinted);
    EXPECT_NEAR(all["p95"], kBlack, kPrinted);
    EXPECT_NEAR(all["maximum"], kBlack, kPrinted);
    EXPECT_EQ(told["inside"], all);
    ASSERT_EQ(told["worst"].size(), 2U);
    EXPECT_EQ(told["worst"][0]["patch"], "K1");
    EXPECT_EQ(told["worst"][1]["patch"], "W1");
    EXPECT_NEAR(told["worst"][0]["reference"][0], 10, 1e-9);
    EXPECT_NEAR(told["worst"][1]["converted"][0], 100, 1e-3);
    EXPECT_THAT(Hueweave(Check("chart.ti3")).out,
                AllOf(HasSubstr("4 patches to srgb, perceptual, compared relative to the white of the medium"),
                      ContainsRegex("\n  all +1\\.78[45]   0\\.57[78]   5\\.982   5\\.982   5\\.982        4\n"),
                      HasSubstr("\n  K1      0.00   0.00   0.00   10.00    0.00    0.00    0.00 "),
                      HasSubstr("Neutral, 4 patches: L* off by 3.00 on average, 10.00 at most; a* by ")));
}

TEST_F(CheckTest, ReportsTheTintOfNeutralsAndCountsOutOfGamutPatches) {
    Write("tint.ti3", Table("CTI3", kBoth, {"W 100 100 100 100 2 -1", "K 0 0 0 0 0 0", "R 100 0 0 50 110 0"}));
    const json told = Told(Check("tint.ti3"));
    EXPECT_EQ(told["neutral"]["patches"], 2);
    EXPECT_NEAR(told["neutral"]["a"], -1, 2e-3);
    EXPECT_NEAR(told["neutral"]["b"], 0.5, 2e-3);
    EXPECT_NEAR(told["neutral"]["maximum_tint"], std::sqrt(5.0), 2e-3);
    EXPECT_EQ(told["all"]["patches"], 3);
    EXPECT_EQ(told["inside"]["patches"], 1) << "no colour has a tint at L* 100, and no red of sRGB such a chroma";
    EXPECT_THAT(told["worst"][0], Has({{"patch", "R"}, {"outside", true}}));
    EXPECT_THAT(Hueweave(Check("tint.ti3")).out, HasSubstr("2 of 3 patches are outside srgb, which cannot show them"));
}

TEST_F(CheckTest, SetsTheStatusByALimitOrAGuideline) {
    for (const char* met : {"--limit=1.79", "--limit=2,5.99", "--guideline=fadgi-3", "--guideline=fadgi-2",
                            "--guideline=fadgi-1", "--guideline=metamorfoze-light"}) {
        EXPECT_EQ(Hueweave(Check("chart.ti3", {met})).status, 0) << met;
    }
    for (const char* missed :
         {"--limit=1.78", "--limit=2,5.98", "--guideline=fadgi-4", "--guideline=metamorfoze-full"}) {
        EXPECT_EQ(Hueweave(Check("chart.ti3", {missed})).status, 1) << missed;
    }
    // The limits themselves are met; of one patch, both figures are the same.
    Write("one.ti3", Table("CTI3", kBoth, {"W1 100 100 100 98 0 0"}));
    const std::string exact = Told(Check("one.ti3"))["all"]["mean"].dump();
    EXPECT_EQ(Hueweave(Check("one.ti3", {"--limit", exact + "," + exact})).status, 0);
    // With S_L = 1 the differences are those of L*: 2, 10 and twice 0.
    const json told = Told(Check("chart.ti3", {"--guideline", "metamorfoze-full"}));
    EXPECT_EQ(told["compared"], "measured");
    EXPECT_NEAR(told["guideline"]["mean"], 3, kPrinted);
    EXPECT_NEAR(told["guideline"]["within"], 10, kPrinted);
    EXPECT_EQ(told["guideline"]["met"], false);
    // The mean of 1.784 is below 2, but a tenth of the patches differs by more than 4.
    EXPECT_THAT(Hueweave(Check("chart.ti3", {"--guideline", "fadgi-4"})).out,
                ContainsRegex(
                    "\nfadgi-4 is not met: by CIEDE2000, mean 1\\.78[45] \\(below 2\\), 90 % 5\\.982 \\(below 4\\)\n"));
}

/// A scanner that sees paper of a reflectance of 0.8 as white.
TEST_F(CheckTest, ComparesRelativeToTheMediumUnlessTheIntentIsAbsolute) {
    const Profile scanner(cmsCreate_sRGBProfile());
    const cmsCIEXYZ paper{cmsD50X * 0.8, cmsD50Y * 0.8, cmsD50Z * 0.8};
    cmsSetDeviceClass(scanner.get(), cmsSigInputClass);
    ASSERT_TRUE(cmsWriteTag(scanner.get(), cmsSigMediaWhitePointTag, &paper));
    ASSERT_TRUE(cmsSaveProfileToFile(scanner.get(), profile_.c_str()));
    Write("paper.ti3", Table("CTI3", std::string(kRgb) + " XYZ_X XYZ_Y XYZ_Z", {"P 100 100 100 77.136 80 65.992"}));
    const auto mean = [&](const Words& more) {
        return Told(Words{"check", "--profile", profile_, folder_ / "paper.ti3"} + more)["all"]["mean"].get<double>();
    };
    // L* of the paper is 91.6849; S_L at 95.8425, the mean of that and of 100, is 1.684388.
    const double paperOff = (100 - 91.6849) / 1.684388;
    EXPECT_NEAR(mean({"--intent", "relative"}), 0, 0.005);
    EXPECT_NEAR(mean({"--intent", "relative", "--absolute"}), paperOff, 0.005);
    EXPECT_NEAR(mean({"--intent", "absolute"}), 0, 0.005);
}

TEST_F(CheckTest, JoinsAReferenceAndAScanByName) {
    const std::string bom = "\xEF\xBB\xBF", comment = "# 24 \"patches\"\r\n";
    Write("chart.cie",
          bom + Table("IT8.7/2", kLab, {"A01 98 0 0", comment + "A02 50 0 0", "\"B1\" +10 0e0 0"}) + "\x1a");
    Write("chart.val", Table("VALS", kRgb, {"B01 0 0 0", "A1 255 255 255", "C1 0 0 0"}));
    const json told = Told(Check("chart.cie", {folder_ / "chart.val"}));
    EXPECT_THAT(told, Has({{"all", {{"patches", 2}}}, {"left_out", 2}}));
    EXPECT_EQ(told["worst"][0]["patch"], "B1");
    EXPECT_NEAR(told["all"]["mean"], (kWhite + kBlack) / 2, kPrinted);
    // scanin prefers XYZ; COLOR_REP overrides it.
    const std::string xyz = std::string(kRgb) + " XYZ_X XYZ_Y XYZ_Z " + kLab,
                      row = "W 100 100 100 96.42 100 82.49 98 0 0";
    for (const auto& [first, mean] : {std::pair{"CTI3", 0.0}, {"CTI3\nCOLOR_REP \"LAB_RGB\"", kWhite}}) {
        Write("two.ti3", Table(first, xyz, {row}));
        EXPECT_NEAR(Told(Check("two.ti3"))["all"]["mean"], mean, 0.002) << first;
    }
}

TEST_F(CheckTest, RefusesAnIncompleteChart) {
    const std::string good = Table("CTI3", kBoth, {"A1 0 0 0 0 0 0", "A2 0 0 0 0 0 0"});
    const auto with = [&](const std::string& old, const std::string& now) {
        return std::regex_replace(good, std::regex(old), now);
    };
    const std::pair<std::string, const char*> cases[] = {
        {"", "has no CGATS table"},
        {"CTI3\nBEGIN_DATA\n1\nEND_DATA\n", "has no CGATS table"},
        {std::string("CTI3\n\0", 6) + good, "is not a CGATS text"},
        {good.substr(0, good.size() - 10), "ends before END_DATA"},
        {with("SETS 2", "SETS 3"), "announces 3 patches and has 2"},
        {with("SETS 2", "SETS 2x"), "announces 2x patches and has 2"},
        {with("SETS 2", "FIELDS 8"), "announces 8 fields and has 7"},
        {with("A2 0", "A2"), "has a row with missing values"},
        {with("A2 0", "A2 nan"), "has nan as RGB_R of patch 2, which is not a number"},
        {with("A2 0", "A2 0,5"), "has 0,5 as RGB_R of patch 2"},
        {with("A2 0", "A2 255"), "has device colours that are not 0 to 100"},
        {with("RGB_G", "CMYK_C"), "has no device colours"},
        {with("LAB_A", "D_RED"), "has no measured colours"},
        {with("A2 0", "A2 300.1"), "has 300.1 as RGB_R of patch 2"},
        {Table("CTI3", kBoth, std::vector<std::string>(100001, "A 0 0 0 0 0 0")), "has more than 100,000 patches"},
        {Table("CTI3", kBoth, {}), "has no patches"},
        // Little CMS 2.14 reads beyond the names of the fields here.
        {"X\nNUMBER_OF_FIELDS 4\nBEGIN_DATA_FORMAT\nI R G G\nEND_DATA_FORMAT\nNUMBER_OF_FIELDS 9\nNUMBER_OF_SETS "
         "2\nBEGIN_DATA\nd\n0 0Bd\n0Ba $ $ t .",
         "ends before END_DATA"}};
    for (const auto& [text, reason] : cases) {
        Write("bad.ti3", text);
        EXPECT_THAT(Hueweave(Check("bad.ti3")), Refuses(4, reason)) << text.substr(0, 1000);
    }
    Write("twice.val", Table("VALS", kRgb, {"W1 0 0 0", "W01 0 0 0"}));
    EXPECT_THAT(Hueweave(Check("chart.ti3", {folder_ / "twice.val"})),
                Refuses(4, "twice.val: has the patch W01 twice"));
    Write("other.val", Table("VALS", kRgb, {"X1 0 0 0"}));
    EXPECT_THAT(Hueweave(Check("chart.ti3", {folder_ / "other.val"})), Refuses(4, "has no patch with the name"));
    Shell("truncate -s 4194305 " + Quoted(folder_ / "large.ti3"));
    EXPECT_THAT(Hueweave(Check("large.ti3")), Refuses(4, "is too large for a chart"));
}

/// profcheck compares the relative colours of a profile with a reference as it stands, so it gets one that is relative
/// to the medium already.
TEST_F(CheckTest, AgreesWithProfcheck) {
    for (const std::string name : {"scanner", "xyz", "matrix"}) {
        const std::string icc = Quoted(Input(name + ".icc")), ti3 = Input(name + ".ti3"),
                          moved = Quoted(folder_ / "moved.ti3");
        Shell("white=$(exiftool -b -MediaWhitePoint " + icc +
              "); awk -v white=\"$white\" 'BEGIN { split(white, w); split(\"0.9642 1 0.8249\", d) } "
              "/^END_DATA$/ { on = 0 } on { for (i = 1; i <= 3; ++i) $(4 + i) *= d[i] / w[i] } "
              "/^BEGIN_DATA$/ { on = 1 } { print }' " +
              Quoted(ti3) + " > " + moved);
        const std::string theirs = Shell("profcheck -k -v2 -Ir " + moved + " " + icc);
        const json told = Told({"check", "--profile", Input(name + ".icc"), ti3, "--to", "prophoto", "--intent",
                                "relative", "--worst", "100"});
        std::map<std::string, double> ours;
        for (const json& patch : told["worst"]) ours[patch["patch"]] = patch["difference"];
        const std::regex line(R"(\[([0-9.]+)\] (\S+): )");
        std::size_t patches = 0;
        for (std::sregex_iterator at(theirs.begin(), theirs.end(), line), end; at != end; ++at, ++patches) {
            EXPECT_NEAR(ours.at((*at)[2]), std::stod((*at)[1]), 0.02) << name << ", patch " << (*at)[2];
        }
        EXPECT_EQ(patches, told["all"]["patches"]);
        EXPECT_EQ(patches, 60U);
        std::smatch all;
        ASSERT_TRUE(std::regex_search(theirs, all, std::regex("max. = ([0-9.]+), avg. = ([0-9.]+)")));
        EXPECT_NEAR(told["all"]["maximum"], std::stod(all[1]), 0.005) << name;
        EXPECT_NEAR(told["all"]["mean"], std::stod(all[2]), 0.002) << name;
        const json library = Told({"check", "--profile", Input(name + ".icc"), ti3, "--precision", "library"});
        EXPECT_EQ(library["precision"], "library");
        EXPECT_NE(library["all"]["mean"], Told({"check", "--profile", Input(name + ".icc"), ti3})["all"]["mean"]);
    }
}

}  // namespace
}  // namespace hueweave::test
