// SPDX-License-Identifier: MIT
#include "batch/inputs/NameList.h"

#include <algorithm>
#include <climits>

namespace hueweave::tool {
namespace {

constexpr std::size_t kChunk = std::size_t{256} << 10;
static_assert(PATH_MAX < UINT16_MAX && PATH_MAX < kChunk);

}  // namespace

void NameList::Add(std::string_view source, std::size_t relativeAt, const std::string& refusal) {
    source = source.substr(0, UINT16_MAX);  // no system call accepts such a path, and the file is refused for it
    if (left_ < source.size()) {
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(kChunk));
        left_ = kChunk;
    }
    char* const text = blocks_.back().get() + (kChunk - left_);
    std::copy(source.begin(), source.end(), text);
    left_ -= source.size();
    names_.push_back({text, static_cast<std::uint16_t>(source.size()),
                      static_cast<std::uint16_t>(std::min(relativeAt, source.size()))});
    if (!refusal.empty()) refusals_[text] = refusal;
}

void NameList::SortFrom(std::size_t first) {
    std::sort(names_.begin() + static_cast<std::ptrdiff_t>(first), names_.end(),
              [](const Name& a, const Name& b) { return Text(a) < Text(b); });
}

std::string NameList::Refusal(std::size_t number) const {
    const auto found = refusals_.find(names_[number].text);
    return found == refusals_.end() ? "" : found->second;
}

}  // namespace hueweave::tool
