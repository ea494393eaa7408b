// SPDX-License-Identifier: MIT
#include "library.h"

#include <dlfcn.h>
#include <unistd.h>

namespace device_check {
namespace {

/// A bare name that is a file of this folder means that file, as it does for any other program.
std::string path_of(const std::string& file) {
    const bool bare = file.find('/') == std::string::npos;
    return bare && access(file.c_str(), F_OK) == 0 ? "./" + file : file;
}

} // namespace

Library::Library(const std::string& file)
    : handle_(dlopen(path_of(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ != nullptr)
        return;
    const char* const reason = dlerror();
    error_ = reason != nullptr ? reason : "unknown error";
}

void* Library::symbol(const char* name) const {
    return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

} // namespace device_check
