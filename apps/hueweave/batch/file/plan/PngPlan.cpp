// SPDX-License-Identifier: MIT
#include "batch/file/plan/PngPlan.h"

#include <fmt/ranges.h>

#include <set>

#include "batch/file/notes/MetadataNotes.h"
#include "batch/file/plan/ProfileChoice.h"
#include "colour/DeviceTransform.h"
#include "colour/profile/Target.h"
#include "png/ChunkRules.h"
#include "png/PngRewriter.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostText = std::uint64_t{4} << 20;  ///< bytes; larger metadata are not searched

struct PlannedPng : PlannedImages {
    explicit PlannedPng(const FileAccess& file) : structure(file) {}

    std::uint64_t Pixels() const override {
        const PngHeader& header = structure.header();
        return job.converter == nullptr ? 0 : std::uint64_t{header.width} * header.height;
    }
    void Write(const FileAccess& target, const WriteSettings& settings, Measured& measured) const override {
        RewritePng(structure, job, target, settings, measured);
    }

    const PngStructure structure;
    PngJob job;
};

void NoteLosses(const ConvertOptions& options, const PngStructure& structure, const PngHeader& written,
                FileNotes& notes) {
    const PngHeader& header = structure.header();
    if (header.colours != written.colours) {
        notes.common.insert(fmt::format("grey pixels are written as RGB of {} bits", written.depth));
    } else if (header.depth != written.depth) {
        notes.common.insert(fmt::format("samples of {} bits are written with {} bits", header.depth, written.depth));
    }
    std::set<std::string> dropped;
    for (const PngChunk& chunk : structure.chunks()) {
        if (FateOf(chunk, structure.header(), true) == ChunkFate::Drop) dropped.insert(chunk.type);
        if (chunk.Data().size > kMostText) continue;
        if (chunk.type == "eXIf") NoteExif(options, ReadExif(structure.Data(chunk)), notes);
        if (chunk.type == "iTXt") NoteXmp(structure.Data(chunk), notes);
    }
    if (dropped.empty()) return;
    notes.common.insert(
        dropped.size() == 1
            ? fmt::format("chunk {} is left out, because it no longer applies", *dropped.begin())
            : fmt::format("chunks {} are left out, because they no longer apply", fmt::join(dropped, ", ")));
}

}  // namespace

std::shared_ptr<const DeviceProfile> EmbeddedIn(const PngStructure& structure) {
    const std::string& name = structure.file().name();
    if (structure.Find("iCCP") != nullptr) {
        return std::make_shared<const DeviceProfile>(TakeEmbedded(name, structure.Profile(), true));
    }
    if (structure.Find("sRGB") == nullptr) return nullptr;
    auto srgb = colour::MakeTargetProfile(*colour::FindSpace("srgb"), std::nullopt, 4);
    if (structure.header().IsGrey()) srgb = colour::MakeGreyProfile(srgb.value(), 0);
    return std::make_shared<const DeviceProfile>(TakeEmbedded(name, srgb.value(), true));
}

FilePlan PlanPng(const Session& session, const SourceFile& source) {
    auto images = std::make_unique<PlannedPng>(source.file);
    const PngStructure& structure = images->structure;
    CheckConvertible(structure);
    ProfileChoice choice(session, source.name);
    std::shared_ptr<const DeviceProfile> embedded;
    const auto read = [&] { return embedded = EmbeddedIn(structure); };
    const PngHeader& header = structure.header();
    const auto model = header.IsGrey() ? colour::ColourModel::Grey : colour::ColourModel::Rgb;
    if (header.IsGrey()) choice.RequireProfile(read, model, "grey");
    const ChosenConverter chosen = choice.For(read, header.depth == 16 ? 16 : 8, model);
    if (!chosen.isDone) {
        images->job.converter = &chosen.ready->converter;
        const PngHeader written = HeaderWritten(header, chosen.ready->converter.targetChannels());
        NoteLosses(session.options, structure, written, choice.notes());
    }
    images->job.icc = chosen.icc;
    FilePlan plan;
    plan.isConverted = choice.IsConverted(embedded.get(), chosen);
    plan.isCopy = chosen.Keeps();
    if (plan.isCopy) {
        plan.images = PlanCopy(source).images;
    } else {
        plan.images = std::move(images);
    }
    std::move(choice).Finish(plan);
    return plan;
}

}  // namespace hueweave::tool
