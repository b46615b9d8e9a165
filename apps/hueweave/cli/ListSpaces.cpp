// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The subcommand "spaces".
#include <fmt/format.h>

#include "cli/Commands.h"
#include "system/Json.h"

namespace hueweave::tool {

Exit ListSpaces(const SpacesArguments& arguments) {
    for (const Space& space : Spaces()) {
        if (arguments.json) {
            const nlohmann::ordered_json json{{"name", space.name}, {"title", space.title}, {"note", space.note}};
            fmt::print("{}\n", json.dump());
        } else {
            fmt::print("{:<18} {:<34} {}\n", space.name, space.title, space.note);
        }
    }
    return Exit::Done;
}

}  // namespace hueweave::tool
