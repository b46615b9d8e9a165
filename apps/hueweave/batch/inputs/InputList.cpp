// SPDX-License-Identifier: MIT
#include "batch/inputs/InputList.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <functional>

#include "batch/inputs/Collisions.h"
#include "batch/inputs/FolderWalk.h"
#include "batch/inputs/OutputFolder.h"
#include "picture/Format.h"
#include "system/Refusal.h"
#include "system/StableHash.h"
#include "system/StandardStreams.h"
#include "system/files/LineReader.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStdin = "stdin.tif";  ///< the output of standard input

bool IsFolder(const std::string& name) {
    std::error_code ignored;
    return name != "-" && fs::is_directory(name, ignored);
}

/// Calls `take` with each name in the list that the options name.
void ReadNames(const ConvertOptions& options, const std::function<void(const std::string& name)>& take) {
    const std::string& path = *options.filesFrom;
    const FileAccess file = path == "-" ? FileAccess() : LineReader::Open(path);
    const int descriptor = path == "-" ? STDIN_FILENO : file.descriptor();
    LineReader lines(descriptor, options.nul ? '\0' : '\n', PATH_MAX);
    bool any = false;
    std::string name;
    while (descriptor >= 0 && lines.Next(name)) {
        if (name.size() > PATH_MAX) {
            throw Refusal(Exit::Usage, path, "contains a name that is too long for a file",
                          options.nul ? "end each name with a zero byte" : "give one name a line");
        }
        if (!options.nul && name.ends_with('\r')) name.pop_back();  // line ends of CR LF
        if (name.empty()) continue;
        any = true;
        take(name);
    }
    if (path == "-" && lines.error() != 0) RefuseStandardInput(lines.error());
    if (descriptor < 0 || lines.error() != 0) {
        throw Refusal(Exit::Usage, path, "cannot be read", "give a list of file names");
    }
    if (!any) throw Refusal(Exit::Input, path, "names no files", "give a list of file names");
}

/// The name of an output: with --format, the extension of a picture's name is that of the format.
std::string NameInFormat(std::string_view relative, const std::optional<Format>& format) {
    const Format named = FormatOfName(relative);
    if (!format || named == *format) return std::string(relative);
    if (named != Format::Unknown) relative = relative.substr(0, relative.rfind('.'));
    return std::string(relative).append(FormatExtension(*format));
}

/// The position in a path after "./" and further slashes at a position, which have no effect.
std::size_t PastDots(std::string_view path, std::size_t at) {
    for (;; ++at) {
        const std::string_view rest = path.substr(at);
        if (!rest.starts_with("./") && (at == 0 || !rest.starts_with('/'))) return at;
    }
}

/// What paths below a folder begin with: "" for the current one.
std::string PrefixOf(std::string_view folder) {
    const bool isAbsolute = folder.starts_with('/');
    folder.remove_prefix(PastDots(folder, 0));
    while (folder.ends_with('/')) folder.remove_suffix(1);
    if (folder == "." || (folder.empty() && !isAbsolute)) return "";
    return std::string(folder) + "/";
}

/// Adds the inputs of a run to its list.
class Lister {
public:
    Lister(const ConvertOptions& options, InputList& list)
        : options_(options), list_(list), prefix_(PrefixOf(options.base)) {}

    /// A file or folder of the command line.
    void AddInput(const std::string& name) { IsFolder(name) ? AddFolder(name) : AddFile(name); }
    /// A name from a list. One that ends like a picture is a file; asking the file system would take longer than
    /// everything else.
    void AddListed(const std::string& name) {
        FormatOfName(name) == Format::Unknown&& IsFolder(name) ? AddFolder(name) : AddBelowBase(name);
    }
    void Finish() { std::sort(list_.identities.begin(), list_.identities.end()); }

private:
    void AddFolder(const std::string& name) {
        const std::size_t first = list_.size();
        FolderWalk walk(name, options_,
                        [this](const std::string& path, std::size_t relativeAt, const std::string& problem) {
                            Add(path, relativeAt, problem);
                        });
        walk.Run();
        list_.links += walk.links();
        list_.searched.insert(walk.searched().begin(), walk.searched().end());
        list_.names.SortFrom(first);
    }
    void AddFile(const std::string& name) { Add(name, name.rfind('/') + 1, ""); }
    void AddBelowBase(const std::string& name) {
        if (options_.base.empty()) return AddFile(name);
        const std::size_t begin = PastDots(name, 0), end = begin + prefix_.size();
        const bool isBelow =
            std::string_view(name).substr(begin).starts_with(prefix_) && (!prefix_.empty() || !name.starts_with('/'));
        const bool leaves = ("/" + name + "/").find("/../", end) != std::string::npos;
        if (isBelow && !leaves) return Add(name, PastDots(name, end), "");
        Add(name, name.rfind('/') + 1, "is not below " + options_.base + ", which --base names");
    }
    void Add(const std::string& path, std::size_t relativeAt, const std::string& problem) {
        if (options_.inPlace && path == "-") {
            throw Refusal(Exit::Usage, "", "--in-place does not accept standard input", "write it with -o");
        }
        if (options_.force && path != "-") {
            if (const auto identity = IdentityOf(path)) list_.identities.push_back(*identity);
        }
        const std::string_view relative =
            path == "-" ? kStdin : std::string_view(path).substr(std::min(relativeAt, path.size()));
        if (options_.shard && StableHash(relative) % options_.shard->parts != options_.shard->part - 1) return;
        list_.names.Add(path, relativeAt, problem);
    }

    const ConvertOptions& options_;
    InputList& list_;
    std::string prefix_;  ///< of the names below the base
};

}  // namespace

std::string InputList::OutputAt(std::size_t number) const {
    const std::string_view source = names.Source(number);
    if (folder.empty()) return file.empty() ? std::string(source) : file;
    std::string output = folder.ends_with('/') ? folder : folder + "/";
    return output += RelativeAt(number);
}

std::string InputList::RelativeAt(std::size_t number) const {
    return NameInFormat(names.Source(number) == "-" ? kStdin : names.Relative(number), format);
}

Item InputList::At(std::size_t number) const {
    return {std::string(names.Source(number)), OutputAt(number), RelativeAt(number), names.Refusal(number)};
}

std::map<FileIdentity, std::string> FilesOfOptions(const ConvertOptions& options) {
    std::map<FileIdentity, std::string> files;
    for (const auto& [option, path] :
         {std::pair{"--profile", options.profile.value_or("")}, std::pair{"--to", options.targetFile},
          std::pair{"--curve", options.curveFile}, std::pair{"--files-from", options.filesFrom.value_or("")}}) {
        const auto identity = path == "-" ? std::nullopt : IdentityOf(path);
        if (identity) files.emplace(*identity, option);
    }
    return files;
}

InputList ListInputs(const ConvertOptions& options) {
    InputList list;
    list.single = options.inputs.size() == 1 && !IsFolder(options.inputs.front()) && !options.filesFrom;
    list.folder = OutputFolder(options, list.single);
    if (list.folder.empty() && !options.inPlace) list.file = options.output;
    list.format = options.format;
    list.options = FilesOfOptions(options);
    Lister lister(options, list);
    for (const std::string& name : options.inputs) lister.AddInput(name);
    if (options.filesFrom) {
        ReadNames(options, [&](const std::string& name) {
            if (options.filesFrom == "-") list.listed += StableHash(name);
            lister.AddListed(name);
        });
    }
    lister.Finish();
    if (options.resume != Resume::No && list.folder.empty()) {
        throw Refusal(Exit::Usage, "", "--resume needs an output folder", "give one with -o");
    }
    RefuseCollisions(list, options.force || options.inPlace);
    return list;
}

}  // namespace hueweave::tool
