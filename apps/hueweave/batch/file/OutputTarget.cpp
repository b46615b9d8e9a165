// SPDX-License-Identifier: MIT
#include "batch/file/OutputTarget.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "picture/Format.h"
#include "system/Refusal.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

void CheckStandardOutput() {
    if (IsClosed(STDOUT_FILENO)) RefuseStandardOutput(EBADF);
    if (::isatty(STDOUT_FILENO) == 0) return;
    throw Refusal(Exit::Output, "standard output", "is a terminal", "write to a file with -o, or into a pipe");
}

}  // namespace

OutputFile::Existing ExistingRule(const ConvertOptions& options) {
    return options.force || options.inPlace ? OutputFile::Existing::Replace : OutputFile::Existing::Keep;
}

void CheckOutputPath(const FileTask& task) {
    const ConvertOptions& options = task.session.options;
    const InputList& list = task.session.list;
    const Item& item = task.item;
    const std::string& path = item.output;
    if (path == "-") return CheckStandardOutput();
    struct stat target {};
    if (!options.inPlace && ::stat(path.c_str(), &target) == 0) {
        const FileIdentity identity = IdentityOf(target);
        const auto option = list.options.find(identity);
        const bool isOwnSource = item.source != "-" && IdentityOf(item.source) == identity;
        if (isOwnSource || std::binary_search(list.identities.begin(), list.identities.end(), identity)) {
            throw Refusal(Exit::Output, path, "is an input itself", "choose another name, or convert it --in-place");
        }
        if (option != list.options.end()) {
            throw Refusal(Exit::Output, path, "is the file given as " + option->second, "choose another name");
        }
    }
    CheckTarget(path, ExistingRule(options));
}

void CheckOutputFormat(const FileTask& task, const FileAccess& source) {
    const std::string& path = task.item.output;
    const bool isNamed = task.session.list.folder.empty() || task.item.source == "-";
    if (!isNamed || task.session.options.inPlace) return;
    const auto& asked = task.session.options.format;
    const Format format = asked.value_or(FormatOf(source)), named = FormatOfName(path);
    if (named == Format::Unknown || named == format) return;
    const std::string otherwise = fmt::format("give it a name with {}, or ", FormatExtension(format));
    throw Refusal(Exit::Usage, path,
                  fmt::format("is the name of a {} file, but the output is a {} file{}", FormatName(named),
                              FormatName(format), asked ? "" : ", as its input"),
                  otherwise + (asked ? "" : "add ") + fmt::format("--format {}", FormatWord(named)));
}

void CheckOutputFolder(const FileTask& task) {
    const std::string& path = task.item.output;
    if (path == "-") return;
    std::error_code ignored;
    const std::string folder = FolderOf(path);
    if (!task.session.list.folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
        MadeFolders::Check(folder);
    } else {
        CheckFolderOf(path, ExistingRule(task.session.options));
    }
}

}  // namespace hueweave::tool
