// SPDX-License-Identifier: MIT
#include "batch/file/plan/ProfileChoice.h"

#include <utility>

namespace hueweave::tool {

Refusal NoProfile(const std::string& name) {
    return Refusal(Exit::Profile, name, "embeds no profile", "give the device's profile with --profile")
        .OfKind({"without a profile", "no embedded profile"});
}

Refusal NotRgb(const std::string& name, const std::string& where, const std::string& kind, Precision precision) {
    const bool exact = precision == Precision::Exact;
    const std::string pixels = kind + (exact ? " pixels without a profile for them" : " pixels, not RGB");
    const std::string remedy =
        exact ? "give a profile for " + kind + " with --profile" : "leave --precision library out";
    return Refusal(Exit::Input, name, where + "holds " + pixels, remedy).OfKind({kind, pixels, true});
}

void ProfileChoice::RequireProfile(const Embedded& embedded, colour::ColourModel model, const std::string& kind) const {
    if (options_.precision == Precision::Library) throw NotRgb(name_, "", kind, options_.precision);
    if (GivenFor(model) != nullptr) return;
    const auto profile = embedded();
    if (profile == nullptr || profile->model != model) throw NotRgb(name_, "", kind, options_.precision);
}

bool ProfileChoice::HasProfile(const Embedded& embedded, colour::ColourModel model) const {
    if (colour::IsLab(model) || GivenFor(model) != nullptr) return true;
    try {
        const auto profile = embedded();
        return profile != nullptr && profile->model == model;
    } catch (const ReadFailure&) {
        throw;
    } catch (const Refusal&) {
        return false;
    }
}

const DeviceProfile* ProfileChoice::GivenFor(colour::ColourModel model) const {
    return session_.profile && session_.profile->model == model ? &*session_.profile : nullptr;
}

ChosenConverter ProfileChoice::For(const Embedded& read, unsigned bits, colour::ColourModel model) {
    const DeviceProfile lab = LabProfile(model);
    const std::shared_ptr<const DeviceProfile> embedded = colour::IsLab(model) ? nullptr : Read(read, model);
    ChosenConverter chosen;
    const DeviceProfile& profile = colour::IsLab(model) ? lab : Choose(embedded.get(), bits, model);
    const bool isOther = GivenFor(model) != nullptr && !profile.embedded && embedded != nullptr;
    const bool isInTarget = isOther && options_.source == SourceRule::RequireMatch && profile.hash != embedded->hash;
    const DeviceProfile& used = isInTarget ? *embedded : profile;
    chosen.ready = ConverterFor(profile, bits);
    chosen.isEmbedded = used.embedded;
    chosen.isDone = isInTarget || chosen.ready->IsCopy();
    if (profileName_.empty()) {
        profileName_ = used.embedded ? "embedded" : used.name;
        if (used.embedded && !used.description.empty()) profileName_ += ": " + used.description;
    }
    // The bytes belong to the converter, which all images with this profile share.
    if (!options_.noTag) chosen.icc = {chosen.ready, &chosen.ready->outputProfile};
    if (!chosen.isDone) NoteConversion(profile, *chosen.ready);
    return chosen;
}

bool ProfileChoice::SkipsConverted() const {
    const colour::Rendering& r = options_.rendering;
    const bool adjusts = r.lightness != 0 || r.chroma != 0 || r.hue != 0;
    const bool exact = options_.precision == Precision::Exact;
    const bool again = options_.force || (options_.profile && options_.source == SourceRule::Given);
    return !exact && options_.inPlace && !again && !options_.noTag && !adjusts;
}

void ProfileChoice::Finish(FilePlan& plan) && {
    plan.converters = std::move(converters_);
    plan.profileName = std::move(profileName_);
    plan.notes = std::move(notes_);
}

std::shared_ptr<const DeviceProfile> ProfileChoice::Read(const Embedded& embedded, colour::ColourModel model) {
    try {
        auto profile = embedded();
        if (profile == nullptr || profile->model == model) return profile;
        if (model == colour::ColourModel::Rgb) throw NotForRgb(*profile);
        return nullptr;
    } catch (const Refusal&) {
        // An invalid profile does no harm if another one is used. Without --source given it does not count as absent.
        if (GivenFor(model) == nullptr || options_.source != SourceRule::Given) throw;
        Note("embeds a profile that cannot be used; " + session_.profile->name + " is used");
        return nullptr;
    }
}

/// The profile to convert with. The given one is returned as well for an image that is in the output's colours already:
/// it was converted before.
const DeviceProfile& ProfileChoice::Choose(const DeviceProfile* embedded, unsigned bits, colour::ColourModel model) {
    const DeviceProfile* const given = GivenFor(model);
    if (given == nullptr && embedded == nullptr) {
        if (session_.profile) throw NotForRgb(*session_.profile);
        throw NoProfile(name_);
    }
    if (given == nullptr || embedded == nullptr || given->hash == embedded->hash) return given ? *given : *embedded;
    const std::string other = embedded->description.empty() ? "" : " (" + embedded->description + ")";
    switch (options_.source) {
        case SourceRule::Embedded:
            Note("its embedded profile" + other + " is used, not " + given->name);
            return *embedded;
        case SourceRule::RequireMatch:
            if (IsInTarget(*embedded, bits)) return *given;
            throw Refusal(Exit::Profile, name_, "embeds another profile" + other + " than " + given->name,
                          "choose with --source given or --source embedded")
                .OfKind({"with another profile", "another embedded profile than " + given->name});
        default:
            Note("embeds another profile" + other + "; " + given->name + " is used");
            return *given;
    }
}

bool ProfileChoice::IsInTarget(const DeviceProfile& embedded, unsigned bits) {
    return embedded.data == ConverterFor(*session_.profile, bits)->outputProfile || session_.cache.IsTarget(embedded);
}

/// Images with the same profile and bit depth share a converter, even if they do not follow each other.
std::shared_ptr<const ReadyConverter> ProfileChoice::ConverterFor(const DeviceProfile& profile, unsigned bits) {
    for (const auto& ready : converters_) {
        if (ready->hash == profile.hash && ready->bits == bits) return ready;
    }
    converters_.push_back(session_.cache.Get(profile, bits));
    return converters_.back();
}

void ProfileChoice::NoteConversion(const DeviceProfile& profile, const ReadyConverter& ready) {
    if (!ready.bakedBecause.empty() && options_.verbose) {
        const std::string text = ready.bakedBecause + "; the library uses a profile baked from it";
        notes_.own.push_back(profile.name + (profile.embedded ? ": of its profile, " : ": ") + text);
    }
    if (ready.transform != nullptr && ready.exactWay == colour::Way::PixelByPixel) {
        notes_.own.push_back(profile.name + ": is converted pixel by pixel by Little CMS, which is slow, because " +
                             ready.transform->reason());
    }
    if (ready.outputProfile.empty() && !options_.noTag) {
        throw Refusal(Exit::Usage, options_.curveFile, "no profile can describe curves that fall",
                      "leave the profile out with --no-tag");
    }
    const colour::Rendering& rendering = options_.rendering;
    const bool mixed = !ready.exactWay && rendering.space->name == "kodak-mix" && !rendering.curves;
    if (ready.bits == 16 && mixed) Note("kodak-mix has 256 steps, also in files of 16 bits");
}

}  // namespace hueweave::tool
