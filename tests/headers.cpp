// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Empty: its target compiles the headers that all suites share.
