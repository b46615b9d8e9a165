// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/EngineBinding.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "system/Refusal.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {

namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;
using namespace ICC40::ICCFILE;

[[noreturn]] void RefuseMemory() {
    throw Refusal(Exit::Profile, "", "no file can be made in memory for the profile (" + ErrorText(errno) + ")",
                  "lower -j, or raise the limit of open files");
}

/// The engine reads files by their paths: the profile gets one in memory. Without /proc, as in some containers, that
/// file has no path, and one among the temporary files does instead.
class ProfileFile {
public:
    ProfileFile() : file_(::memfd_create("profile", MFD_CLOEXEC), "profile") {
        if (file_.descriptor() < 0) RefuseMemory();
        path_ = "/proc/self/fd/" + std::to_string(file_.descriptor());
        if (::access(path_.c_str(), F_OK) != 0) MakeNamed();
    }
    ~ProfileFile() {
        if (named_) ::unlink(path_.c_str());
    }
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;
    void Write(const Bytes& profile) const { file_.Write(0, profile); }
    const std::string& path() const { return path_; }

private:
    void MakeNamed() {
        path_ = TemporaryFolder() + "/.hueweave-XXXXXX";
        file_ = FileAccess(::mkostemp(path_.data(), O_CLOEXEC), "profile");
        if (file_.descriptor() < 0) {
            throw Refusal(Exit::Profile, "", "no temporary file can be made for the profile (" + ErrorText(errno) + ")",
                          "name a folder in TMPDIR that can be written, or mount /proc");
        }
        named_ = true;
    }

    FileAccess file_;
    std::string path_;
    bool named_ = false;
};

}  // namespace

std::unique_ptr<CIccEngineS> BindEngine(const Bytes& profile, const Rendering& rendering, bool wide,
                                        ColorSpaceSignature output) {
    const ProfileFile file;
    file.Write(profile);
    const std::string& path = file.path();
    auto engine = std::make_unique<CIccEngineS>();
    // Given here, the offsets count with their fractions too.
    engine->SetProfile(path.c_str(), rendering.intent, wide ? CsRGB_16 : CsRGB_8, output, rendering.lightness,
                       rendering.chroma, rendering.hue);
    if (rendering.curves && engine->Lut1DInR != nullptr) {
        const ToneCurves& curves = *rendering.curves;
        engine->Adjust_Output(curves[0].data(), curves[1].data(), curves[2].data(), 256);
    }
    if (engine->Unit.OutputSpace != output || engine->Lut1DInR == nullptr) {
        // The engine does not tell whether it was the file or what stands in it.
        const FileAccess again(::open(path.c_str(), O_RDONLY | O_CLOEXEC), path);
        if (again.descriptor() < 0) RefuseMemory();
        return nullptr;
    }
    return engine;
}

}  // namespace hueweave::tool
