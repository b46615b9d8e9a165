// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace hueweave::tool {

/// The paths of very many files. A path takes its bytes and 17 more, in large blocks of memory.
class NameList {
public:
    /// Adds a path of at most `PATH_MAX` bytes. From `relativeAt` on it is the path of the output below its folder.
    /// `refusal` is why the file is refused without being opened; empty if it is not.
    void Add(std::string_view source, std::size_t relativeAt, const std::string& refusal = {});
    /// Sorts the paths from number `first` on.
    void SortFrom(std::size_t first);
    void Refuse(std::size_t number, const std::string& refusal) { refusals_[names_[number].text] = refusal; }

    std::size_t size() const { return names_.size(); }
    bool empty() const { return names_.empty(); }
    std::string_view Source(std::size_t number) const { return Text(names_[number]); }
    std::string_view Relative(std::size_t number) const { return Source(number).substr(names_[number].relativeAt); }
    std::string Refusal(std::size_t number) const;

private:
    struct Name {
        const char* text;  ///< in a block
        std::uint16_t size, relativeAt;
    };
    static std::string_view Text(const Name& name) { return {name.text, name.size}; }

    std::vector<std::unique_ptr<char[]>> blocks_;
    std::size_t left_ = 0;  ///< bytes of the last block that are free
    std::vector<Name> names_;
    std::map<const char*, std::string> refusals_;  ///< of a few names
};

}  // namespace hueweave::tool
