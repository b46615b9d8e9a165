// SPDX-License-Identifier: MIT
// The sixteen exports in any order on three engines. Every result must follow from the previous ones, no engine may
// affect another's conversions, and nothing outside the pixels of a run is changed.
#include "Files.h"
#include "Mutation.h"
#include "hueweave/hueweave.h"

namespace hueweave::fuzz {
namespace {

constexpr std::size_t kSteering = 256;
constexpr std::int32_t kNone = 65535;

struct Exports {
    decltype(&Orvix_Icc_SetProfile) setProfile;
    decltype(&Orvix_Icc_SetIntent) setIntent;
    decltype(&Orvix_Icc_Adjust) adjust;
    decltype(&Orvix_Icc_Convert2) convert;
    decltype(&Orvix_Icc_ConvertFile) convertFile;
};
constexpr Exports kEngines[3] = {
    {Orvix_Icc_SetProfile, Orvix_Icc_SetIntent, Orvix_Icc_Adjust, Orvix_Icc_Convert2, Orvix_Icc_ConvertFile},
    {Orvix_Icc_SetProfile_2nd, Orvix_Icc_SetIntent_2nd, Orvix_Icc_Adjust_2nd, Orvix_Icc_Convert2_2nd,
     Orvix_Icc_ConvertFile_2nd},
    {Orvix_Icc_SetProfile_3rd, Orvix_Icc_SetIntent_3rd, Orvix_Icc_Adjust_3rd, Orvix_Icc_Convert2_3rd,
     Orvix_Icc_ConvertFile_3rd}};

/// The files of a session; the first profile comes from the input.
struct Disk {
    ScratchFile profile, sound{SoundProfile(1)}, curved{CurvedProfile(3)}, tiff8{SoundTiff(8)}, tiff16{SoundTiff(16)};
    ScratchFile dest;
    const char* profiles[5] = {profile.Path(), sound.Path(), curved.Path(), kNoFile, nullptr};
    const char* tiffs[5] = {tiff8.Path(), tiff16.Path(), profile.Path(), kNoFile, nullptr};
};

class Session {
public:
    Session(const Disk& disk, FuzzInput& input) : disk_(disk), input_(input) {
        for (const Exports& engine : kEngines) {
            // Two paths alternately: the same one again could be the existing binding.
            engine.setProfile(kNoFile, nullptr, 0, CsRGB_8, CssRGB_8);
            Require(engine.setProfile(nullptr, nullptr, 0, CsRGB_8, CssRGB_8) == kNone, "no profile");
        }
        for (std::size_t e = 0; e < 3; ++e) probe_[e] = Probe(e);
    }

    void Step() {
        const std::size_t e = input_.Below(3), how = input_.Below(8);
        if (how < 2) SetProfile(e);
        if (how == 2) SetIntent(e);
        if (how == 3) Adjust(e);
        if (how == 4) ConvertFile(e);
        if (how == 5) Require(func1() == 0, "func1");
        if (how > 5) Convert(e);
        for (std::size_t other = 0; other < 3; ++other) {
            const Bytes now = Probe(other);
            Require(other == e || now == probe_[other], "an engine of its own");
            probe_[other] = now;
        }
    }
    bool Tired() const { return builds_ >= 5; }

private:
    int DrawSpace() { return input_.Below(8) == 0 ? input_.Int() : input_.Between(0, 39); }
    int DrawInput() {
        return input_.Below(8) == 0 ? kNone : input_.Below(16) == 0 ? input_.Int() : input_.Between(0, 1);
    }

    /// The result of converting some pixels; a run that is refused leaves them unchanged.
    Bytes Probe(std::size_t e) const {
        Bytes pixels = ScatteredBytes(48, 1);
        const std::int32_t answer = kEngines[e].convert(pixels.data(), pixels.data(), 8);
        Require(answer == (status_[e] == kNone ? -1 : 0), "answer to a probe");
        return pixels;
    }
    void Answered(std::size_t e, std::int32_t answer, std::int32_t asked) {
        ++builds_;
        Require(answer == asked || answer == kNone, "the space that was asked for, or none");
        status_[e] = answer;
    }
    void SetProfile(std::size_t e) {
        const std::size_t number = input_.Below(5);
        const char* second = input_.Bool() ? nullptr : disk_.profiles[input_.Below(5)];
        const int intent = input_.Between(-2, 5), in = DrawInput(), out = DrawSpace();
        const std::int32_t answer = kEngines[e].setProfile(disk_.profiles[number], second, intent, in, out);
        Answered(e, answer, out);
        const bool known = in == CsRGB_8 || in == CsRGB_16 || (e == 0 && in == kNone);
        Require(known || number == path_[e] || answer == kNone, "an encoding that is refused");
        // The same path is not opened again if a SetIntent has given the engine a space.
        Require(number < 3 || number == path_[e] || answer == kNone, "a file that is not there");
        path_[e] = number;
    }
    void SetIntent(std::size_t e) {
        const int intent = input_.Between(-2, 5), in = DrawInput(), out = DrawSpace();
        Answered(e, kEngines[e].setIntent(intent, in, out), out);
    }
    void Adjust(std::size_t e) {
        const double lightness = input_.Double(), chroma = input_.Double(), hue = input_.Double();
        Bytes curve = ScatteredBytes(256, input_.U8());
        const Bytes before = curve;
        const unsigned missing = input_.U8();
        const int count = input_.Int();
        // An invalid number of points may come with any array.
        unsigned char* arrays[3] = {curve.data(), curve.data(), curve.data()};
        if (missing < 3) arrays[missing] = nullptr;
        const std::int32_t answer = kEngines[e].adjust(lightness, chroma, hue, arrays[0], arrays[1], arrays[2], count);
        Answered(e, answer, status_[e]);
        Require(curve == before, "curves are read only");
    }
    void ConvertFile(std::size_t e) {
        const std::size_t number = input_.Below(5);
        const bool nowhere = input_.Below(8) == 0;
        const Bytes mark(9, 0xee);
        disk_.dest.Put(mark);
        const std::int32_t answer = kEngines[e].convertFile(disk_.tiffs[number], nowhere ? nullptr : disk_.dest.Path());
        Require(answer == status_[e], "the engine's space");
        const Bytes written = disk_.dest.Get();
        const bool opened = answer != kNone && !nowhere;
        Require(opened || written == mark, "no file is opened");
        Require(!opened || number > 1 || written.size() > 100, "a sound file is written");
    }
    void Convert(std::size_t e) {
        constexpr std::size_t kFence = 16;
        const std::size_t place = kFence + input_.Below(4);  // any alignment
        const int pixels = input_.Between(-3, 70);
        const std::size_t size = place + static_cast<std::size_t>(std::max(pixels, 0)) * 6 + kFence;
        Bytes source = ScatteredBytes(size, input_.U16()), dest(size, 0xa5);
        const Bytes sourceBefore = source, destBefore = dest;
        const bool apart = input_.Bool();
        Bytes& target = apart ? dest : source;
        const HeapWatch heap;
        const std::int32_t answer = kEngines[e].convert(&source[place], &target[place], pixels);
        Require(heap.Count() == 0, "a conversion takes no heap");
        Require(answer == (status_[e] == kNone ? -1 : 0), "answer to pixels");
        Require(kEngines[e].convert(nullptr, nullptr, pixels) == answer, "no buffers");
        const bool still = answer != 0 || pixels < 1;
        Require(!still || (source == sourceBefore && dest == destBefore), "nothing is converted");
        // One of the two holds the result: 8-bit pixels are converted in place, 16-bit pixels are written to the
        // destination.
        Require(!apart || source == sourceBefore || dest == destBefore, "one buffer is written");
        for (std::size_t at = 0; at < size; ++at) {
            const bool same = source[at] == sourceBefore[at] && dest[at] == destBefore[at];
            Require(same || (at >= place && at < size - kFence), "nothing beside the run is touched");
        }
    }

    const Disk& disk_;
    FuzzInput& input_;
    std::array<std::int32_t, 3> status_{kNone, kNone, kNone};
    std::array<std::size_t, 3> path_{4, 4, 4};
    std::array<Bytes, 3> probe_;
    int builds_ = 0;
};

}  // namespace

void RunTarget(FuzzInput& input) {
    static const Disk disk;
    FuzzInput steering = input.Split(kSteering);
    disk.profile.Put(input.Rest());
    const std::ptrdiff_t descriptors = OpenFiles();
    Session session(disk, steering);
    while (!steering.Empty() && !session.Tired()) session.Step();
    Require(OpenFiles() == descriptors, "every file is closed");
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, IccLayout);

}  // namespace hueweave::fuzz
