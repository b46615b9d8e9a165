// SPDX-License-Identifier: MIT
#include "report/Page.h"

#include <fmt/format.h>
#include <nettle/sha2.h>

#include <array>
#include <map>

#include "report/Html.h"
#include "report/Sections.h"
#include "report/picture/EmbeddedImage.h"

namespace hueweave::tool {
namespace {

/// The source 'sha256-...' of an inline script or style in a Content-Security-Policy.
std::string PolicyHash(std::string_view content) {
    std::array<unsigned char, SHA256_DIGEST_SIZE> digest;
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, content.size(), reinterpret_cast<const unsigned char*>(content.data()));
    sha256_digest(&context, digest.size(), digest.data());
    return "'sha256-" + Base64(digest.data(), digest.size()) + "'";
}

/// The page may run its own script and style and show its own pictures; it may load, send and embed nothing. The
/// library of plots sets attributes of style.
std::string Policy(const PageAssets& assets) {
    return fmt::format(
        "default-src 'none'; script-src {}; style-src {}; style-src-attr 'unsafe-inline'; img-src data: blob:; "
        "base-uri 'none'; form-action 'none'",
        PolicyHash(assets.script), PolicyHash(assets.style));
}

std::string Links(const ReportData& data) {
    std::string html;
    const auto add = [&](const std::string& id, const std::string& text) {
        html += fmt::format("<li><a href=\"#{}\">{}</a></li>", id, text);
    };
    add("glance", "At a glance");
    add("curves", "Curves");
    add("gamut", "Gamut");
    add("differences", "Differences");
    for (std::size_t n = 0; n < data.pictures.size(); ++n) {
        add(fmt::format("picture-{}-title", n), Escaped(FileName(data.pictures[n].name)));
    }
    if (data.chart) add("chart", "Chart");
    add("numbers", "Numbers");
    return html;
}

}  // namespace

std::string MakePage(const ReportData& data) {
    const PageAssets assets = Assets();
    std::string title = data.profile.description.empty() ? data.profile.name : data.profile.description;
    const std::map<std::string_view, std::string> parts{
        {"policy", Policy(assets)},
        {"style", std::string(assets.style)},
        {"script", std::string(assets.script)},
        {"licences", Escaped(assets.licences)},
        {"title", Escaped(title)},
        {"file", Escaped(data.profile.name)},
        {"target", Escaped(data.precision.target.name)},
        {"links", Links(data)},
        {"version", Escaped(kVersion)},
        {"sections", GlanceSection(data) + CurvesSection(data) + GamutSection(data) + DifferencesSection(data) +
                         PictureSections(data) + ChartSection(data) + NumbersSection(data)},
        {"json", EscapedJson(ReportJson(data))}};
    // Each part is put in once and not searched, so that nothing in a part is taken for the name of another.
    std::string page;
    std::string_view rest = assets.skeleton;
    for (std::size_t begin; (begin = rest.find("{{")) != rest.npos;) {
        const std::size_t end = rest.find("}}", begin);
        page += rest.substr(0, begin);
        page += parts.at(rest.substr(begin + 2, end - begin - 2));
        rest.remove_prefix(end + 2);
    }
    page += rest;
    return page;
}

}  // namespace hueweave::tool
