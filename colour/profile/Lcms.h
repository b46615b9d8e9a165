// SPDX-License-Identifier: MIT
#pragma once

#include <lcms2.h>

#include <array>
#include <csetjmp>
#include <cstdint>
#include <string>
#include <vector>

#include "colour/base/Bytes.h"

namespace hueweave::colour {

/// Profiles, transforms and curves of Little CMS for one piece of work. They exist as long as this object and are not
/// closed individually. For use by one thread at a time.
///
/// A method that makes or writes something throws a ProfileError if Little CMS refuses to.
///
/// Every call that allocates goes through this class and throws `std::bad_alloc` if memory runs out. Little CMS itself
/// would report some failed allocations as missing tags, so that the profile would lack them, and would dereference the
/// null pointers of others. Neither happens: the allocator belongs to this class and, when memory runs out, jumps out
/// of Little CMS back to this class. Objects left incomplete are never used again, and their memory, which this class
/// keeps in a list, is freed with the others. A jump is used instead of an exception because C code need not be built
/// for exceptions; only frames of Little CMS are between the jump and this class, and it holds no lock while it
/// allocates that others wait for.
class LcmsWork {
public:
    LcmsWork();
    ~LcmsWork();
    LcmsWork(const LcmsWork&) = delete;
    LcmsWork& operator=(const LcmsWork&) = delete;

    /// Null for data that are not a profile. Messages of Little CMS are not printed.
    cmsHPROFILE Open(const Bytes& data);
    /// An empty RGB profile.
    cmsHPROFILE NewProfile(double version, cmsProfileClassSignature kind, cmsColorSpaceSignature connection);
    /// The profile as a file with a fixed date, so that the same profile always gives the same bytes.
    Bytes Save(cmsHPROFILE profile);

    /// The contents of a tag; null if it is absent or cannot be read.
    const void* Read(cmsHPROFILE profile, cmsTagSignature tag);
    void Write(cmsHPROFILE profile, cmsTagSignature tag, const void* data);
    void WriteRaw(cmsHPROFILE profile, cmsTagSignature tag, const Bytes& data);
    void WriteText(cmsHPROFILE profile, cmsTagSignature tag, const std::string& text);
    /// Links `tag` to the contents of `other`.
    void Link(cmsHPROFILE profile, cmsTagSignature tag, cmsTagSignature other);
    /// A text of the profile in English; may be empty.
    std::string Text(cmsHPROFILE profile, cmsInfoType which);

    cmsToneCurve* Gamma(double power);
    /// A curve of Little CMS's type `type`.
    cmsToneCurve* Parametric(int type, const double* parameters);
    cmsToneCurve* Table(const std::vector<cmsUInt16Number>& values);
    /// The inverse of a curve.
    cmsToneCurve* Reverse(const cmsToneCurve* curve);

    /// From a device as doubles of 0 to 1, or ink of 0 to 100, to CIE Lab for D50, in floating point and without black
    /// point compensation; and the inverse. Null if the profile does not define the colours of its device.
    cmsHTRANSFORM DeviceToLab(cmsHPROFILE profile, int intent);
    cmsHTRANSFORM LabToDevice(cmsHPROFILE profile, int intent);
    /// From the colours of one profile to those of another, as floats of 0 to 1, ink of 0 to 100 or CIE Lab; the result
    /// is not clamped. Null if the profiles cannot be linked.
    cmsHTRANSFORM DeviceToDevice(cmsHPROFILE source, cmsHPROFILE target, int intent, bool compensateBlack);

    /// The profile of CIE Lab for D50, as the source of a transform.
    cmsHPROFILE Lab4();

    /// The darkest colour of a profile as a source and as a target, in XYZ.
    std::array<double, 3> BlackPoint(cmsHPROFILE profile, int intent);
    std::array<double, 3> TargetBlackPoint(cmsHPROFILE profile, int intent);
    /// The XYZ of red, green and blue for D50, from chromaticities.
    std::array<cmsCIEXYZ, 3> Colorants(const cmsCIExyY& white, const cmsCIExyYTRIPLE& primaries);

    struct Block;  ///< a memory block

private:
    template <typename Call>
    auto Guarded(Call call);
    [[noreturn]] void Leave();
    cmsHPROFILE Lab();

    static void* Allocate(cmsContext, cmsUInt32Number size);
    static void* Reallocate(cmsContext, void* memory, cmsUInt32Number size);
    static void Free(cmsContext, void* memory);
    static cmsContext Context();

    Block* const blocks_;  ///< a ring that begins and ends with an empty block
    std::jmp_buf out_{};
};

/// A display profile before version 4: its white point is the white of the display, to which the eye adapts, so for the
/// absolute intent it is treated as D50, as in later versions.
bool IsOldScreen(cmsHPROFILE profile);
/// The four characters of a signature without trailing spaces.
std::string SignatureText(std::uint32_t signature);

}  // namespace hueweave::colour
