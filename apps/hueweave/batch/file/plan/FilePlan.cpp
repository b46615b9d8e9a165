// SPDX-License-Identifier: MIT
#include "batch/file/plan/FilePlan.h"

#include "batch/file/plan/FormatPlan.h"
#include "batch/file/plan/JpegPlan.h"
#include "batch/file/plan/PngPlan.h"
#include "batch/file/plan/TiffPlan.h"
#include "picture/Format.h"
#include "system/Refusal.h"
#include "system/files/FileKind.h"

namespace hueweave::tool {
namespace {

class CopiedFile : public PlannedImages {
public:
    explicit CopiedFile(const FileAccess& source) : source_(source) {}
    std::uint64_t Pixels() const override { return 0; }
    void Write(const FileAccess& target, const WriteSettings&, Measured&) const override {
        CopyRange(source_, {0, source_.Size()}, target, 0);
        target.Resize(source_.Size());
    }

private:
    const FileAccess& source_;
};

}  // namespace

FilePlan PlanFile(const Session& session, const SourceFile& source) {
    const Format format = FormatOf(source.file);
    const Format wanted = session.options.format.value_or(format);
    if (format != Format::Unknown && format != wanted) return PlanOtherFormat(session, source);
    switch (format) {
        case Format::Tiff:
            return PlanTiff(session, source);
        case Format::Png:
            return PlanPng(session, source);
        case Format::Jpeg:
            return PlanJpeg(session, source);
        default:
            throw Refusal(Exit::Input, source.name, NotA("a TIFF, PNG or JPEG file", source.file), "give one of these");
    }
}

FilePlan PlanCopy(const SourceFile& source) {
    FilePlan plan;
    plan.images = std::make_unique<const CopiedFile>(source.file);
    plan.isCopy = true;
    return plan;
}

}  // namespace hueweave::tool
