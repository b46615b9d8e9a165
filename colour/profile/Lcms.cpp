// SPDX-License-Identifier: MIT
#include "colour/profile/Lcms.h"

#include <lcms2_plugin.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <new>
#include <utility>

#include "base/ByteOrder.h"
#include "colour/base/ProfileError.h"

namespace hueweave::colour {

/// Header of every memory block of Little CMS.
struct alignas(std::max_align_t) LcmsWork::Block {
    Block* before = this;
    Block* behind = this;

    void InsertBehind(Block& other) {
        before = &other;
        behind = other.behind;
        before->behind = behind->before = this;
    }
    void Remove() { before->behind = behind, behind->before = before; }
    void* Memory() { return this + 1; }
    static Block& Of(void* memory) { return static_cast<Block*>(memory)[-1]; }
};

namespace {

/// The limit of the default allocator of Little CMS. A larger request means a damaged profile, not a lack of memory.
constexpr cmsUInt32Number kMostMemory = 512U << 20;

/// The owner of the call that this thread is in; null while the context is created, which handles null pointers.
thread_local LcmsWork* working = nullptr;

void Silent(cmsContext, cmsUInt32Number, const char*) {}

void Require(bool done) {
    if (!done) throw ProfileError("no profile can be made of this one");
}

/// The format of a profile's colours: floats, or doubles if `size` is 0.
cmsUInt32Number FormatOf(cmsHPROFILE profile, cmsUInt32Number size) {
    return cmsFormatterForColorspaceOfProfile(profile, size, TRUE);
}
constexpr cmsUInt32Number kFloat = sizeof(float), kDouble = 0;

constexpr cmsUInt32Number kPlain = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;

}  // namespace

LcmsWork::LcmsWork() : blocks_(new Block) {}

LcmsWork::~LcmsWork() {
    for (Block* block = blocks_->behind; block != blocks_;) std::free(std::exchange(block, block->behind));
    delete blocks_;
}

void* LcmsWork::Allocate(cmsContext, cmsUInt32Number size) {
    if (size == 0 || size > kMostMemory) return nullptr;
    void* memory = std::malloc(sizeof(Block) + size);
    if (memory == nullptr) {
        if (working != nullptr) working->Leave();
        return nullptr;
    }
    Block* block = new (memory) Block;
    if (working != nullptr) block->InsertBehind(*working->blocks_);
    return block->Memory();
}

void* LcmsWork::Reallocate(cmsContext context, void* memory, cmsUInt32Number size) {
    if (memory == nullptr) return Allocate(context, size);
    if (size > kMostMemory) return nullptr;
    Block& block = Block::Of(memory);
    Block* const before = block.before;
    block.Remove();
    void* moved = std::realloc(&block, sizeof(Block) + size);
    Block* const now = moved != nullptr ? new (moved) Block : &block;
    if (before != &block) now->InsertBehind(*before);
    if (moved == nullptr && working != nullptr) working->Leave();
    return moved != nullptr ? now->Memory() : nullptr;
}

void LcmsWork::Free(cmsContext, void* memory) {
    if (memory == nullptr) return;
    Block::Of(memory).Remove();
    std::free(&Block::Of(memory));
}

/// One per process: it contains only functions, and no data of a piece of work.
cmsContext LcmsWork::Context() {
    static const cmsContext context = [] {
        cmsPluginMemHandler plugin{};
        plugin.base.Magic = cmsPluginMagicNumber;
        plugin.base.ExpectedVersion = 2000;
        plugin.base.Type = cmsPluginMemHandlerSig;
        plugin.MallocPtr = Allocate;
        plugin.FreePtr = Free;
        plugin.ReallocPtr = Reallocate;
        const cmsContext made = cmsCreateContext(&plugin, nullptr);
        if (made == nullptr) throw std::bad_alloc();
        cmsSetLogErrorHandlerTHR(made, Silent);
        return made;
    }();
    return context;
}

/// Called when an allocation fails.
void LcmsWork::Leave() { std::longjmp(out_, 1); }

/// `call` calls Little CMS and creates no object that a jump would have to destroy.
template <typename Call>
auto LcmsWork::Guarded(Call call) {
    working = this;
    if (setjmp(out_) != 0) {
        working = nullptr;
        throw std::bad_alloc();
    }
    const auto result = call();
    working = nullptr;
    return result;
}

cmsHPROFILE LcmsWork::Open(const Bytes& data) {
    const cmsContext context = Context();
    if (data.empty() || data.size() > kMostMemory) return nullptr;
    const auto size = static_cast<cmsUInt32Number>(data.size());
    const void* bytes = data.data();
    return Guarded([=] { return cmsOpenProfileFromMemTHR(context, bytes, size); });
}

cmsHPROFILE LcmsWork::NewProfile(double version, cmsProfileClassSignature kind, cmsColorSpaceSignature connection) {
    const cmsContext context = Context();
    const cmsHPROFILE profile = Guarded([=] { return cmsCreateProfilePlaceholder(context); });
    Require(profile != nullptr);
    cmsSetProfileVersion(profile, version);
    cmsSetDeviceClass(profile, kind);
    cmsSetColorSpace(profile, cmsSigRgbData);
    cmsSetPCS(profile, connection);
    return profile;
}

Bytes LcmsWork::Save(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsUInt32Number* const told = &size;
    Require(Guarded([=] { return cmsSaveProfileToMem(profile, nullptr, told); }) != 0);
    Require(size >= 128);
    Bytes data(size);
    void* const bytes = data.data();
    Require(Guarded([=] { return cmsSaveProfileToMem(profile, bytes, told); }) != 0);
    Require(size == data.size());
    constexpr unsigned char kDate[12] = {2000 >> 8, 2000 & 0xff, 0, 1, 0, 1};
    std::copy(std::begin(kDate), std::end(kDate), data.begin() + 24);
    return data;
}

const void* LcmsWork::Read(cmsHPROFILE profile, cmsTagSignature tag) {
    return Guarded([=] { return cmsReadTag(profile, tag); });
}

void LcmsWork::Write(cmsHPROFILE profile, cmsTagSignature tag, const void* data) {
    Require(Guarded([=] { return cmsWriteTag(profile, tag, data); }) != 0);
}

void LcmsWork::WriteRaw(cmsHPROFILE profile, cmsTagSignature tag, const Bytes& data) {
    const auto size = static_cast<cmsUInt32Number>(data.size());
    const void* bytes = data.data();
    Require(Guarded([=] { return cmsWriteRawTag(profile, tag, bytes, size); }) != 0);
}

void LcmsWork::WriteText(cmsHPROFILE profile, cmsTagSignature tag, const std::string& text) {
    const cmsContext context = Context();
    const char* words = text.c_str();
    cmsMLU* mlu = Guarded([=] { return cmsMLUalloc(context, 1); });
    Require(mlu != nullptr && Guarded([=] { return cmsMLUsetASCII(mlu, "en", "US", words); }) != 0);
    Write(profile, tag, mlu);
}

void LcmsWork::Link(cmsHPROFILE profile, cmsTagSignature tag, cmsTagSignature other) {
    Require(Guarded([=] { return cmsLinkTag(profile, tag, other); }) != 0);
}

std::string LcmsWork::Text(cmsHPROFILE profile, cmsInfoType which) {
    char text[512] = {};
    char* const to = text;
    Guarded([=] { return cmsGetProfileInfoASCII(profile, which, "en", "US", to, sizeof text - 1); });
    return text;
}

cmsToneCurve* LcmsWork::Gamma(double power) {
    const cmsContext context = Context();
    cmsToneCurve* curve = Guarded([=] { return cmsBuildGamma(context, power); });
    Require(curve != nullptr);
    return curve;
}

cmsToneCurve* LcmsWork::Parametric(int type, const double* parameters) {
    const cmsContext context = Context();
    cmsToneCurve* curve = Guarded([=] { return cmsBuildParametricToneCurve(context, type, parameters); });
    Require(curve != nullptr);
    return curve;
}

cmsToneCurve* LcmsWork::Table(const std::vector<cmsUInt16Number>& values) {
    const cmsContext context = Context();
    const auto size = static_cast<cmsUInt32Number>(values.size());
    const cmsUInt16Number* table = values.data();
    cmsToneCurve* curve = Guarded([=] { return cmsBuildTabulatedToneCurve16(context, size, table); });
    Require(curve != nullptr);
    return curve;
}

cmsToneCurve* LcmsWork::Reverse(const cmsToneCurve* curve) {
    cmsToneCurve* reversed = Guarded([=] { return cmsReverseToneCurve(curve); });
    Require(reversed != nullptr);
    return reversed;
}

/// A Lab profile of version 2, because with version 4 Little CMS applies black point compensation by itself.
cmsHPROFILE LcmsWork::Lab() {
    const cmsContext context = Context();
    const cmsHPROFILE lab = Guarded([=] { return cmsCreateLab2ProfileTHR(context, nullptr); });
    Require(lab != nullptr);
    return lab;
}

cmsHPROFILE LcmsWork::Lab4() {
    const cmsContext context = Context();
    const cmsHPROFILE lab = Guarded([=] { return cmsCreateLab4ProfileTHR(context, nullptr); });
    Require(lab != nullptr);
    return lab;
}

cmsHTRANSFORM LcmsWork::DeviceToLab(cmsHPROFILE profile, int intent) {
    const cmsContext context = Context();
    const cmsHPROFILE lab = Lab();
    const auto which = static_cast<cmsUInt32Number>(intent);
    return Guarded([=] {
        return cmsCreateTransformTHR(context, profile, FormatOf(profile, kDouble), lab, TYPE_Lab_DBL, which, kPlain);
    });
}

cmsHTRANSFORM LcmsWork::LabToDevice(cmsHPROFILE profile, int intent) {
    const cmsContext context = Context();
    const cmsHPROFILE lab = Lab();
    const auto which = static_cast<cmsUInt32Number>(intent);
    return Guarded([=] {
        return cmsCreateTransformTHR(context, lab, TYPE_Lab_DBL, profile, FormatOf(profile, kDouble), which, kPlain);
    });
}

cmsHTRANSFORM LcmsWork::DeviceToDevice(cmsHPROFILE source, cmsHPROFILE target, int intent, bool compensateBlack) {
    const cmsContext context = Context();
    const auto which = static_cast<cmsUInt32Number>(intent);
    const cmsUInt32Number flags = compensateBlack ? kPlain | cmsFLAGS_BLACKPOINTCOMPENSATION : kPlain;
    return Guarded([=] {
        return cmsCreateTransformTHR(context, source, FormatOf(source, kFloat), target, FormatOf(target, kFloat), which,
                                     flags);
    });
}

std::array<double, 3> LcmsWork::BlackPoint(cmsHPROFILE profile, int intent) {
    cmsCIEXYZ black{};
    cmsCIEXYZ* const to = &black;
    Guarded([=] { return cmsDetectBlackPoint(to, profile, static_cast<cmsUInt32Number>(intent), 0); });
    return {black.X, black.Y, black.Z};
}

std::array<double, 3> LcmsWork::TargetBlackPoint(cmsHPROFILE profile, int intent) {
    cmsCIEXYZ black{};
    cmsCIEXYZ* const to = &black;
    Guarded([=] { return cmsDetectDestinationBlackPoint(to, profile, static_cast<cmsUInt32Number>(intent), 0); });
    return {black.X, black.Y, black.Z};
}

std::array<cmsCIEXYZ, 3> LcmsWork::Colorants(const cmsCIExyY& white, const cmsCIExyYTRIPLE& primaries) {
    const cmsContext context = Context();
    cmsToneCurve* const line = Gamma(1.0);
    cmsToneCurve* curves[] = {line, line, line};
    cmsToneCurve* const* const all = curves;
    const cmsCIExyY* const point = &white;
    const cmsCIExyYTRIPLE* const corners = &primaries;
    const cmsHPROFILE profile = Guarded([=] { return cmsCreateRGBProfileTHR(context, point, corners, all); });
    Require(profile != nullptr);
    std::array<cmsCIEXYZ, 3> colorants{};
    constexpr cmsTagSignature kTags[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* colorant = static_cast<const cmsCIEXYZ*>(Read(profile, kTags[c]));
        Require(colorant != nullptr);
        colorants[c] = *colorant;
    }
    return colorants;
}

bool IsOldScreen(cmsHPROFILE profile) {
    return cmsGetDeviceClass(profile) == cmsSigDisplayClass && cmsGetEncodedICCversion(profile) < 0x4000000;
}

std::string SignatureText(std::uint32_t signature) {
    std::string text;
    unsigned char characters[4];
    StoreBig32(characters, signature);
    for (const unsigned char c : characters) text += c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '?';
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

}  // namespace hueweave::colour
