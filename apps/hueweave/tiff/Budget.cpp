// SPDX-License-Identifier: MIT
#include "tiff/Budget.h"

#include <algorithm>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr const char* kWholeCopy = "get a complete copy of the file";
constexpr const char* kFewerPages = "split it into files of fewer pages, for example with tiffsplit";

}  // namespace

void Budget::Refuse(const std::string& reason, const std::string& remedy) const {
    throw Refusal(Exit::Input, name_, reason, remedy);
}

void Budget::AddDirectory(std::uint64_t entries) {
    if (++directories_ > limit::kDirectories) {
        Refuse("has more than " + std::to_string(limit::kDirectories) + " directories", kFewerPages);
    }
    entries_ += entries;
    if (entries_ > limit::kEntries) {
        Refuse("has more than " + std::to_string(limit::kEntries) + " entries in its directories", kFewerPages);
    }
}

void Budget::AddRead(std::uint64_t bytes) {
    read_ += bytes;
    // Division avoids overflow: a sparse file can have any size.
    if ((read_ + limit::kReadTimes - 1) / limit::kReadTimes > fileSize_ + limit::kReadMore / limit::kReadTimes) {
        Refuse("has too many entries that share their values", kWholeCopy);
    }
}

void Budget::AddSegments(std::uint64_t count, std::uint64_t decoded) {
    if (count > limit::kSegments - segments_) {
        Refuse("has more than " + std::to_string(limit::kSegments) + " strips or tiles",
               "rewrite it with larger ones, for example with tiffcp -t -w 512 -l 512");
    }
    segments_ += count;
    if (count != 0 && decoded > (limit::kImageBytes - decoded_) / count) {
        Refuse("declares more pixels than any file can hold", kWholeCopy);
    }
    decoded_ += count * decoded;
}

void Budget::AddEncoded(std::uint64_t bytes) {
    const std::uint64_t most = fileSize_ + 2 * decoded_ + limit::kImageMore;
    encoded_ += std::min(bytes, most);
    if (encoded_ > most) Refuse("has strips or tiles that share far more data than their pixels need", kWholeCopy);
}

}  // namespace hueweave::tool
