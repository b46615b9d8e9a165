// SPDX-License-Identifier: MIT
#include "batch/record/RecordLine.h"

#include <charconv>
#include <chrono>
#include <limits>

#include "system/Json.h"
#include "system/JsonNames.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostCounted = 1'000'000'000'000;  ///< pixels of a file, or files of a run

/// An integer. A number with a fraction is rejected, because it may be out of range.
long long WholeNumber(const nlohmann::json& json, const char* key) {
    const auto& value = json.at(key);
    if (!value.is_number_integer()) throw nlohmann::json::type_error::create(302, "no whole number", &value);
    return value.get<long long>();
}

/// A number of something. Larger ones are rejected, so that sums and estimates stay far from overflow.
std::uint64_t Count(const nlohmann::json& json, const char* key, std::uint64_t most = kMostCounted) {
    const long long value = WholeNumber(json, key);
    if (value < 0 || static_cast<std::uint64_t>(value) > most) {
        throw nlohmann::json::out_of_range::create(401, "no such number", &json);
    }
    return static_cast<std::uint64_t>(value);
}

/// The value of a key that lines of earlier versions lack.
long long WholeNumberOr0(const nlohmann::json& json, const char* key) {
    return json.contains(key) ? WholeNumber(json, key) : 0;
}

/// A path. No path contains a zero byte.
std::string Path(const nlohmann::json& json, const char* key) {
    std::string path = TakeName(json, key);
    if (path.find('\0') != std::string::npos) throw nlohmann::json::type_error::create(302, "no path", &json);
    return path;
}

DoneLine ReadDone(const nlohmann::json& json) {
    DoneLine line;
    line.output = Path(json, "output");
    line.fingerprint = json.at("fingerprint").get<std::string>();
    line.settings = json.value("settings", "");
    line.version = {WholeNumber(json, "size"), WholeNumber(json, "modified")};
    line.source = {WholeNumberOr0(json, "source_size"), WholeNumberOr0(json, "source_modified")};
    if (json.contains("pixels")) line.pixels = Count(json, "pixels");
    return line;
}

FailedLine ReadFailed(const nlohmann::json& json) {
    const bool leftOut = json.contains("left_out");
    return {Path(json, "output"), Path(json, "source"), json.at(leftOut ? "left_out" : "refused").get<std::string>(),
            leftOut, WholeNumber(json, "at")};
}

RunLine ReadRun(const nlohmann::json& json) {
    const auto parts = Count(json, "parts", std::numeric_limits<unsigned>::max());
    const auto part = Count(json, "part", parts);
    if (part == 0) throw nlohmann::json::out_of_range::create(401, "no part", &json);
    return {json.value("inputs", ""),    json.value("base", ""),       Count(json, "files"),
            static_cast<unsigned>(part), static_cast<unsigned>(parts), WholeNumber(json, "at")};
}

}  // namespace

std::optional<Digest> DigestOf(const std::string& hex) {
    constexpr std::size_t kDigits = 16;
    Digest digest{};
    if (hex.size() < kDigits * digest.size()) return std::nullopt;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        const char* const from = hex.data() + i * kDigits;
        if (std::from_chars(from, from + kDigits, digest[i], 16).ptr != from + kDigits) return std::nullopt;
    }
    return digest;
}

RecordLine ParseRecordLine(const std::string& line) {
    const auto json = nlohmann::json::parse(line, nullptr, false);
    if (!json.is_object()) return {};
    try {
        if (json.contains("fingerprint")) return ReadDone(json);
        if (json.contains("parts")) return ReadRun(json);
        return ReadFailed(json);
    } catch (const nlohmann::json::exception&) {
        return {};
    }
}

std::string FormatLine(const DoneLine& line) {
    nlohmann::ordered_json json;
    PutName(json, "output", line.output);
    json["fingerprint"] = line.fingerprint;
    json["size"] = line.version.size;
    json["modified"] = line.version.modified;
    json["source_size"] = line.source.size;
    json["source_modified"] = line.source.modified;
    json["settings"] = line.settings;
    json["pixels"] = line.pixels;
    return JsonLine(json);
}

std::string FormatLine(const FailedLine& line) {
    nlohmann::ordered_json json;
    PutName(json, "output", line.output);
    PutName(json, "source", line.source);
    json[line.leftOut ? "left_out" : "refused"] = line.reason;
    json["at"] = line.at;
    return JsonLine(json);
}

std::string FormatLine(const RunLine& line) {
    nlohmann::ordered_json json{{"inputs", line.inputs}};
    if (!line.base.empty()) json["base"] = line.base;
    json["files"] = line.files;
    json["part"] = line.part;
    json["parts"] = line.parts;
    json["at"] = line.at;
    return JsonLine(json);
}

long long Now() { return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count(); }

}  // namespace hueweave::tool
