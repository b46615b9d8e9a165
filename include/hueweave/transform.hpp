// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
/** @file
 * hueweave/transform.h for C++20: objects that free themselves, spans and exceptions. Everything is inline, so that a
 * program depends on the C interface only.
 */
#ifndef HUEWEAVE_TRANSFORM_HPP
#define HUEWEAVE_TRANSFORM_HPP

#include <hueweave/transform.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace hueweave {

/** A failure; what() is the sentence of hw_error::message or of hw_status_message(). */
class Error : public std::runtime_error {
public:
    /** @param status   an enum hw_status
     * @param message  the sentence */
    Error(std::int32_t status, const std::string& message) : std::runtime_error(message), status_(status) {}
    /** @return an enum hw_status */
    std::int32_t status() const noexcept { return status_; }
    /** @return the name of the status */
    const char* name() const noexcept { return hw_status_name(status_); }

private:
    std::int32_t status_;
};

/** A profile to make a transform from. */
class Profile {
public:
    /** @param path  the path of an ICC profile
     * @return the profile, which is read when the transform is made */
    static Profile FromFile(std::string path) { return {Kind::Path, std::move(path), {}}; }
    /** @param name  the name of a colour space
     * @return the profile of the space */
    static Profile OfSpace(std::string name) { return {Kind::Space, std::move(name), {}}; }
    /** @param data  an ICC profile, which must exist until the transform is made
     * @return the profile */
    static Profile FromMemory(std::span<const unsigned char> data) { return {Kind::Data, {}, data}; }

    /** @return the same for the C interface; borrows from this object */
    hw_profile get() const noexcept {
        static constexpr unsigned char kNothing = 0;  // no data are a profile, too, but not a usable one
        hw_profile profile{};
        if (kind_ == Kind::Path) profile.path = text_.c_str();
        if (kind_ == Kind::Space) profile.space = text_.c_str();
        if (kind_ == Kind::Data) profile.data = data_.empty() ? &kNothing : data_.data();
        profile.size = data_.size();
        return profile;
    }

private:
    enum class Kind { Path, Space, Data };
    Profile(Kind kind, std::string text, std::span<const unsigned char> data)
        : kind_(kind), text_(std::move(text)), data_(data) {}

    Kind kind_;
    std::string text_;
    std::span<const unsigned char> data_;
};

/** A transform. It can be moved, and threads may share it. All functions throw Error. */
class Transform {
public:
    /** @param source   the profile of the pixels
     * @param target   the profile to convert to
     * @param options  the options, which begin with their size */
    Transform(const Profile& source, const Profile& target, const hw_options& options = HW_OPTIONS_INIT) {
        const hw_profile from = source.get(), to = target.get();
        hw_transform* made = nullptr;
        hw_error error{};
        if (hw_transform_create(&from, &to, &options, &made, &error) != HW_OK) throw Error(error.status, error.message);
        handle_.reset(made);
    }

    /** Converts interleaved RGB pixels.
     * @param source  the samples, of the type in the options
     * @param dest    as many samples: the same ones, or ones that do not overlap */
    void Convert(std::span<const std::uint8_t> source, std::span<std::uint8_t> dest) const {
        Convert(source.data(), source.size(), dest.data(), dest.size(), HW_SAMPLES_UINT8);
    }
    /** The same for 16 bits.
     * @param source  the samples
     * @param dest    as many samples */
    void Convert(std::span<const std::uint16_t> source, std::span<std::uint16_t> dest) const {
        Convert(source.data(), source.size(), dest.data(), dest.size(), HW_SAMPLES_UINT16);
    }
    /** The same in floating point.
     * @param source  the samples
     * @param dest    as many samples */
    void Convert(std::span<const float> source, std::span<float> dest) const {
        Convert(source.data(), source.size(), dest.data(), dest.size(), HW_SAMPLES_FLOAT);
    }
    /** Calls hw_convert_image().
     * @param source  the first pixel of the first row
     * @param dest    the same for the destination
     * @param layout  size, channels and strides */
    void ConvertImage(const void* source, void* dest, const hw_layout& layout) const {
        Check(hw_convert_image(handle_.get(), source, dest, &layout));
    }

    /** @return the result of hw_transform_info(); its texts belong to this object */
    hw_info Info() const {
        hw_info info{};
        info.size = sizeof info;
        Check(hw_transform_info(handle_.get(), &info));
        return info;
    }
    /** @return the profile to embed, which belongs to this object; empty if no profile can describe the pixels */
    std::span<const unsigned char> OutputProfile() const noexcept {
        std::size_t size = 0;
        const void* const data = hw_transform_profile(handle_.get(), &size);
        return {static_cast<const unsigned char*>(data), size};
    }
    /** @return the handle for the C interface; null after a move */
    const hw_transform* get() const noexcept { return handle_.get(); }

private:
    struct Free {
        void operator()(hw_transform* transform) const noexcept { hw_transform_free(transform); }
    };

    static void Check(std::int32_t status) {
        if (status != HW_OK) throw Error(status, hw_status_message(status));
    }
    void Convert(const void* source, std::size_t size, void* dest, std::size_t destSize, std::int32_t samples) const {
        if (Info().samples != samples) throw Error(HW_ERROR_LAYOUT, "the transform is for another type of samples");
        if (size != destSize || size % 3 != 0) {
            throw Error(HW_ERROR_LAYOUT, "source and destination are not of the same size, or no whole pixels");
        }
        Check(hw_convert(handle_.get(), source, dest, size / 3));
    }

    std::unique_ptr<hw_transform, Free> handle_;
};

/** @return the names of all colour spaces */
inline std::vector<std::string> SpaceNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < hw_space_count(); ++i) names.emplace_back(hw_space_name(i));
    return names;
}

}  // namespace hueweave

#endif  // HUEWEAVE_TRANSFORM_HPP
