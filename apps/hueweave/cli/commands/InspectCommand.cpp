// SPDX-License-Identifier: MIT
#include "cli/commands/InspectCommand.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <optional>
#include <string_view>
#include <system_error>

#include "batch/file/plan/PageProfiles.h"
#include "batch/file/plan/ProfileChoice.h"
#include "cli/commands/InspectImage.h"
#include "picture/Format.h"
#include "report/measure/ProfileDescription.h"
#include "system/Json.h"
#include "system/JsonNames.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "system/files/FileKind.h"
#include "system/sandbox/Sandbox.h"
#include "tiff/TiffPage.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t kLargestProfile = std::uint64_t{64} << 20;  ///< bytes

/// The profiles of a file's pages. Repeated profiles refer to their first page.
class ProfileDescriber {
public:
    explicit ProfileDescriber(const TiffStructure& structure) : structure_(structure), distinct_(structure) {}

    Json Describe(const TiffEntry& entry, std::size_t page) {
        try {
            const auto [number, data] = distinct_.Find(entry);
            if (data) {
                Json json = Full(*data);
                first_.push_back({{"same as page", page + 1}});
                for (const char* key : {"unreadable", "kind", "description"}) {
                    if (json.contains(key)) first_.back()[key] = json[key];
                }
                return json;
            }
            return first_[number];
        } catch (const ReadFailure&) {
            throw;
        } catch (const Refusal& refusal) {
            return {{"unreadable", refusal.what()}};
        }
    }

private:
    Json Full(const Bytes& data) const {
        try {
            return DescribeProfile(structure_.file().name(), data, true);
        } catch (const Refusal& refusal) {
            return {{"unreadable", refusal.what()}};
        }
    }

    const TiffStructure& structure_;
    DistinctProfiles distinct_;
    std::vector<Json> first_;  ///< by number, referenced by further pages
};

/// The value of a tag with one number; nothing if it is absent or of another type.
std::optional<double> SingleNumber(const TiffStructure& structure, const TiffDirectory& directory,
                                   std::uint16_t which) {
    const TiffEntry* entry = directory.Find(which);
    if (entry == nullptr || entry->count != 1) return {};
    if (IsWhole(entry->type)) return static_cast<double>(structure.Number(directory, which, 0));
    if (entry->type != type::Rational) return {};
    const Bytes data = structure.Data(*entry);
    const std::uint64_t divisor = structure.form().Get(data.data() + 4, 4);
    if (divisor == 0) return {};
    return static_cast<double>(structure.form().Get(data.data(), 4)) / static_cast<double>(divisor);
}

Json DescribePage(const TiffStructure& structure, const TiffDirectory& directory) {
    const auto number = [&](std::uint16_t tag, std::uint64_t fallback) {
        return structure.Number(directory, tag, fallback);
    };
    const std::uint64_t height = number(tag::Height, 0);
    Json page{{"width", number(tag::Width, 0)}, {"height", height}};
    page["colours"] = PhotometricName(static_cast<unsigned>(number(tag::Photometric, 0xffff)));
    page["samples"] = number(tag::SamplesPerPixel, 1);
    page["bits"] = number(tag::BitsPerSample, 1);
    page["planar"] = number(tag::Planar, 1) == 2;
    page["compression"] = CompressionName(static_cast<unsigned>(number(tag::Compression, 1)));
    if (directory.Find(tag::TileWidth) != nullptr) {
        page["tiles"] = {number(tag::TileWidth, 0), number(tag::TileHeight, 0)};
    } else {
        page["rows a strip"] = std::min(number(tag::RowsPerStrip, height), height);
    }
    page["orientation"] = number(tag::Orientation, 1);
    const auto x = SingleNumber(structure, directory, tag::XResolution);
    const auto y = SingleNumber(structure, directory, tag::YResolution);
    if (x && y) {
        const double unit = SingleNumber(structure, directory, tag::ResolutionUnit).value_or(2);
        page["resolution"] = {*x, *y};
        page["resolution unit"] = unit == 2 ? "inch" : unit == 3 ? "cm" : "none";
    }
    return page;
}

/// Refuses a file that `convert` refuses if it is given neither a profile nor another option for such files.
void CheckConvertible(const TiffStructure& structure) {
    const std::vector<TiffPage> pages = ReadPages(structure);
    PageProfiles profiles(structure, pages);
    bool any = false;
    for (std::size_t p = 0; p < pages.size(); ++p) {
        ThrowIfInterrupted();
        if (!pages[p].IsConvertible()) continue;
        const bool isRgb = pages[p].model == colour::ColourModel::Rgb;
        const auto profile = colour::IsLab(pages[p].model) ? nullptr : profiles.Of(p);
        if (isRgb && profile == nullptr) throw NoProfile(structure.file().name());
        // Other pages without a profile for them stay as they are.
        any = any || colour::IsLab(pages[p].model) || (profile != nullptr && profile->model == pages[p].model);
    }
    if (!any) throw NoProfile(structure.file().name());
}

Json DescribeTiff(const FileAccess& file) {
    const TiffStructure structure(file);
    Json json{{"kind", "TIFF"},
              {"byte order", structure.form().bigEndian ? "big-endian" : "little-endian"},
              {"BigTIFF", structure.form().bigTiff}};
    ProfileDescriber profiles(structure);
    for (std::size_t i = 0; i < structure.directories().size(); ++i) {
        ThrowIfInterrupted();
        const TiffDirectory& directory = structure.directories()[i];
        Json page = DescribePage(structure, directory);
        const TiffEntry* icc = directory.Find(tag::IccProfile);
        if (icc != nullptr && icc->dataSize > 0) page["profile"] = profiles.Describe(*icc, i);
        json["pages"].push_back(std::move(page));
    }
    try {
        CheckConvertible(structure);
        json["convertible"] = true;
    } catch (const ReadFailure&) {
        throw;  // the data could not be read, so nothing is known
    } catch (const Refusal& refusal) {
        json["convertible"] = false;
        json["why"] = refusal.what();
    }
    return json;
}

/// "name: value" lines, indented; lists of plain values on one line.
void Print(const Json& json, int depth) {
    for (const auto& [key, value] : json.items()) {
        const std::string name = json.is_array() ? "-" : key + ":";
        const bool flat = !value.is_structured() || (value.is_array() && (value.empty() || !value[0].is_structured()));
        if (flat) {
            std::string text = value.is_string() ? OneLine(value.get<std::string>())
                                                 : value.dump(-1, ' ', false, Json::error_handler_t::replace);
            fmt::print("{:{}}{} {}\n", "", 2 * depth, name, text);
        } else if (key == "tags" || key == "intents") {
            fmt::print("{:{}}{}\n", "", 2 * depth, name);
            for (const Json& entry : value) {
                std::string line = entry["name"].get<std::string>();
                for (const auto& [inner, part] : entry.items()) {
                    if (inner == "name") continue;
                    line += inner == "table" || inner == "bytes" ? fmt::format(", {} {}", inner, part.dump())
                                                                 : ", " + OneLine(part.get<std::string>());
                }
                fmt::print("{:{}}{}\n", "", 2 * depth + 2, line);
            }
        } else {
            fmt::print("{:{}}{}\n", "", 2 * depth, name);
            Print(value, depth + 1);
        }
    }
}

/// The line of JSON for a file that cannot be described.
void PrintRefused(const std::string& path, const std::string& reason) {
    Json json;
    PutName(json, "file", path);
    json["reason"] = reason;
    fmt::print("{}\n", JsonLine(json));
}

constexpr const char* kInspectExamples = R"(Examples:
  hueweave inspect scan.tif
  hueweave inspect scanner.icc
  hueweave inspect --json scans/*.tif                   one line for each file)";

}  // namespace

Json DescribeFile(const std::string& path) {
    const FileAccess file = FileAccess::OpenInput(path);
    const auto describe = [&](const Bytes& profile) { return DescribeProfile(path, profile, true); };
    switch (FormatOf(file)) {
        case Format::Tiff:
            return DescribeTiff(file);
        case Format::Png:
            return DescribePng(file, describe);
        case Format::Jpeg:
            return DescribeJpeg(file, describe);
        default:
            break;
    }
    const std::string_view kind = FileKind(file);
    const bool mayBeProfile = kind.empty() || kind == kProfileKind;
    if (!mayBeProfile || file.Size() > kLargestProfile) {
        const std::string reason = mayBeProfile ? "is too large for a profile, and is not a TIFF, PNG or JPEG file"
                                                : NotA("a profile or a TIFF, PNG or JPEG file", file);
        throw Refusal(Exit::Input, path, reason, "give one of them");
    }
    return DescribeProfile(path, file.Read({0, file.Size()}), false);
}

CLI::App* InspectCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("inspect", "Describe a profile or a picture");
    c->add_option("FILE", options_.files, "Profiles, or TIFF, PNG and JPEG files")->required();
    c->add_flag("--json", options_.json, "Write one line of JSON per file");
    AddSandbox(*c, options_.sandbox);
    c->footer(kInspectExamples);
    return c;
}

Exit InspectCommand::Run() {
    if (options_.sandbox) {
        AllowedPaths allowed;
        for (const std::string& path : options_.files) allowed.push_back({path, Use::Read});
        EnterSandbox(allowed);
    }
    Exit result = Exit::Done;
    for (const std::string& path : options_.files) {
        try {
            Json json;
            PutName(json, "file", path);
            json.update(DescribeFile(path));
            if (options_.json) {
                fmt::print("{}\n", JsonLine(json));
            } else {
                Print(json, 0);
                if (options_.files.size() > 1) fmt::print("\n");
            }
        } catch (const Interrupted&) {
            throw;
        } catch (const std::system_error&) {
            throw;  // standard output failed, so no further file can be reported
        } catch (...) {
            const Explanation why = Explain(path, std::current_exception());
            PrintError("hueweave: " + OneLine(why.line));
            if (options_.json) PrintRefused(path, why.line);
            result = options_.files.size() == 1 ? why.status : Exit::SomeFailed;
        }
    }
    return result;
}

}  // namespace hueweave::tool
