// SPDX-License-Identifier: MIT
#include "colour/api/Failure.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace hueweave::colour {
namespace {

constexpr std::size_t kLongestName = 480;

struct Entry {
    hw_status status;
    const char *name, *message;
};
constexpr Entry kEntries[] = {
    {HW_OK, "ok", "There is no failure."},
    {HW_ERROR_ARGUMENT, "argument", "A pointer is null, or a profile is not given in exactly one way."},
    {HW_ERROR_OPTIONS, "options", "An option is unknown, is out of range or cannot be combined with another one."},
    {HW_ERROR_FILE, "file", "A profile cannot be read; check the file and its permissions."},
    {HW_ERROR_PROFILE, "profile", "A profile cannot be used; give the profile of an RGB device or space."},
    {HW_ERROR_SPACE, "space", "There is no colour space of this name; hw_space_name() gives the names."},
    {HW_ERROR_PRECISION, "precision", "The library's precision does not support this; use the exact precision."},
    {HW_ERROR_CURVES, "curves", "No profile can describe curves that fall; use the library's precision."},
    {HW_ERROR_LAYOUT, "layout", "A size, a stride or the number of channels is out of range."},
    {HW_ERROR_OVERLAP, "overlap", "The source and the destination overlap; give the same memory, or separate memory."},
    {HW_ERROR_MEMORY, "memory", "There is not enough memory."},
    {HW_ERROR_INTERNAL, "internal", "The library has a fault; please report it."},
};

const Entry* Find(std::int32_t status) {
    const auto* found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                     [&](const Entry& entry) { return entry.status == status; });
    return found == std::end(kEntries) ? nullptr : found;
}

/// Copies as much as fits in front of a zero byte. The rest of the field becomes 0.
void Fill(std::span<char> field, std::string_view text) {
    const std::size_t length = std::min(text.size(), field.size() - 1);
    std::memset(field.data(), 0, field.size());
    std::memcpy(field.data(), text.data(), length);
}

/// The end of a long name, from the beginning of a UTF-8 character.
std::string Shortened(std::string_view name) {
    if (name.size() <= kLongestName) return std::string(name);
    std::size_t from = name.size() - kLongestName;
    while (from < name.size() && (static_cast<unsigned char>(name[from]) & 0xc0) == 0x80) ++from;
    return "..." + std::string(name.substr(from));
}

}  // namespace

void Fail(hw_status status, std::string_view name, std::string_view reason, std::string_view remedy) {
    std::string message = Shortened(name);
    message.append(": ").append(reason).append("; ").append(remedy);
    throw Failure{status, std::move(message)};
}

const char* StatusName(std::int32_t status) {
    const Entry* const entry = Find(status);
    return entry != nullptr ? entry->name : "unknown";
}

const char* StatusMessage(std::int32_t status) {
    const Entry* const entry = Find(status);
    return entry != nullptr ? entry->message : "There is no such status.";
}

std::int32_t Report(hw_error* error, hw_status status, std::string_view message) noexcept {
    if (error != nullptr) {
        error->status = status;
        Fill(error->name, StatusName(status));
        Fill(error->message, message);
    }
    return status;
}

}  // namespace hueweave::colour
