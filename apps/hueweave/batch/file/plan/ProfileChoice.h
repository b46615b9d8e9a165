// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "batch/file/plan/FilePlan.h"
#include "batch/session/Session.h"
#include "system/Refusal.h"

namespace hueweave::tool {

/// How one image is converted.
struct ChosenConverter {
    std::shared_ptr<const ReadyConverter> ready;
    bool isEmbedded = false;  ///< the profile is that of the image itself
    bool isDone = false;      ///< the image is in the output's colours already, so that no sample changes

    /// The profile to embed; its bytes belong to the converter. Null with --no-tag.
    std::shared_ptr<const Bytes> icc;
    /// Whether neither the samples nor the embedded profile change.
    bool Keeps() const { return isDone && isEmbedded && icc != nullptr; }
};

/// The refusal of a file that is to be converted by its embedded profile, and has none.
Refusal NoProfile(const std::string& name);

/// The refusal of a file whose pixels, such as "grey", are not RGB, and have no profile or cannot be converted by the
/// library. `where` is the page, or empty.
Refusal NotRgb(const std::string& name, const std::string& where, const std::string& kind, Precision precision);

/// Chooses between the given and the embedded profile for the images of one file, and collects the notes about it.
class ProfileChoice {
public:
    /// Returns an embedded profile, or null. Throws the refusal of an invalid one.
    using Embedded = std::function<std::shared_ptr<const DeviceProfile>()>;

    /// Borrows the session. `name` is the file, for messages.
    ProfileChoice(const Session& session, std::string name)
        : session_(session), options_(session.options), name_(std::move(name)) {}

    /// Whether the image embeds a profile for its colours, or one is given.
    bool HasProfile(const Embedded& embedded, colour::ColourModel model) const;
    /// Refuses a file of one image whose pixels, of this kind, are not RGB, unless there is a profile for them.
    void RequireProfile(const Embedded& embedded, colour::ColourModel model, const std::string& kind) const;
    /// The converter for an image of 8 or 16 bits per sample. Refuses the file if none can be chosen.
    ChosenConverter For(const Embedded& embedded, unsigned bits, colour::ColourModel model = colour::ColourModel::Rgb);

    /// Whether files that embed exactly the profile that they would get are taken as converted by an earlier run: with
    /// the library's precision and --in-place, unless an option asks for more.
    bool SkipsConverted() const;
    /// The same, for the only image of a file.
    bool IsConverted(const DeviceProfile* embedded, const ChosenConverter& chosen) const {
        return SkipsConverted() && embedded != nullptr && embedded->data == *chosen.icc;
    }

    /// Sets the parts of a plan that do not depend on the format.
    void Finish(FilePlan& plan) &&;
    void Note(const std::string& text) { notes_.own.push_back(name_ + ": " + text); }
    FileNotes& notes() { return notes_; }

private:
    std::shared_ptr<const DeviceProfile> Read(const Embedded& embedded, colour::ColourModel model);
    /// The given profile if it is for these colours, or null.
    const DeviceProfile* GivenFor(colour::ColourModel model) const;
    const DeviceProfile& Choose(const DeviceProfile* embedded, unsigned bits, colour::ColourModel model);
    bool IsInTarget(const DeviceProfile& embedded, unsigned bits);
    std::shared_ptr<const ReadyConverter> ConverterFor(const DeviceProfile& profile, unsigned bits);
    void NoteConversion(const DeviceProfile& profile, const ReadyConverter& ready);

    const Session& session_;
    const ConvertOptions& options_;
    std::string name_;
    std::vector<std::shared_ptr<const ReadyConverter>> converters_;
    std::string profileName_;
    FileNotes notes_;
};

}  // namespace hueweave::tool
