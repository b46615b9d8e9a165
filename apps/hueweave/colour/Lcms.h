// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <lcms2.h>

#include <csetjmp>
#include <cstdint>
#include <string>
#include <vector>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Profiles, transforms and curves of Little CMS for one piece of work. They live as long as it does; nothing is closed
/// one by one. One thread at a time.
///
/// Every call that allocates goes through here, and throws `std::bad_alloc` where memory runs out. Little CMS itself
/// would tell some of its failed allocations like a tag that is absent, so that a profile would lack it, and would use
/// the null pointer of others. It never sees one: its allocator is ours and jumps back here from a failed allocation,
/// out of whatever Little CMS was doing. What it leaves half made is never touched again, and its memory, which is in a
/// list of ours, is freed with the work. C code is left by a jump, not by an exception, for which it need not be built;
/// between the jump and here stand its frames alone, and it holds no lock that others wait for while it allocates.
class LcmsWork {
public:
    LcmsWork();
    ~LcmsWork();
    LcmsWork(const LcmsWork&) = delete;
    LcmsWork& operator=(const LcmsWork&) = delete;

    /// Null for what is no profile. Messages of Little CMS are kept from the terminal.
    cmsHPROFILE Open(const Bytes& data);
    /// An empty RGB profile.
    cmsHPROFILE NewProfile(double version, cmsProfileClassSignature kind, cmsColorSpaceSignature connection);
    /// The profile as a file, with a fixed date, so that the same profile always is the same bytes.
    Bytes Save(cmsHPROFILE profile);

    /// What a tag holds, null if it is absent or cannot be read.
    const void* Read(cmsHPROFILE profile, cmsTagSignature tag);
    void Write(cmsHPROFILE profile, cmsTagSignature tag, const void* data);
    void WriteRaw(cmsHPROFILE profile, cmsTagSignature tag, const Bytes& data);
    void WriteText(cmsHPROFILE profile, cmsTagSignature tag, const std::string& text);
    /// Lets `tag` hold what `other` holds.
    void Link(cmsHPROFILE profile, cmsTagSignature tag, cmsTagSignature other);
    /// A text of the profile in English, or an empty one.
    std::string Text(cmsHPROFILE profile, cmsInfoType which);

    cmsToneCurve* Gamma(double power);
    /// A curve of Little CMS's type `type`.
    cmsToneCurve* Parametric(int type, const double* parameters);
    cmsToneCurve* Table(const std::vector<cmsUInt16Number>& values);

    /// From device RGB in doubles of 0 to 1 to CIE Lab under D50, in floating point and without black point
    /// compensation; and back. Null where the profile does not tell the colours of its device.
    cmsHTRANSFORM DeviceToLab(cmsHPROFILE profile, int intent);
    cmsHTRANSFORM LabToDevice(cmsHPROFILE profile, int intent);

    struct Block;  ///< of memory

private:
    template <typename Call>
    auto Guarded(Call call);
    [[noreturn]] void Leave();
    cmsHPROFILE Lab();

    static void* Allocate(cmsContext, cmsUInt32Number size);
    static void* Reallocate(cmsContext, void* memory, cmsUInt32Number size);
    static void Free(cmsContext, void* memory);
    static cmsContext Context();

    Block* const blocks_;  ///< a ring that begins and ends with one without memory
    std::jmp_buf out_{};
};

/// A screen's profile before version 4: its white point tells the light of the screen, to which the eye adapts, so
/// that for the absolute intent it counts as D50, as in later versions.
bool IsOldScreen(cmsHPROFILE profile);
/// The four characters of a signature without spaces at the end.
std::string SignatureText(std::uint32_t signature);

}  // namespace hueweave::tool
