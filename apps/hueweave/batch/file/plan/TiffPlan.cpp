// SPDX-License-Identifier: MIT
#include "batch/file/plan/TiffPlan.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <span>
#include <utility>

#include "batch/file/notes/LossNotes.h"
#include "batch/file/plan/PageProfiles.h"
#include "batch/file/plan/ProfileChoice.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::tool {
namespace {

/// The pages of a TIFF file, and what is done with each.
struct PlannedPages : PlannedImages {
    explicit PlannedPages(const FileAccess& file) : structure(file), pages(ReadPages(structure)) {}

    std::uint64_t Pixels() const override {
        std::uint64_t pixels = 0;
        for (const TiffPage& page : pages) pixels += page.stays ? 0 : page.written.Pixels();
        return pixels;
    }
    void Write(const FileAccess& target, const WriteSettings& settings, Measured& measured) const override {
        RewriteTiff(structure, pages, jobs, target, settings, measured);
    }

    const TiffStructure structure;
    std::vector<TiffPage> pages;
    std::vector<PageJob> jobs;  ///< by page
};

class Planner {
public:
    Planner(const Session& session, const SourceFile& source)
        : options_(session.options),
          images_(std::make_unique<PlannedPages>(source.file)),
          profiles_(images_->structure, images_->pages),
          choice_(session, source.name),
          losses_(options_, images_->structure) {}

    FilePlan Plan() && {
        FilePlan plan;
        std::vector<PageJob>& jobs = images_->jobs;
        for (std::size_t p = 0; p < images_->pages.size(); ++p) {
            jobs.push_back(IsConverted(p) ? PlanPage(p) : PageJob());
        }
        RefuseUnlessAny();
        NoteCarried();
        plan.isConverted = IsConvertedAlready();
        plan.isCopy = std::all_of(jobs.begin(), jobs.end(), [](const PageJob& job) { return job.keeps; });
        plan.images = std::move(images_);
        std::move(choice_).Finish(plan);
        return plan;
    }

private:
    /// Whether a page is converted. Pages that are not RGB are carried over if there is no profile for them, and with
    /// the library's precision.
    bool IsConverted(std::size_t p) {
        TiffPage& page = images_->pages[p];
        const bool exact = options_.precision == Precision::Exact;
        if (!exact && page.IsConvertible() && page.kind.empty() && page.bits != page.written.bits) RefuseDepth(page);
        if (!page.IsConvertible() || page.kind.empty()) return page.IsConvertible();
        const bool isRgb = page.model == colour::ColourModel::Rgb;
        if (!exact || !(isRgb || choice_.HasProfile([&] { return profiles_.Of(p); }, page.model))) page.Carry();
        return page.IsConvertible();
    }

    [[noreturn]] void RefuseDepth(const TiffPage& page) const {
        const std::string where = page.label.empty() ? "" : page.label + " ";
        throw Refusal(Exit::Input, images_->structure.file().name(),
                      fmt::format("{}has {} bits per sample", where, page.bits), "leave --precision library out");
    }

    PageJob PlanPage(std::size_t p) {
        TiffPage& page = images_->pages[p];
        const ChosenConverter chosen = choice_.For([&] { return profiles_.Of(p); }, page.written.bits, page.model);
        page.written = FormWritten(page, chosen.ready->converter.targetChannels());
        if (chosen.isDone) {
            page.stays = true;
            return {chosen.Keeps(), nullptr, chosen.icc};
        }
        losses_.Look(page, choice_.notes());
        return {false, &chosen.ready->converter, chosen.icc};
    }

    /// Refuses a file of which no page is converted.
    void RefuseUnlessAny() const {
        const std::vector<TiffPage>& pages = images_->pages;
        if (std::any_of(pages.begin(), pages.end(), [](const TiffPage& page) { return page.IsConvertible(); })) return;
        const auto page = std::find_if(pages.begin(), pages.end(), [](const TiffPage& p) { return !p.kind.empty(); });
        const std::string where = page->label.empty() ? "" : page->label + " ";
        throw NotRgb(images_->structure.file().name(), where, page->kind, options_.precision);
    }

    /// Names the pages that stay as they are because they are not RGB. Masks have no colours.
    void NoteCarried() {
        std::map<std::string, std::vector<std::size_t>> byKind;
        for (std::size_t p = 0; p < images_->pages.size(); ++p) {
            const std::string& kind = images_->pages[p].other;
            if (!kind.empty() && kind != TiffPage::kMask) byKind[kind].push_back(p + 1);
        }
        for (const auto& [kind, pages] : byKind) {
            const bool one = pages.size() == 1;
            const std::span<const std::size_t> named(pages.data(), std::min(kMostNamed, pages.size()));
            std::string text = fmt::format("{} {}", one ? "page" : "pages", fmt::join(named, ", "));
            if (pages.size() > kMostNamed) text += fmt::format(" and {} more", pages.size() - kMostNamed);
            choice_.Note(
                fmt::format("{} {} {} and {} unchanged", text, one ? "is" : "are", kind, one ? "stays" : "stay"));
        }
    }

    bool IsConvertedAlready() const {
        if (!choice_.SkipsConverted()) return false;
        for (std::size_t p = 0; p < images_->pages.size(); ++p) {
            if (!images_->pages[p].IsConvertible()) continue;
            const DeviceProfile* embedded = profiles_.Known(p);
            if (embedded == nullptr || embedded->data != *images_->jobs[p].icc) return false;
        }
        return true;
    }

    static constexpr std::size_t kMostNamed = 8;  ///< pages in a note

    const ConvertOptions& options_;
    std::unique_ptr<PlannedPages> images_;
    PageProfiles profiles_;
    ProfileChoice choice_;
    LossNotes losses_;
};

}  // namespace

FilePlan PlanTiff(const Session& session, const SourceFile& source) { return Planner(session, source).Plan(); }

}  // namespace hueweave::tool
