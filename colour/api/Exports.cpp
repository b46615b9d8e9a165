// SPDX-License-Identifier: MIT
// The exported functions. No exception leaves them.
#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <new>

#include "colour/api/Failure.h"
#include "colour/api/Handle.h"
#include "colour/api/Layout.h"
#include "hueweave/transform.h"

using namespace hueweave::colour;

std::int32_t hw_transform_create(const hw_profile* source, const hw_profile* target, const hw_options* options,
                                 hw_transform** transform, hw_error* error) noexcept {
    if (transform != nullptr) *transform = nullptr;
    try {
        if (transform == nullptr) {
            return Report(error, HW_ERROR_ARGUMENT, "transform: is null; give the place for the transform");
        }
        const Settings settings = ReadOptions(options);
        const GivenProfile from = TakeProfile(source, "source"), to = TakeProfile(target, "target");
        *transform = std::make_unique<hw_transform>(from, to, settings).release();
        return HW_OK;
    } catch (const Failure& failure) {
        return Report(error, failure.status, failure.message);
    } catch (const std::bad_alloc&) {
        return Report(error, HW_ERROR_MEMORY, StatusMessage(HW_ERROR_MEMORY));
    } catch (const std::exception& fault) {
        return Report(error, HW_ERROR_INTERNAL, fault.what());
    } catch (...) {
        return Report(error, HW_ERROR_INTERNAL, StatusMessage(HW_ERROR_INTERNAL));
    }
}

void hw_transform_free(hw_transform* transform) noexcept { delete transform; }

std::int32_t hw_convert(const hw_transform* transform, const void* source, void* dest, std::size_t pixels) noexcept {
    const hw_layout layout{pixels, 1, 3, 0, 0};
    return hw_convert_image(transform, source, dest, &layout);
}

std::int32_t hw_convert_image(const hw_transform* transform, const void* source, void* dest,
                              const hw_layout* layout) noexcept {
    if (transform == nullptr || layout == nullptr) return HW_ERROR_ARGUMENT;
    hw_layout image = *layout;
    const hw_status status = SettleLayout(source, dest, transform->SampleBytes(), image);
    if (status != HW_OK || image.width == 0 || image.height == 0) return status;
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(dest);
    for (std::size_t row = 0;;) {
        transform->Convert(from, to, image.width, static_cast<unsigned>(image.channels));
        if (++row == image.height) return HW_OK;
        from += image.source_stride;
        to += image.dest_stride;
    }
}

std::int32_t hw_transform_info(const hw_transform* transform, hw_info* info) noexcept {
    if (transform == nullptr || info == nullptr) return HW_ERROR_ARGUMENT;
    const std::size_t size = info->size;
    if (size < sizeof(hw_info)) return HW_ERROR_OPTIONS;
    std::memset(reinterpret_cast<unsigned char*>(info), 0, size);
    info->size = size;
    transform->Describe(*info);
    return HW_OK;
}

const void* hw_transform_profile(const hw_transform* transform, std::size_t* size) noexcept {
    const bool empty = transform == nullptr || transform->profile().empty();
    if (size != nullptr) *size = empty ? 0 : transform->profile().size();
    return empty ? nullptr : transform->profile().data();
}

std::size_t hw_space_count() noexcept { return Spaces().size(); }
// The texts are constants that end with a zero byte.
const char* hw_space_name(std::size_t index) noexcept {
    return index < Spaces().size() ? Spaces()[index].name.data() : nullptr;
}
const char* hw_space_title(std::size_t index) noexcept {
    return index < Spaces().size() ? Spaces()[index].title.data() : nullptr;
}

const char* hw_status_name(std::int32_t status) noexcept { return StatusName(status); }
const char* hw_status_message(std::int32_t status) noexcept { return StatusMessage(status); }

const char* hw_version() noexcept { return HUEWEAVE_VERSION; }
std::int32_t hw_version_number() noexcept { return HUEWEAVE_VERSION_NUMBER; }
