// SPDX-License-Identifier: MIT
// Empty: its target compiles the headers that all suites share.
