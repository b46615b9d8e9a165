// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace hueweave::tool {

/// Refuses arguments that cannot be parsed, in plain words: "unknown option --forse; did you mean --force?".
[[noreturn]] void RefuseArguments(const CLI::App& app, const CLI::ParseError& error);
/// Refuses words such as --force=3: a flag takes no value, except --resume=fast. A command that is named must be known.
void RefuseValuesOfFlags(const CLI::App& app, const std::vector<const char*>& words);
/// Refuses a word that is not a command.
void RequireCommand(const CLI::App& app, const std::string& word);

}  // namespace hueweave::tool
