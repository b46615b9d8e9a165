// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "batch/Session.h"
#include "batch/SourceFile.h"

namespace hueweave::tool {

/// SHA-256 of all that an output depends on: the version, the options that change colours, the profile, and the bytes
/// of the source. The record of a folder holds it, so that its form stays.
std::string Fingerprint(const Session& session, const SourceFile& source);

}  // namespace hueweave::tool
