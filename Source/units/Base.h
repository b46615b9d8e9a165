// SPDX-License-Identifier: MIT
#pragma once

namespace ICC40::ICC_UNIT {

struct Info;

/// A unit of the pipeline: one table that converts samples. A unit is large (up to 2 MB), always allocated on the heap,
/// used for one operation of an engine and not shared between threads.
class Base {
public:
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;
    virtual ~Base() = default;

    /// Converts one pixel of up to seven channels in place. The result is meaningless.
    virtual int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                           unsigned short& e, unsigned short& f, unsigned short& g) = 0;
    /// Kept: does nothing in any unit; the result is meaningless.
    virtual int Conversion(unsigned char* data, int count) = 0;
    /// Converts the pixels of a job. Returns 0, or 65535 if the unit does not support the job's `FormatCode`.
    virtual int Conversion(Info* info) = 0;

    const char* UnitName;  ///< name of the class, a static string

protected:
    explicit Base(const char* name) : UnitName(name) {}
};

}  // namespace ICC40::ICC_UNIT
