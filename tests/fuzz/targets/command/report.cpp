// SPDX-License-Identifier: MIT
// Any bytes as a picture, and any text as the names in a report: the picture is refused or summarised, and the page has
// the elements and attributes of one with harmless names, whatever the text is.
#include <numeric>

#include "Mutation.h"
#include "Scene.h"
#include "cli/commands/InspectCommand.h"
#include "report/Page.h"
#include "system/JsonNames.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;
using fuzz::Bytes;
using Json = nlohmann::ordered_json;

constexpr std::size_t kText = 48;  ///< bytes of the text, which ends before its first null byte
/// Larger pictures are only opened, since their pixels would take too long.
constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 16;

constexpr std::string_view kChart =
    "CTI3\nCOLOR_REP \"XYZ_RGB\"\nNUMBER_OF_FIELDS 7\n"
    "BEGIN_DATA_FORMAT\nSAMPLE_ID RGB_R RGB_G RGB_B XYZ_X XYZ_Y XYZ_Z\nEND_DATA_FORMAT\n"
    "NUMBER_OF_SETS 2\nBEGIN_DATA\nA1 10 20 30 9.6 10 8.2\nA2 90 90 90 70 75 60\nEND_DATA\n";

const std::string kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

/// A report without pictures, which is measured once.
class Report {
public:
    Report() : cache_(data.request.convert, Measured()) {}

    /// Adds the summary of a file, unless it is refused or large.
    void Read(const Bytes& file) {
        test::WriteFile(picture_, file);
        data.pictures.clear();
        (void)RefusalOf([&] {
            const FileAccess source = FileAccess::OpenInput(picture_);
            const auto reader = PictureReader::Open(source, data.request.convert.maxMemory);
            if (reader->raster().Pixels() > kMostPixels) return;
            PictureSummary summary = SummarisePicture(*reader, data.profile, cache_, data.precision.target.profile);
            data.pictures.push_back({picture_, DescribeFile(picture_), std::move(summary)});
        });
    }

    ReportData data;

private:
    const Target& Measured() {
        ReportRequest request;
        request.convert.profile = folder_ / "profile.icc";
        request.convert.rendering.space = colour::FindSpace("srgb");
        request.convert.maxMemory = std::uint64_t{32} << 20;
        request.chart = folder_ / "chart.ti3";
        test::WriteFile(*request.convert.profile, PlainProfile().data);
        test::WriteFile(*request.chart, Bytes(kChart.begin(), kChart.end()));
        data = MeasureReport(request, DescribeFile);
        return data.precision.target;
    }

    ScratchFolder folder_;
    const std::string picture_ = folder_ / "picture";
    ProfileCache cache_;  ///< borrows the request and the target of `data`
};

void CheckSummary(const PictureSummary& s) {
    Require(s.pixels == std::uint64_t{s.width} * s.height, "every pixel once");
    Require(s.clipped <= s.pixels, "clipped pixels are some of all");
    for (std::size_t c = 0; c < 3; ++c) {
        for (const auto& counts : {s.before[c], s.after[c]}) {
            Require(std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}) == s.pixels, "all are counted");
        }
        Require(s.low[c] + s.high[c] <= s.pixels && std::max(s.low[c], s.high[c]) <= s.clipped, "ends are clipped");
    }
    Require(std::max(s.shownWidth, s.shownHeight) <= kMostShown && s.shownWidth * s.shownHeight > 0, "a reduced copy");
    for (const std::string& uri : {s.beforeUri, s.afterUri, s.clipUri}) {
        Require(uri.find_first_not_of(kLetters + "+/=:;,") == uri.npos, "a picture is no markup");
    }
}

/// All texts in JSON become `text`.
void ReplaceTexts(Json& json, const std::string& text) {
    if (json.is_string()) json = text;
    if (!json.is_structured()) return;
    for (auto& [key, value] : json.items()) ReplaceTexts(value, text);
}

/// The data with `text` wherever a stranger chooses a name.
ReportData Named(ReportData data, const std::string& text) {
    data.profile.name = data.profile.description = data.precision.target.name = text;
    data.described["description"] = text;
    data.request.words = {"hueweave", "report", text};
    data.chart->question.reference = text;
    for (colour::JudgedPatch& patch : data.chart->verdict.chart.patches) patch.name = text;
    for (ReportedPicture& picture : data.pictures) {
        picture.name = text;
        picture.described["profile"] = {{"description", text}};
    }
    return data;
}

/// The tags of a page up to its numbers, with the names of their attributes. Requires that each tag ends, and that all
/// values are in quotes.
std::string TagsOf(std::string_view markup) {
    std::string tags;
    for (std::size_t at = markup.find('<'); at != markup.npos; at = markup.find('<', at)) {
        std::string tag;
        while (true) {
            const std::size_t end = std::min(markup.find_first_not_of(kLetters + " -/!", at + 1), markup.size());
            tag += markup.substr(at + 1, end - at - 1);
            at = end;
            Require(at < markup.size(), "a tag ends");
            if (markup[at] == '>') break;
            Require(!tag.empty() && tag.back() != ' ', "an attribute has a name");
            Require(markup.substr(at, 2) == "=\"", "a value is in quotes");
            at = markup.find_first_of("\"<", at + 2);
            Require(at < markup.size() && markup[at] == '"', "a value ends, and has no tag");
            Require(markup.substr(at + 1, 1).find_first_of(" />") == 0, "nothing follows a value");
        }
        if (tag == "style") at = markup.find("</style", at);
        tags += tag + "\n";
    }
    return tags;
}

/// A page in three parts: its markup, its numbers, and its script.
struct Parts {
    explicit Parts(const std::string& page) {
        const std::string_view begin = "<script type=\"application/json\" id=\"report-data\">";
        const std::size_t at = page.find(begin), from = at + begin.size(), to = page.find("</script>", from);
        markup = page.substr(0, at), numbers = page.substr(from, to - from), script = page.substr(to);
    }
    std::string markup, numbers, script;
};

void CheckPage(const ReportData& data, const std::string& text) {
    const ReportData named = Named(data, text);
    ReportData plain = Named(data, text.empty() ? "" : "x");
    for (ReportedPicture& picture : plain.pictures) ReplaceTexts(picture.described, "x");
    const Parts page(MakePage(named)), harmless(MakePage(plain));
    Require(TagsOf(page.markup) == TagsOf(harmless.markup), "the tags of a page with harmless names");
    Require(page.script == harmless.script, "the page ends with its script");
    Require(page.numbers.find('<') == std::string::npos, "the numbers neither end their element nor begin a comment");
    Require(Json::accept(page.numbers), "the numbers are JSON");
    Require(Json::parse(page.numbers) == Json::parse(JsonLine(ReportJson(named))), "and hold what was printed");
    const auto isControl = [](unsigned char c) { return c < 0x20 && c != '\n'; };
    Require(std::none_of(page.markup.begin(), page.markup.end(), isControl), "no control characters");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static Report report;
    const Bytes given = input.Take(kText);
    const std::string text(given.begin(), std::find(given.begin(), given.end(), 0));
    Bytes file = input.Rest();
    SealPng(file);
    report.Read(file);
    for (const ReportedPicture& picture : report.data.pictures) CheckSummary(picture.summary);
    MustSucceed([&] { CheckPage(report.data, text); }, "a page is made");
}

HUEWEAVE_FUZZ_MUTATOR(kText, TiffLayout);

}  // namespace hueweave::fuzz
