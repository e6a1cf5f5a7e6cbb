#include "kelvo/plugins/shared_object.h"

#include <string_view>
#include <system_error>

#include <dlfcn.h>

namespace qv::kelvo_plugins {

namespace {

namespace fs = std::filesystem;

// Returns the linker's error without the path in front, which our own message already contains.
String linkerError(const fs::path& file) {
    const char* error = ::dlerror();
    std::string_view reason = error ? error : "unknown error";
    const std::string prefix = file.string() + ": ";
    if (reason.starts_with(prefix)) reason.remove_prefix(prefix.size());
    return String("cannot be loaded: ") + reason;
}

} // namespace

SharedObject::SharedObject(void* handle, fs::path file) noexcept
    : m_handle(handle), m_file(std::move(file)) {}

SharedObject::~SharedObject() {
    ::dlclose(m_handle);
}

std::shared_ptr<SharedObject> SharedObject::open(const fs::path& file, String& error) {
    std::error_code failure;
    // Absolute, since the linker would search its own directories for a mere name.
    fs::path real = fs::canonical(file, failure);
    const bool regular = !failure && fs::is_regular_file(real, failure);
    if (failure || !regular) {
        const std::string reason = failure ? failure.message() : "not a regular file";
        error = String("cannot be loaded: ") + std::string_view(reason);
        return nullptr;
    }
    void* handle = ::dlopen(real.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        error = linkerError(real);
        return nullptr;
    }
    return std::shared_ptr<SharedObject>(new SharedObject(handle, std::move(real)));
}

void* SharedObject::symbol(const char* name) const noexcept {
    return ::dlsym(m_handle, name);
}

} // namespace qv::kelvo_plugins
