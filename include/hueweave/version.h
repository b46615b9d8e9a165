/* SPDX-License-Identifier: MIT
 * Copyright (c) The Hueweave authors
 */
/** @file
 * The version of Hueweave that a program is compiled with. hw_version() returns the version that it runs with.
 */
#ifndef HUEWEAVE_VERSION_H
#define HUEWEAVE_VERSION_H

#define HUEWEAVE_VERSION_MAJOR 1 /**< changes with the binary interface */
#define HUEWEAVE_VERSION_MINOR 0 /**< changes with additions to the interface */
#define HUEWEAVE_VERSION_PATCH 0 /**< changes with everything else */
/** 10000 * major + 100 * minor + patch, for comparisons. */
#define HUEWEAVE_VERSION_NUMBER (10000 * HUEWEAVE_VERSION_MAJOR + 100 * HUEWEAVE_VERSION_MINOR + HUEWEAVE_VERSION_PATCH)
/** The same as text. */
#define HUEWEAVE_VERSION "1.0.0"

#endif /* HUEWEAVE_VERSION_H */
