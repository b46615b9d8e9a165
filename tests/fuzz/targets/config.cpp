// SPDX-License-Identifier: MIT
// Any text as a settings file: every row that is read can be looked up, with at most 128 bytes of its value, and
// looking up changes nothing. The unit tests compare the rows with the text.
#include "FuzzInput.h"
#include "support/ConfigTXT.h"

namespace hueweave::fuzz {
namespace {

/// The copied text: up to 127 characters and the terminator, or 128 without one.
void CheckText(CONFIG::ConfigTXT& config, const std::string& section, const std::string& key, const char* value) {
    char out[130];
    std::memset(out, '#', sizeof out);
    Require(config.GetString(section.c_str(), key.c_str(), "other", out + 1) == 0, "result of a text");
    const std::size_t copied = std::min<std::size_t>(std::strlen(value) + 1, 128);
    Require(out[0] == '#' && std::memcmp(out + 1, value, copied) == 0, "a text");
    for (std::size_t i = copied + 1; i < sizeof out; ++i) Require(out[i] == '#', "nothing behind a text");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile file;
    file.Put(input.Rest());
    CONFIG::ConfigTXT config;
    {
        const PrintWatch printed;
        Require(config.Initial(file.Path()) == 0, "a file that opens");
    }
    const auto read = config.sections;
    for (const auto& [section, rows] : read) {
        for (const auto& [key, value] : rows) {
            if ((section + key).find('\0') != std::string::npos) continue;
            CheckText(config, section, key, value.c_str());
            config.GetInt(section.c_str(), key.c_str(), -7);
        }
    }
    Require(config.sections == read, "looking up what is there adds nothing");
    CheckText(config, "no such section", "key", "other");
    const auto before = config.sections;
    Require(config.Initial(kNoFile) == -1 && config.sections == before, "a file that is not there");
}

}  // namespace hueweave::fuzz
