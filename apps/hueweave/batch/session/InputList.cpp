// SPDX-License-Identifier: MIT
#include "batch/session/InputList.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <filesystem>

#include "batch/session/FolderEntry.h"
#include "batch/session/LineReader.h"
#include "batch/session/OutputFolder.h"
#include "system/Refusal.h"
#include "system/StandardStreams.h"
#include "system/files/FolderNames.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

struct Found {
    std::string source, relative;
    std::string problem;  ///< why it is refused; empty if it is not
};

/// Finds the pictures below a folder, sorted by path, except hidden files and folders. Symbolic links are counted but
/// not followed, unless --follow is given. Each folder is searched once. A folder that cannot be read is listed with
/// the reason, so that it is reported.
class FolderWalk {
public:
    /// The output folder is not searched: it contains the outputs.
    FolderWalk(std::string top, const ConvertOptions& options)
        : top_(std::move(top)),
          options_(options),
          leftOut_(IdentityOf(options.output)),
          canonicalTop_(Canonical(top_)) {}

    std::vector<Found> Run() {
        Enter(top_);
        std::sort(found_.begin(), found_.end(), [](const Found& a, const Found& b) { return a.source < b.source; });
        if (found_.empty()) {
            throw Refusal(
                Exit::Input, top_, "contains no TIFF, PNG or JPEG files",
                links_ > 0 ? "follow its symbolic links with --follow, or name another folder" : "name another folder");
        }
        return std::move(found_);
    }
    /// The number of symbolic links that were not followed.
    std::size_t links() const { return links_; }

private:
    static fs::path Canonical(const fs::path& path) {
        std::error_code ignored;
        return fs::weakly_canonical(path, ignored);
    }
    void Enter(const fs::path& folder) {
        const std::optional<FileIdentity> identity = IdentityOf(folder.native());
        if (identity && !entered_.insert(*identity).second) return;
        if (identity && folder != top_ && identity == leftOut_) return;
        int problem = 0;
        for (const std::string& name : NamesInFolder(folder.string(), problem)) {
            const fs::path path = folder / name;
            switch (EntryAt(path, options_.follow)) {
                case FolderEntry::None:
                    break;
                case FolderEntry::Link:
                    ++links_;
                    break;
                case FolderEntry::Folder:
                    Enter(path);
                    break;
                case FolderEntry::File:
                    Add(path,
                        LeavesTop(path) ? "is outside of " + top_ + ", reached through a link; name it itself" : "");
                    break;
            }
        }
        if (problem != 0) Add(folder, "cannot be read (" + ErrorText(problem) + "); check its permissions");
    }
    /// Whether a conversion in place would write outside of the folder that was named.
    bool LeavesTop(const fs::path& path) const {
        if (!options_.inPlace || !options_.follow) return false;
        const fs::path relative = Canonical(path).lexically_relative(canonicalTop_);
        return relative.empty() || *relative.begin() == "..";
    }
    void Add(const fs::path& path, const std::string& problem) {
        found_.push_back({path.string(), path.lexically_relative(top_).string(), problem});
    }

    std::string top_;
    const ConvertOptions& options_;
    std::optional<FileIdentity> leftOut_;
    fs::path canonicalTop_;
    std::size_t links_ = 0;
    std::set<FileIdentity> entered_;
    std::vector<Found> found_;
};

std::vector<std::string> ReadNames(const std::string& path, bool nul) {
    const FileAccess file = path == "-" ? FileAccess() : LineReader::Open(path);
    const int descriptor = path == "-" ? STDIN_FILENO : file.descriptor();
    LineReader lines(descriptor, nul ? '\0' : '\n', PATH_MAX);
    std::vector<std::string> names;
    std::string name;
    while (descriptor >= 0 && lines.Next(name)) {
        if (name.size() > PATH_MAX) {
            throw Refusal(Exit::Usage, path, "contains a name that is too long for a file",
                          nul ? "end each name with a zero byte" : "give one name a line");
        }
        if (!nul && name.ends_with('\r')) name.pop_back();  // line ends of CR LF
        if (!name.empty()) names.push_back(name);
    }
    if (path == "-" && lines.error() != 0) RefuseStandardInput(lines.error());
    if (descriptor < 0 || lines.error() != 0) {
        throw Refusal(Exit::Usage, path, "cannot be read", "give a list of file names");
    }
    if (names.empty()) throw Refusal(Exit::Input, path, "names no files", "give a list of file names");
    return names;
}

/// The name of an output: with --format, the end of a picture's name follows the format.
std::string NameInFormat(const std::string& relative, const ConvertOptions& options) {
    if (!options.format || FormatOfName(relative) == *options.format) return relative;
    const bool isPicture = FormatOfName(relative) != Format::Unknown;
    return (isPicture ? relative.substr(0, relative.rfind('.')) : relative) +
           std::string(FormatExtension(*options.format));
}

/// The canonical path of a file, which is equal for all paths that lead to it.
std::string OnePath(const std::string& path) {
    std::error_code error;
    const fs::path one = fs::weakly_canonical(path, error);
    return error ? fs::path(path).lexically_normal().string() : one.string();
}

void NoteCollisions(std::vector<Item>& items, bool inPlace) {
    std::map<std::string, std::string> taken;
    for (Item& item : items) {
        if (!item.refusal.empty() || item.output == "-") continue;
        const auto [other, fresh] = taken.emplace(OnePath(item.output), item.source);
        if (fresh) continue;
        item.refusal = inPlace
                           ? "is the same file as " + other->second + "; convert it once"
                           : "would be written to " + item.output + ", as " + other->second + "; rename one of them";
    }
}

}  // namespace

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

std::uint64_t StableHash(const std::string& path) {
    std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a, with the high bits folded in
    for (const char c : path) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return hash ^ hash >> 32;
}

InputList ListInputs(const ConvertOptions& options) {
    std::vector<std::string> names = options.inputs;
    if (options.filesFrom) {
        const auto more = ReadNames(*options.filesFrom, options.nul);
        names.insert(names.end(), more.begin(), more.end());
    }
    std::error_code ignored;
    InputList list;
    std::vector<Found> found;
    const auto isFolder = [&](const std::string& name) { return name != "-" && fs::is_directory(name, ignored); };
    list.single = names.size() == 1 && !isFolder(names.front()) && !options.filesFrom;
    list.folder = OutputFolder(options, list.single);
    for (const std::string& name : names) {
        if (isFolder(name)) {
            FolderWalk walk(name, options);
            const std::vector<Found> below = walk.Run();
            list.links += walk.links();
            for (const Found& file : below) {
                if (file.problem.empty()) list.searched.insert(FolderOf(file.source));
            }
            found.insert(found.end(), below.begin(), below.end());
        } else {
            const std::string base = name == "-" ? "stdin.tif" : fs::path(name).filename().string();
            found.push_back({name, base, ""});
        }
    }
    if (options.resume && list.folder.empty()) {
        throw Refusal(Exit::Usage, "", "--resume wants an output folder", "give one with -o");
    }
    list.options = FilesOfOptions(options);
    for (const Found& file : found) {
        if (options.inPlace && file.source == "-") {
            throw Refusal(Exit::Usage, "", "--in-place takes no standard input", "write it with -o");
        }
        const auto identity = file.source == "-" ? std::nullopt : IdentityOf(file.source);
        if (identity) list.identities.insert(*identity);
        if (options.shard && StableHash(file.relative) % options.shard->parts != options.shard->part - 1) continue;
        const std::string relative = NameInFormat(file.relative, options);
        const std::string output = options.inPlace        ? file.source
                                   : !list.folder.empty() ? (fs::path(list.folder) / relative).string()
                                                          : options.output;
        list.items.push_back({file.source, output, relative, file.problem});
    }
    NoteCollisions(list.items, options.inPlace);
    return list;
}

}  // namespace hueweave::tool
