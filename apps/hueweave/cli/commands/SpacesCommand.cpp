// SPDX-License-Identifier: MIT
#include "cli/commands/SpacesCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "colour/profile/Spaces.h"
#include "system/Json.h"

namespace hueweave::tool {

CLI::App* SpacesCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("spaces", "List the output colour spaces");
    c->add_flag("--json", json_, "Write one line of JSON per space");
    c->footer("Examples:\n  hueweave spaces\n  hueweave spaces --json");
    return c;
}

Exit SpacesCommand::Run() {
    for (const colour::Space& space : colour::Spaces()) {
        if (json_) {
            const nlohmann::ordered_json json{
                {"name", space.name}, {"title", space.title}, {"note", space.note}, {"library", space.IsEngines()}};
            fmt::print("{}\n", json.dump());
        } else {
            fmt::print("{:<18} {:<34} {}\n", space.name, space.title, space.note);
        }
    }
    return Exit::Done;
}

}  // namespace hueweave::tool
