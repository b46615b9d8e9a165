// SPDX-License-Identifier: MIT
#include "colour/api/GivenProfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "colour/api/Failure.h"
#include "colour/base/ProfileError.h"
#include "colour/profile/DeviceProfile.h"
#include "colour/profile/OutputProfile.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kLargestProfile = std::size_t{64} << 20;
constexpr const char* kTooLarge = "is too large for a profile";
constexpr const char* kGiveProfile = "give an ICC profile";

/// strerror_r() returns the text in one standard and fills the buffer in another.
[[maybe_unused]] const char* TextOf(const char* text, const char*) { return text; }
[[maybe_unused]] const char* TextOf(int, const char* buffer) { return buffer; }

/// A file that is open for reading.
class File {
public:
    /// Non-blocking, to avoid waiting for the writer of a pipe.
    explicit File(const char* path) : path_(path), descriptor_(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        if (descriptor_ < 0) Refuse(errno);
    }
    ~File() { ::close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    Bytes Read() const {
        struct stat status {};
        if (::fstat(descriptor_, &status) != 0) Refuse(errno);
        if (!S_ISREG(status.st_mode)) Refuse("not a regular file");
        if (static_cast<std::uint64_t>(status.st_size) > kLargestProfile) {
            Fail(HW_ERROR_PROFILE, path_, kTooLarge, kGiveProfile);
        }
        Bytes data(static_cast<std::size_t>(status.st_size));
        std::size_t done = 0;
        while (done < data.size()) {
            const ssize_t got = ::read(descriptor_, data.data() + done, data.size() - done);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) Refuse(errno);
            if (got == 0) Refuse("it has become shorter");
            done += static_cast<std::size_t>(got);
        }
        return data;
    }

private:
    [[noreturn]] void Refuse(int error) const {
        char buffer[256] = {};
        Refuse(TextOf(::strerror_r(error, buffer, sizeof buffer), buffer));
    }
    [[noreturn]] void Refuse(const char* why) const {
        Fail(HW_ERROR_FILE, path_, std::string("cannot be read (") + why + ")", "check the file and its permissions");
    }

    const char* path_;
    int descriptor_;
};

const Space& TakeSpace(std::string_view name) {
    const Space* const space = FindSpace(name);
    if (space != nullptr) return *space;
    const std::string_view near = NearestSpace(name);
    const std::string question = near.empty() ? "" : " (did you mean " + std::string(near) + "?)";
    Fail(HW_ERROR_SPACE, name, "is not a colour space" + question, "hw_space_name() gives the names");
}

Bytes SpaceData(const Space& space, const std::optional<ToneCurves>& curves, int version) {
    auto profile = MakeTargetProfile(space, curves, version);
    if (profile) return std::move(*profile);
    Fail(HW_ERROR_CURVES, "hw_options.curves", "no profile can describe curves that fall",
         "use the library's precision");
}

void CheckDevice(const GivenProfile& given, const char* remedy) {
    try {
        CheckDeviceProfile(given.data);
    } catch (const ProfileError& error) {
        Fail(HW_ERROR_PROFILE, given.name, error.what(), remedy);
    }
}

}  // namespace

GivenProfile TakeProfile(const hw_profile* profile, const char* name) {
    const int ways =
        profile == nullptr ? 0 : (profile->data != nullptr) + (profile->path != nullptr) + (profile->space != nullptr);
    if (ways != 1) {
        Fail(HW_ERROR_ARGUMENT, name, ways == 0 ? "is not given" : "is given in more than one way",
             "set one of data, path and space");
    }
    if (profile->space != nullptr) return {profile->space, {}, &TakeSpace(profile->space)};
    if (profile->path != nullptr) return {profile->path, File(profile->path).Read(), nullptr};
    if (profile->size > kLargestProfile) Fail(HW_ERROR_PROFILE, name, kTooLarge, kGiveProfile);
    const auto* const data = static_cast<const unsigned char*>(profile->data);
    return {name, Bytes(data, data + profile->size), nullptr};
}

Bytes SourceData(const GivenProfile& given) {
    if (given.space != nullptr) return SpaceData(*given.space, {}, 4);
    CheckDevice(given, "give the profile of an RGB scanner, camera, screen or printer");
    return given.data;
}

TargetProfiles TargetData(const GivenProfile& given, const Settings& settings) {
    if (given.space == nullptr) {
        constexpr const char* kRemedy = "give the profile of an RGB space, screen or printer";
        CheckDevice(given, kRemedy);
        try {
            CheckTargetProfile(given.data);
        } catch (const ProfileError& error) {
            Fail(HW_ERROR_PROFILE, given.name, error.what(), kRemedy);
        }
        return {given.data, given.data, {}};
    }
    const Space& space = *given.space;
    TargetProfiles target{SpaceData(space, settings.curves, 4), {}, {}};
    target.embedded = settings.iccVersion == 4 ? target.converting : SpaceData(space, settings.curves, 2);
    if (space.IsEngines() && !settings.curves && space.tone != Tone::Kodak) {
        target.library = MakeOutputProfile(space, Colorants::Engine, {}, std::string(space.title));
    }
    return target;
}

}  // namespace hueweave::colour
