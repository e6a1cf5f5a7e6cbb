#include "kelvo/plugins/registry.h"

#include <algorithm>
#include <mutex>

namespace qv::kelvo_plugins {

using kelvo_sdk::Result;

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

Result registerLibrary(String name, kelvo_sdk::LibraryEntryPoint entry) {
    if (name.isEmpty())
        return Result::failure("A node library cannot be registered without a name.");
    if (!entry)
        return Result::failure("Node library '" + name +
                               "' cannot be registered: its entry is null.");
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    if (findIn(all.libraries, name) != all.libraries.end())
        return Result::failure("A node library '" + name + "' is registered already.");
    all.libraries.push_back({std::move(name), entry});
    return Result();
}

Result unregisterLibrary(const String& name) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto found = findIn(all.libraries, name);
    if (found == all.libraries.end())
        return Result::failure("No node library '" + name + "' is registered.");
    all.libraries.erase(found);
    return Result();
}

std::vector<Registered> registeredLibraries() {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    return all.libraries;
}

} // namespace qv::kelvo_plugins
