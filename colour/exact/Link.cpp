// SPDX-License-Identifier: MIT
#include "colour/exact/Link.h"

#include <utility>

#include "colour/profile/Connection.h"

namespace hueweave::colour {
namespace {

/// Joins the stages between a source and a target, and converts the form of the connection where a stage needs the
/// other one.
class Linker {
public:
    explicit Linker(SourceStages&& source) : form_(source.connection), stages_(std::move(source.stages)) {}

    void Add(ConnectionForm needed, Stage stage) {
        Change(needed);
        stages_.Add(std::move(stage));
    }
    StageList Finish(const TargetStages& target) && {
        Change(target.connection);
        stages_.Add(target.stages);
        return std::move(stages_);
    }

private:
    void Change(ConnectionForm needed) {
        if (form_ == needed) return;
        stages_.Add(needed == ConnectionForm::Xyz ? Stage(CubeStage()) : Stage(RootStage()));
        form_ = needed;
    }

    ConnectionForm form_;
    StageList stages_;
};

}  // namespace

std::optional<Link> LinkProfiles(LcmsWork& work, const OpenProfile& source, const OpenProfile& target,
                                 const TransformOptions& options) {
    const int intent = static_cast<int>(options.intent);
    auto from = ReadSource(work, source, intent);
    const auto to = ReadTarget(work, target, intent);
    if (!from || !to) return std::nullopt;
    const DeviceCurves curves = from->curves;
    Linker linker(std::move(*from));
    if (options.Adjusts()) {
        linker.Add(ConnectionForm::Roots, AdjustStage{options.lightness, options.chroma, options.hue});
    }
    const Connection connection = Connect(work, source.handle, target.handle, options);
    if (connection != Connection()) {
        linker.Add(ConnectionForm::Xyz, AffineStage::Diagonal(connection.scale, connection.offset));
    }
    return Link{curves, to->curves, std::move(linker).Finish(*to)};
}

}  // namespace hueweave::colour
