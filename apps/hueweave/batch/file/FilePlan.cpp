// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/file/FilePlan.h"

#include <algorithm>
#include <utility>

#include "batch/file/PageProfiles.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

class Planner {
public:
    Planner(const Session& session, const SourceFile& source)
        : session_(session),
          options_(session.options),
          name_(source.name),
          structure_(std::make_unique<const TiffStructure>(source.file)),
          pages_(ReadPages(*structure_)),
          profiles_(*structure_, pages_),
          losses_(options_, *structure_) {}

    FilePlan Plan() && {
        std::vector<PageJob> jobs;
        for (std::size_t p = 0; p < pages_.size(); ++p) jobs.push_back(pages_[p].mask ? PageJob() : PlanPage(p));
        const bool isConverted = IsConverted(jobs);
        const bool isCopy = std::all_of(jobs.begin(), jobs.end(), [](const PageJob& job) { return job.keeps; });
        return {std::move(structure_),   std::move(pages_), std::move(jobs), std::move(converters_),
                std::move(profileName_), std::move(notes_), isCopy,          isConverted};
    }

private:
    void Note(const std::string& text) { notes_.own.push_back(name_ + ": " + text); }

    PageJob PlanPage(std::size_t page) {
        const std::shared_ptr<const DeviceProfile> embedded = ProfileOf(page);
        const DeviceProfile& profile = Choose(embedded.get());
        const auto ready = ConverterFor(profile, pages_[page].bits);
        if (profileName_.empty()) {
            profileName_ = profile.embedded ? "embedded" : profile.name;
            if (profile.embedded && !profile.description.empty()) profileName_ += ": " + profile.description;
        }
        // The bytes belong to the converter, which all pages of this profile share.
        const std::shared_ptr<const Bytes> icc(ready, &ready->outputProfile);
        const auto tag = options_.noTag ? nullptr : icc;
        if (ready->IsCopy()) {
            pages_[page].stays = true;
            const bool isTagged = profile.embedded && !options_.noTag;
            return {isTagged, nullptr, tag};
        }
        NoteConversion(profile, *ready, pages_[page]);
        losses_.Look(pages_[page], notes_);
        return {false, &ready->converter, tag};
    }

    void NoteConversion(const DeviceProfile& profile, const ReadyConverter& ready, const TiffPage& page) {
        if (!ready.bakedBecause.empty()) {
            const std::string text = ready.bakedBecause + "; the library uses a profile baked from it";
            notes_.own.push_back(profile.name + (profile.embedded ? ": of its profile, " : ": ") + text);
        }
        if (ready.transform != nullptr && ready.transform->way() == colour::Way::PixelByPixel) {
            notes_.own.push_back(profile.name + ": is converted pixel by pixel by Little CMS, which is slow, because " +
                                 ready.transform->reason());
        }
        if (ready.outputProfile.empty() && !options_.noTag) {
            throw Refusal(Exit::Usage, options_.curveFile, "no profile can describe curves that fall",
                          "leave the profile out with --no-tag");
        }
        const colour::Rendering& rendering = options_.rendering;
        const bool mixed = ready.transform == nullptr && rendering.space->name == "kodak-mix" && !rendering.curves;
        if (page.bits == 16 && mixed) Note("kodak-mix has 256 steps, also in files of 16 bits");
    }

    std::shared_ptr<const DeviceProfile> ProfileOf(std::size_t page) {
        try {
            return profiles_.Of(page);
        } catch (const Refusal&) {
            // An invalid profile does no harm if another one is used. With --source require-match it does not count as
            // absent.
            if (!session_.profile || options_.source != SourceRule::Given) throw;
            Note("embeds a profile that cannot be used; " + session_.profile->name + " is used");
            return nullptr;
        }
    }

    const DeviceProfile& Choose(const DeviceProfile* embedded) {
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
                              "choose with --source given or --source embedded");
            default:
                Note("embeds another profile" + other + "; " + given->name + " is used");
                return *given;
        }
    }

    /// Pages with the same profile and bit depth share a converter, even if they do not follow each other.
    std::shared_ptr<const ReadyConverter> ConverterFor(const DeviceProfile& profile, unsigned bits) {
        for (const auto& ready : converters_) {
            if (ready->hash == profile.hash && ready->bits == bits) return ready;
        }
        converters_.push_back(session_.cache.Get(profile, bits));
        return converters_.back();
    }

    bool IsConverted(const std::vector<PageJob>& jobs) const {
        const colour::Rendering& r = options_.rendering;
        const bool adjusts = r.lightness != 0 || r.chroma != 0 || r.hue != 0;
        const bool exact = options_.precision == Precision::Exact;
        if (exact || !options_.inPlace || options_.force || options_.noTag || adjusts) return false;
        for (std::size_t p = 0; p < pages_.size(); ++p) {
            if (pages_[p].mask) continue;
            const DeviceProfile* embedded = profiles_.Known(p);
            if (embedded == nullptr || embedded->data != *jobs[p].icc) return false;
        }
        return true;
    }

    const Session& session_;
    const ConvertOptions& options_;
    const std::string& name_;
    std::unique_ptr<const TiffStructure> structure_;
    std::vector<TiffPage> pages_;
    PageProfiles profiles_;
    LossNotes losses_;
    std::vector<std::shared_ptr<const ReadyConverter>> converters_;
    std::string profileName_;
    FileNotes notes_;
};

}  // namespace

FilePlan PlanFile(const Session& session, const SourceFile& source) { return Planner(session, source).Plan(); }

}  // namespace hueweave::tool
