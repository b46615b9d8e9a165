// SPDX-License-Identifier: MIT
// Any bytes as a picture, and any text as the names in a report: the picture is refused or summarised, and the page has
// the elements and attributes of one with harmless names, whatever the text is.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <numeric>

#include "Mutation.h"
#include "Scene.h"
#include "cli/commands/InspectCommand.h"
#include "report/Html.h"
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
    "CTI3\nCOLOR_REP \"XYZ_RGB\"\nNUMBER_OF_FIELDS 7\nBEGIN_DATA_FORMAT\nSAMPLE_ID RGB_R RGB_G RGB_B XYZ_X XYZ_Y "
    "XYZ_Z\n"
    "END_DATA_FORMAT\nNUMBER_OF_SETS 2\nBEGIN_DATA\nA1 10 20 30 9.6 10 8.2\nA2 90 90 90 70 75 60\nEND_DATA\n";

/// A report without pictures, which is measured once.
class Report {
public:
    Report() : cache_(data.request.convert, Measured()) {}

    /// The summary of a file, or nothing for one that is refused or large.
    std::optional<ReportedPicture> Read(const Bytes& file) {
        test::WriteFile(picture_, file);
        std::optional<ReportedPicture> picture;
        (void)RefusalOf([&] {
            const FileAccess source = FileAccess::OpenInput(picture_);
            const auto reader = PictureReader::Open(source, data.request.convert.maxMemory);
            if (reader->raster().Pixels() > kMostPixels) return;
            PictureSummary summary = SummarisePicture(*reader, data.profile, cache_, data.precision.target.profile);
            picture = ReportedPicture{picture_, DescribeFile(picture_), std::move(summary)};
        });
        return picture;
    }

    ReportData data;

private:
    const Target& Measured() {
        const DeviceProfile profile = PlainProfile();
        const std::string path = folder_ / "profile.icc", chart = folder_ / "chart.ti3";
        test::WriteFile(path, profile.data);
        test::WriteFile(chart, Bytes(kChart.begin(), kChart.end()));
        ReportRequest request;
        request.convert.profile = path;
        request.convert.rendering.space = colour::FindSpace("srgb");
        request.convert.maxMemory = std::uint64_t{32} << 20;
        request.chart = chart;
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
        for (const auto* counts : {&s.before[c], &s.after[c]}) {
            Require(std::accumulate(counts->begin(), counts->end(), std::uint64_t{0}) == s.pixels, "all are counted");
        }
        Require(s.low[c] + s.high[c] <= s.pixels && std::max(s.low[c], s.high[c]) <= s.clipped, "ends are clipped");
    }
    Require(std::max(s.shownWidth, s.shownHeight) <= kMostShown && s.shownWidth * s.shownHeight > 0, "a reduced copy");
    for (const std::string* uri : {&s.beforeUri, &s.afterUri, &s.clipUri}) {
        const auto isData = [](unsigned char c) {
            return std::isalnum(c) != 0 || (c != 0 && std::strchr("+/=:;,", c));
        };
        Require(std::all_of(uri->begin(), uri->end(), isData), "a picture is no markup");
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

/// A tag of markup, and the names of its attributes. Requires that it ends, and that all values are in quotes.
std::string ReadTag(std::string_view markup, std::size_t& at) {
    std::string tag;
    const auto skip = [&](const auto& isPart) {
        while (at < markup.size() && isPart(static_cast<unsigned char>(markup[at]))) tag += markup[at++];
    };
    const auto isName = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '/' || c == '!'; };
    skip(isName);
    while (true) {
        skip([](unsigned char c) { return c == ' '; });
        Require(at < markup.size(), "a tag ends");
        if (markup[at] == '>') return tag;
        const std::size_t begin = at;
        skip(isName);
        Require(at > begin, "an attribute has a name");
        if (at + 1 >= markup.size() || markup[at] != '=') continue;
        Require(markup[at + 1] == '"', "a value is in quotes");
        const std::size_t end = markup.find('"', at + 2);
        Require(end != markup.npos, "a value ends");
        Require(markup.substr(at, end - at).find('<') == markup.npos, "a value has no tag");
        at = end + 1;
    }
}

/// The tags of a page up to its numbers.
std::string TagsOf(std::string_view markup) {
    std::string tags;
    std::size_t at = 0;
    while ((at = markup.find('<', at)) != markup.npos) {
        ++at;
        const std::string tag = ReadTag(markup, at);
        tags += tag + "\n";
        if (tag == "style") at = markup.find("</style", at);
    }
    return tags;
}

/// A page in three parts: its markup, its numbers, and its script.
struct Parts {
    explicit Parts(const std::string& page) {
        const std::string_view begin = "<script type=\"application/json\" id=\"report-data\">";
        const std::size_t from = page.find(begin) + begin.size(), to = page.find("</script>", from);
        markup = page.substr(0, from - begin.size());
        numbers = page.substr(from, to - from);
        script = page.substr(to);
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
    Require(Json::parse(page.numbers) == Json::parse(JsonLine(ReportJson(named))), "and hold what was told");
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
    const auto picture = report.Read(file);
    if (picture) CheckSummary(picture->summary);
    report.data.pictures.clear();
    if (picture) report.data.pictures.push_back(*picture);
    const auto refusal = RefusalOf([&] { CheckPage(report.data, text); });
    Require(!refusal, "a page is made");
}

HUEWEAVE_FUZZ_MUTATOR(kText, TiffLayout);

}  // namespace hueweave::fuzz
