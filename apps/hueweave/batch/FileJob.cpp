// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/FileJob.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <new>
#include <string_view>

#include "system/JsonNames.h"
#include "system/Refusal.h"
#include "system/Sha256.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "tiff/PhotoshopResources.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

/// What the process needs beside the buffers of the pixels.
constexpr std::uint64_t kOwnMemory = std::uint64_t{24} << 20;
constexpr std::uint64_t kMostXmp = std::uint64_t{4} << 20;  ///< bytes that are looked through

/// Whether the XMP metadata name a profile, as those of Photoshop do.
bool XmpNamesProfile(const TiffStructure& structure, const TiffDirectory& directory) {
    const TiffEntry* entry = directory.Find(tag::Xmp);
    if (entry == nullptr || entry->dataSize > kMostXmp) return false;
    const Bytes xmp = structure.Data(*entry);
    constexpr std::string_view kField = "photoshop:ICCProfile";
    return std::search(xmp.begin(), xmp.end(), kField.begin(), kField.end()) != xmp.end();
}

}  // namespace

/// Kept until the file is done: a refusal is to be one line.
void FileJob::Note(const std::string& text) { notes_.push_back(name_ + ": " + text); }

void FileJob::TellNotes() {
    for (const std::string& note : notes_) session_.report.Note(note);
    for (const std::string& text : common_) {
        if (session_.list.single) {
            session_.report.Note(name_ + ": its " + text);
        } else {
            session_.report.NoteOfMany(text);
        }
    }
}

void FileJob::Open() {
    name_ = item_.source == "-" ? "standard input" : item_.source;
    source_ = item_.source == "-" ? SpoolStandardInput() : FileAccess::OpenInput(item_.source);
    opened_ = source_.State();
}

void FileJob::CheckOutput() {
    if (item_.output == "-") {
        if (IsClosed(STDOUT_FILENO)) RefuseStandardOutput(EBADF);
        if (::isatty(STDOUT_FILENO) == 0) return;
        throw Refusal(Exit::Output, "standard output", "is a terminal", "write to a file with -o, or into a pipe");
    }
    struct stat target {};
    if (!options_.inPlace && ::stat(item_.output.c_str(), &target) == 0) {
        const FileIdentity identity{target.st_dev, target.st_ino};
        const auto option = session_.list.options.find(identity);
        if (session_.list.identities.contains(identity)) {
            throw Refusal(Exit::Output, item_.output, "is an input itself",
                          "choose another name, or convert it --in-place");
        }
        if (option != session_.list.options.end()) {
            throw Refusal(Exit::Output, item_.output, "is the file given as " + option->second, "choose another name");
        }
    }
    CheckTarget(item_.output, Existing());
}

/// What `Write` would refuse for the sake of the folder, in a run that does not write.
void FileJob::CheckFolder() const {
    if (item_.output == "-") return;
    std::error_code ignored;
    const std::string folder = FolderOf(item_.output);
    if (!session_.list.folder.empty() && !fs::is_directory(folder, ignored)) {
        MadeFolders::Check(folder);
    } else {
        CheckFolderOf(item_.output, Existing());
    }
}

OutputFile::Existing FileJob::Existing() const {
    return options_.force || options_.inPlace ? OutputFile::Existing::Replace : OutputFile::Existing::Keep;
}

const DeviceProfile& FileJob::Choose(const DeviceProfile* embedded) {
    const std::optional<DeviceProfile>& given = session_.profile;
    if (!given && embedded == nullptr) {
        throw Refusal(Exit::Profile, name_, "embeds no profile", "give the device's profile with --profile");
    }
    if (!given || embedded == nullptr || given->hash == embedded->hash) return given ? *given : *embedded;
    const std::string other = embedded->description.empty() ? "" : " (" + embedded->description + ")";
    switch (options_.source) {
        case SourceRule::Embedded:
            Note("its embedded profile" + other + " is used, not " + given->name);
            return *embedded;
        case SourceRule::RequireMatch:
            throw Refusal(Exit::Profile, name_, "embeds another profile" + other + " than " + given->name,
                          "settle it with --source given or --source embedded");
        default:
            Note("embeds another profile" + other + "; " + given->name + " is used");
            return *given;
    }
}

std::shared_ptr<const DeviceProfile> FileJob::ProfileOf(std::size_t page) {
    try {
        return profiles_->Of(page);
    } catch (const Refusal&) {
        // A profile that is not used need not be sound, but must be told from none where they are to match.
        if (!session_.profile || options_.source != SourceRule::Given) throw;
        Note("embeds a profile that cannot be used; " + session_.profile->name + " is used");
        return nullptr;
    }
}

/// Pages of the same profile share a converter, in whatever order they come.
std::shared_ptr<const ReadyConverter> FileJob::ConverterFor(const DeviceProfile& profile, unsigned bits) {
    for (const auto& ready : converters_) {
        if (ready->hash == profile.hash && ready->bits == bits) return ready;
    }
    converters_.push_back(session_.cache.Get(profile, bits));
    return converters_.back();
}

std::string FileJob::OldTagsStay(bool one) const {
    if (options_.noTag) return one ? "stays and tells of the wrong ones" : "stay and tell of the wrong ones";
    return one ? "stays; the embedded profile takes precedence over it"
               : "stay; the embedded profile takes precedence over them";
}

/// Whether a page has a value at which no page before it pointed.
bool FileJob::IsNew(const TiffDirectory& directory, std::uint16_t wanted) {
    const TiffEntry* entry = directory.Find(wanted);
    return entry != nullptr && (entry->dataOffset == 0 || looked_.emplace(entry->dataOffset, entry->dataSize).second);
}

void FileJob::NoteLosses(std::size_t page) {
    const TiffDirectory& directory = structure_->directories()[pages_[page].directory];
    if (pages_[page].Lossy()) {
        Note(CompressionName(pages_[page].compression) + " image data are written as Deflate, without further loss");
    }
    if (directory.Find(tag::PhotoshopLayers) != nullptr) {
        Note("its layers (tag 37724) stay as they were; only the flat image is converted");
    }
    const std::uint64_t exif = structure_->exifColorSpace();
    const std::string_view space = options_.rendering.space->name;
    if ((exif == 1 && space != "srgb") || (exif == 2 && space != "adobe-rgb")) {
        common_.insert(
            fmt::format("EXIF field ColorSpace stays at {}, which it is no more", exif == 1 ? "sRGB" : "AdobeRGB"));
    }
    if (IsNew(directory, tag::Xmp) && XmpNamesProfile(*structure_, directory)) {
        common_.insert("XMP field photoshop:ICCProfile stays, and names the profile that was");
    }
    if (IsNew(directory, tag::PhotoshopResources)) {
        const PhotoshopResources photoshop(*structure_, directory);
        if (photoshop.HasThumbnail()) {
            common_.insert("thumbnail of Photoshop (resource 1036 of tag 34377) stays in the old colours");
        }
        if (photoshop.tooLarge()) {
            common_.insert("resources of Photoshop (tag 34377) are too large to look into, and stay");
        }
    }
    std::vector<std::uint16_t> old;
    for (const auto which : {tag::TransferFunction, tag::WhitePoint, tag::Primaries}) {
        if (directory.Find(which) != nullptr) old.push_back(which);
    }
    if (!old.empty()) {
        common_.insert(fmt::format("{} of the old colours ({}) {}", old.size() == 1 ? "tag" : "tags",
                                   fmt::join(old, ", "), OldTagsStay(old.size() == 1)));
    }
}

PageJob FileJob::PlanPage(std::size_t page) {
    const std::shared_ptr<const DeviceProfile> embedded = ProfileOf(page);
    const DeviceProfile& profile = Choose(embedded.get());
    const auto ready = ConverterFor(profile, pages_[page].bits);
    if (profileName_.empty()) {
        profileName_ = profile.embedded ? "embedded" : profile.name;
        if (profile.embedded && !profile.description.empty()) profileName_ += ": " + profile.description;
    }
    if (!ready->bakedBecause.empty()) {
        const std::string text = ready->bakedBecause + "; the engine takes a profile baked from it";
        notes_.push_back(profile.name + (profile.embedded ? ": of its profile, " : ": ") + text);
    }
    if (ready->outputProfile.empty() && !options_.noTag) {
        throw Refusal(Exit::Usage, options_.curveFile, "no profile can describe curves that fall",
                      "leave the profile out with --no-tag");
    }
    const Rendering& rendering = options_.rendering;
    if (pages_[page].bits == 16 && rendering.space->name == "kodak-mix" && !rendering.curves) {
        Note("kodak-mix has 256 steps, also in files of 16 bits");
    }
    NoteLosses(page);
    // The bytes belong to the converter, which all pages of this profile share.
    std::shared_ptr<const Bytes> icc(ready, &ready->outputProfile);
    return {&ready->converter, options_.noTag ? nullptr : icc};
}

void FileJob::PlanPages() {
    structure_ = std::make_unique<TiffStructure>(source_);
    pages_ = ReadPages(*structure_);
    profiles_ = std::make_unique<PageProfiles>(*structure_, pages_);
    for (std::size_t p = 0; p < pages_.size(); ++p) jobs_.push_back(pages_[p].mask ? PageJob() : PlanPage(p));
}

/// Whether all pages embed the very profile that they would get: a run in place over a folder, stopped half way and
/// begun again, would convert them twice.
bool FileJob::IsConvertedInPlace() const {
    const Rendering& r = options_.rendering;
    const bool adjusts = r.lightness != 0 || r.chroma != 0 || r.hue != 0;
    if (!options_.inPlace || options_.force || options_.noTag || adjusts) return false;
    for (std::size_t p = 0; p < pages_.size(); ++p) {
        if (pages_[p].mask) continue;
        const DeviceProfile* embedded = profiles_->Known(p);
        if (embedded == nullptr || embedded->data != *jobs_[p].icc) return false;
    }
    return true;
}

std::string FileJob::Fingerprint() {
    const Rendering& r = options_.rendering;
    Sha256 hash;
    hash.Add(fmt::format("{} {} {} {} {} {} {} {} {}\n", kVersion, r.space->name, IntentName(r.intent), r.lightness,
                         r.chroma, r.hue, static_cast<int>(options_.source), options_.noTag,
                         session_.profile ? session_.profile->hash : "embedded"));
    if (r.curves) {
        for (const auto& curve : *r.curves) hash.Add(curve.data(), curve.size());
    }
    Bytes block(std::size_t{256} << 10);
    const std::uint64_t size = source_.Size();
    for (std::uint64_t at = 0; at < size; at += block.size()) {
        ThrowIfInterrupted();
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), size - at));
        source_.Read(at, block.data(), part);
        hash.Add(block.data(), part);
    }
    return hash.Hex();
}

std::unique_ptr<OutputFile> FileJob::MakeOutput() {
    if (!session_.list.folder.empty()) session_.folders.Make(FolderOf(item_.output));
    if (session_.record != nullptr) session_.record->Begin();
    struct stat old {};
    if (Existing() == OutputFile::Existing::Replace && ::stat(item_.output.c_str(), &old) == 0 && old.st_nlink > 1) {
        Note("has further names (hard links), which keep what it was");
    }
    const std::optional<FileState> wanted = options_.inPlace ? std::optional(opened_) : std::nullopt;
    auto output = std::make_unique<OutputFile>(item_.output, Existing(), wanted);
    if (const std::size_t stale = session_.swept.Sweep(output->folder())) {
        notes_.push_back(fmt::format("{}: {} temporary {} of a killed run removed", output->folder(), stale,
                                     stale == 1 ? "file" : "files"));
    }
    return output;
}

/// What was converted must be one state of the source.
void FileJob::CheckSource() const {
    if (source_.State() == opened_) return;
    throw Refusal(Exit::Input, name_, "changed while it was read", "convert it again when nobody writes to it");
}

void FileJob::Write(std::chrono::steady_clock::time_point begin) {
    WriteSettings settings;
    settings.threads = threads_;
    settings.memory = options_.maxMemory > 2 * kOwnMemory ? options_.maxMemory - kOwnMemory : kOwnMemory / 3;
    settings.measure = options_.json;
    std::uint64_t all = 0;
    for (const TiffPage& page : pages_) all += page.mask ? 0 : page.Pixels();
    std::atomic<std::uint64_t> done{0};
    settings.progress = [&](std::uint64_t pixels) {
        session_.report.Progress(name_, static_cast<double>(done += pixels) / static_cast<double>(all));
    };
    std::unique_ptr<OutputFile> output;
    FileAccess spool;
    if (item_.output == "-") {
        settings.scratch = TemporaryFolder();
        spool = FileAccess::Scratch(settings.scratch, "standard output");
    } else {
        output = MakeOutput();
    }
    const FileAccess& target = output ? output->file() : spool;
    RewriteTiff(*structure_, pages_, jobs_, target, settings, measured_);
    if (output) output->Finish();
    CheckSource();
    ThrowIfInterrupted();
    // Before the file has its name: without memory for the text there is no file.
    json_ = Json(Outcome::Converted, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    if (output) {
        Record(output->file());
        output->Commit();
        if (session_.record != nullptr) session_.record->NoteNamed();
    } else {
        WriteStandardOutput(spool);
    }
}

/// A record that cannot be written is no reason to lose the conversion.
void FileJob::Record(const FileAccess& output) {
    if (session_.record == nullptr) return;
    try {
        session_.record->Add(item_.relative, fingerprint_, output);
    } catch (const Refusal& refusal) {
        session_.report.Note(refusal.what());
    }
}

std::string FileJob::Json(Outcome outcome, double seconds) {
    if (!options_.json) return "";
    constexpr const char* kOutcomes[] = {"converted", "skipped", "would convert"};
    nlohmann::ordered_json json{{"status", kOutcomes[static_cast<int>(outcome)]}};
    PutName(json, "source", item_.source);
    PutName(json, "output", item_.output);
    PutName(json, "profile", profileName_);
    json["intent"] = IntentName(options_.rendering.intent);
    json["space"] = options_.rendering.space->name;
    if (!converters_.empty()) json["baked"] = !converters_[0]->bakedBecause.empty();
    if (outcome == Outcome::Converted) {
        json["pixels"] = measured_.pixels;
        json["seconds"] = seconds;
        json["clipped"] =
            measured_.pixels > 0 ? static_cast<double>(measured_.clipped) / static_cast<double>(measured_.pixels) : 0.0;
        json["sha256"] = measured_.hash.Hex();
    }
    return JsonLine(json);
}

Outcome FileJob::Run() {
    const auto begin = std::chrono::steady_clock::now();
    if (!item_.refusal.empty()) throw Refusal(Exit::Output, item_.source, item_.refusal, "");
    Open();
    session_.report.StartFile(name_, source_.Size());
    if (session_.record != nullptr) fingerprint_ = Fingerprint();
    if (options_.resume && session_.record != nullptr && session_.record->IsDone(item_.relative, fingerprint_)) {
        session_.report.Line(name_ + " is done already");
        session_.report.Json(Json(Outcome::Skipped, 0));
        return Outcome::Skipped;
    }
    CheckOutput();
    PlanPages();
    if (IsConvertedInPlace()) {
        session_.report.Line(fmt::format("{} is in {} already, by its profile; --force converts it again", name_,
                                         options_.rendering.space->name));
        session_.report.Json(Json(Outcome::Skipped, 0));
        return Outcome::Skipped;
    }
    const std::string to = item_.output == "-" ? "standard output" : item_.output;
    if (options_.dryRun) {
        CheckFolder();
        TellNotes();
        session_.report.Line(fmt::format("would convert {} -> {} ({}, {}, {} bits, {})", name_, to,
                                         options_.rendering.space->name, IntentName(options_.rendering.intent),
                                         converters_[0]->bits, profileName_));
        session_.report.Json(Json(Outcome::Planned, 0));
        return Outcome::Planned;
    }
    Write(begin);
    try {
        TellNotes();
        if (item_.output != "-") session_.report.Line(fmt::format("{} -> {}", name_, to));
        session_.report.Json(json_);
    } catch (const std::bad_alloc&) {
        session_.report.LoseJson();  // the file stands there; without memory to say so, it is converted all the same
    }
    return Outcome::Converted;
}

}  // namespace hueweave::tool
