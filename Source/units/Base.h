// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

namespace ICC40::ICC_UNIT {

struct Info;

/// A unit of the pipeline: one table that samples go through. A unit is large (up to 2 MB), is always made on the
/// heap, serves one operation of an engine and is not shared between threads.
class Base {
public:
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;
    virtual ~Base() = default;

    /// One pixel of up to seven channels, in place. The result has no meaning.
    virtual int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                           unsigned short& e, unsigned short& f, unsigned short& g) = 0;
    /// Kept: an empty operation in every unit; the result has no meaning.
    virtual int Conversion(unsigned char* data, int count) = 0;
    /// A run of pixels. Returns 0, or 65535 where a unit does not know the job's `FormatCode`.
    virtual int Conversion(Info* info) = 0;

    const char* UnitName;  ///< the class's name, a static string

protected:
    explicit Base(const char* name) : UnitName(name) {}
};

}  // namespace ICC40::ICC_UNIT
