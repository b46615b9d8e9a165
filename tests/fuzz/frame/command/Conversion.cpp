// SPDX-License-Identifier: MIT
#include "Conversion.h"

#include <cstdio>
#include <filesystem>

#include "batch/file/FileJob.h"

namespace hueweave::fuzz {

using namespace tool;

Conversion::Conversion(const std::string& extension)
    : profile_(PlainProfile()), source_(folder_ / ("in" + extension)), output_(folder_ / ("out" + extension)) {
    options_.rendering.space = colour::FindSpace("srgb");
    options_.precision = Precision::Library;
    options_.source = SourceRule::Given;
    options_.acceptError = 100;  // the result is compared with an engine, whatever its colours are
    options_.quiet = true;
    target_ = MakeTarget(options_);
    cache_ = std::make_unique<ProfileCache>(options_, target_);
    for (const unsigned bits : {8U, 16U}) cache_->Get(profile_, bits);
}

const std::string& Conversion::PutSource(const Bytes& file) const {
    folder_.Clear();
    test::WriteFile(source_, file);
    return source_;
}

bool Conversion::Run(unsigned steering, const Bytes& file, bool dryRun) {
    PutSource(file);
    const std::ptrdiff_t descriptors = OpenFiles();
    options_.noTag = (steering & 3U) == 3;
    options_.dryRun = dryRun;
    options_.json = true;  // measures the pixels; the line itself is printed nowhere
    InputList list;
    list.items.push_back({source_, output_, "out", {}});
    list.single = true;
    const auto refusal = RefusalOf([&] {
        Report report(true, false);
        MadeFolders folders(false);
        SweptFolders swept;
        Session session{options_, list, report, target_, *cache_, folders, swept, nullptr, profile_};
        ConvertFile({session, list.items[0], (steering & 4U) != 0 ? 2U : 1U});
    });
    if (refusal && refusal->status() != Exit::Input) std::fprintf(stderr, "%s\n", refusal->what());
    Require(!refusal || refusal->status() == Exit::Input, "it is the file that is refused");
    Require(std::filesystem::exists(output_) == (!refusal && !dryRun), "there is an output unless it is refused");
    Require(folder_.Names().size() == (refusal || dryRun ? 1U : 2U), "nothing but the output is left");
    Require(test::ReadFile(source_) == file, "the source is as it was");
    Require(OpenFiles() == descriptors, "every file is closed");
    return !refusal && !dryRun;
}

Bytes Conversion::Output() const { return test::ReadFile(output_); }

}  // namespace hueweave::fuzz
