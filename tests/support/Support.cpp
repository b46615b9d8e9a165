// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/ByteWriter.h"
#include "support/TempDir.h"
