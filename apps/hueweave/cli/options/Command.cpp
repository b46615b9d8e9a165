// SPDX-License-Identifier: MIT
#include "cli/options/Command.h"

#include <CLI/CLI.hpp>

namespace hueweave::tool {

void AddSandbox(CLI::App& app, bool& sandbox) {
    sandbox = true;
    app.add_flag_callback(
        "--no-sandbox", [&sandbox] { sandbox = false; }, "Do not restrict access to the files that were named");
}

void RefuseUsage(const std::string& reason, const std::string& remedy) {
    throw Refusal(Exit::Usage, "", reason, remedy);
}

}  // namespace hueweave::tool
