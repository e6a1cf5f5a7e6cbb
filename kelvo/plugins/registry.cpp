#include "kelvo/plugins/registry.h"

#include <algorithm>
#include <mutex>

namespace qv::kelvo_plugins {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<Registered> libraries;
};

// Made at first use, as constructors of static objects may register libraries.
Registry& registry() {
    static Registry instance;
    return instance;
}

auto findIn(std::vector<Registered>& libraries, const String& name) {
    return std::find_if(libraries.begin(), libraries.end(),
                        [&](const Registered& library) { return library.name == name; });
}

} // namespace

bool registerLibrary(String name, kelvo_sdk::LibraryEntryPoint entry) {
    if (name.isEmpty() || !entry) return false;
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    if (findIn(all.libraries, name) != all.libraries.end()) return false;
    all.libraries.push_back({std::move(name), entry});
    return true;
}

bool unregisterLibrary(const String& name) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto found = findIn(all.libraries, name);
    if (found == all.libraries.end()) return false;
    all.libraries.erase(found);
    return true;
}

std::vector<Registered> registeredLibraries() {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    return all.libraries;
}

} // namespace qv::kelvo_plugins
