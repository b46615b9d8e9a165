// SPDX-License-Identifier: MIT
#include "batch/file/plan/JpegPlan.h"

#include <algorithm>
#include <string_view>

#include "batch/file/notes/MetadataNotes.h"
#include "batch/file/plan/ProfileChoice.h"
#include "jpeg/FurtherImages.h"
#include "jpeg/JpegRewriter.h"

namespace hueweave::tool {
namespace {

struct PlannedJpeg : PlannedImages {
    explicit PlannedJpeg(const FileAccess& file) : structure(file) {}

    std::uint64_t Pixels() const override {
        const JpegFrame& frame = structure.frame();
        return job.converter == nullptr ? 0 : std::uint64_t{frame.width} * frame.height;
    }
    void Write(const FileAccess& target, const WriteSettings& settings, Measured& measured) const override {
        RewriteJpeg(structure, job, target, settings, measured);
    }

    const JpegStructure structure;
    JpegJob job;
};

bool Contains(const Bytes& data, std::string_view wanted) {
    return std::search(data.begin(), data.end(), wanted.begin(), wanted.end(),
                       [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); }) != data.end();
}

/// Metadata that stay although they describe the old colours.
void NoteMetadata(const ConvertOptions& options, const JpegStructure& structure, FileNotes& notes) {
    using namespace jpeg_marker;
    for (const JpegSegment& segment : structure.segments()) {
        if (segment.marker == kApp1 && structure.Begins(segment, kExifStart)) {
            const Bytes data = structure.Data(segment);
            NoteExif(options, ReadExif(std::span(data).subspan(kExifStart.size())), notes);
        } else if (segment.marker == kApp1) {
            NoteXmp(structure.Data(segment), notes);
        } else if (segment.marker == kApp0 && structure.Begins(segment, {"JFXX\0", 5})) {
            notes.common.insert("JFIF thumbnail stays in the old colours");
        } else if (segment.marker == kApp13 && Contains(structure.Data(segment), {"8BIM\x04\x0c", 6})) {
            notes.common.insert("thumbnail of Photoshop (resource 1036) stays in the old colours");
        }
    }
}

/// What the conversion changes beside the colours.
void NoteCoding(const JpegStructure& structure, unsigned samples, FileNotes& notes) {
    const bool isSame = samples == structure.frame().components.size();
    if (!isSame) notes.common.insert(KindOf(structure.frame()) + " pixels are written as RGB of 8 bits");
    notes.common.insert(isSame ? "JPEG data are compressed once more, with the same settings"
                               : "JPEG data are compressed once more, with the settings that apply to RGB as well");
}

}  // namespace

std::shared_ptr<const DeviceProfile> EmbeddedIn(const JpegStructure& structure) {
    Bytes profile = structure.Profile();
    if (profile.empty()) return nullptr;
    return std::make_shared<const DeviceProfile>(TakeEmbedded(structure.file().name(), std::move(profile), true));
}

colour::ColourModel ModelOf(const JpegFrame& frame) {
    const std::size_t samples = frame.components.size();
    return samples == 1   ? colour::ColourModel::Grey
           : samples == 4 ? colour::ColourModel::Cmyk
                          : colour::ColourModel::Rgb;
}

std::string KindOf(const JpegFrame& frame) {
    const std::size_t samples = frame.components.size();
    return samples == 1 ? "grey" : samples == 4 ? "CMYK" : "RGB";
}

FilePlan PlanJpeg(const Session& session, const SourceFile& source) {
    auto images = std::make_unique<PlannedJpeg>(source.file);
    const JpegStructure& structure = images->structure;
    CheckConvertible(structure);
    ProfileChoice choice(session, source.name);
    std::shared_ptr<const DeviceProfile> embedded;
    const auto read = [&] { return embedded = EmbeddedIn(structure); };
    const colour::ColourModel model = ModelOf(structure.frame());
    if (model != colour::ColourModel::Rgb) choice.RequireProfile(read, model, KindOf(structure.frame()));
    const ChosenConverter chosen = choice.For(read, 8, model);
    images->job.icc = chosen.icc;
    if (!chosen.isDone) {
        images->job.converter = &chosen.ready->converter;
        NoteMetadata(session.options, structure, choice.notes());
        NoteCoding(structure, chosen.ready->converter.targetChannels(), choice.notes());
    }
    FilePlan plan;
    plan.isConverted = choice.IsConverted(embedded.get(), chosen);
    plan.isCopy = chosen.Keeps();
    if (plan.isCopy) {
        plan.images = PlanCopy(source).images;
    } else {
        if (HasFurtherImages(structure)) choice.Note("the images after its first one (MPF) are left out");
        plan.images = std::move(images);
    }
    std::move(choice).Finish(plan);
    return plan;
}

}  // namespace hueweave::tool
