// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The subcommand "bake".
#include <fmt/format.h>

#include <cstdio>

#include "cli/AllowedPaths.h"
#include "cli/Commands.h"
#include "colour/Bake.h"
#include "system/OutputFile.h"
#include "system/StandardStreams.h"
#include "system/TemporaryFiles.h"

namespace hueweave::tool {

Exit BakeCommand(const BakeArguments& arguments) {
    if (arguments.sandbox) EnterSandbox(PathsOf(arguments));
    const auto existing = arguments.force ? OutputFile::Existing::Replace : OutputFile::Existing::Keep;
    const DeviceProfile profile = LoadProfile(arguments.profile);
    struct stat from {
    }, to{};
    if (::stat(arguments.profile.c_str(), &from) == 0 && ::stat(arguments.output.c_str(), &to) == 0 &&
        from.st_dev == to.st_dev && from.st_ino == to.st_ino) {
        throw Refusal(Exit::Output, arguments.output, "is the input itself", "choose another name");
    }
    CheckTarget(arguments.output, existing);
    const BakedProfile baked = BakeProfile(profile);
    OutputFile output(arguments.output, existing);
    SweptFolders().Sweep(output.folder());
    output.file().Write(0, baked.data);
    output.Finish();
    // Made before the file has its name: what may fail, fails before.
    const std::string line =
        fmt::format("{} -> {} (33 points in steps of {}; CIEDE2000 {:.2f} on average, 95 % within {:.2f})",
                    OneLine(arguments.profile), OneLine(arguments.output), baked.spacing, baked.mean, baked.p95);
    output.Commit();
    if (!arguments.quiet) PrintError(line);
    return Exit::Done;
}

}  // namespace hueweave::tool
