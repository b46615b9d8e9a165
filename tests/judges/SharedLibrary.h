// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <dlfcn.h>
#include <hueweave/hueweave.h>

#include <stdexcept>

namespace hueweave::test {

/// The built shared object, opened as a program of somebody else's would open it. Only what these tests call.
class SharedLibrary {
public:
    SharedLibrary() : handle_(dlopen(HUEWEAVE_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) throw std::runtime_error(dlerror());
        SetProfile = Find<decltype(&Orvix_Icc_SetProfile)>("Orvix_Icc_SetProfile");
        Convert2 = Find<decltype(&Orvix_Icc_Convert2)>("Orvix_Icc_Convert2");
        ConvertFile = Find<decltype(&Orvix_Icc_ConvertFile)>("Orvix_Icc_ConvertFile");
    }
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;
    ~SharedLibrary() { dlclose(handle_); }

    decltype(&Orvix_Icc_SetProfile) SetProfile;
    decltype(&Orvix_Icc_Convert2) Convert2;
    decltype(&Orvix_Icc_ConvertFile) ConvertFile;

private:
    template <typename Function>
    Function Find(const char* name) const {
        void* symbol = dlsym(handle_, name);
        if (symbol == nullptr) throw std::runtime_error(dlerror());
        return reinterpret_cast<Function>(symbol);
    }
    void* handle_;
};

}  // namespace hueweave::test
