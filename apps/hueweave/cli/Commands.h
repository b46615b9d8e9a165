// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "cli/Arguments.h"
#include "system/Refusal.h"

namespace hueweave::tool {

Exit Convert(ConvertArguments arguments);
Exit Inspect(const InspectArguments& arguments);
Exit BakeCommand(const BakeArguments& arguments);
Exit Verify(const VerifyArguments& arguments);
Exit ListSpaces(const SpacesArguments& arguments);

}  // namespace hueweave::tool
