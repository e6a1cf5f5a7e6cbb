// ---- Libraries -------------------------------------------------------------------------
// A type is looked up in the libraries in the order in which they were added.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk {

u64 Scene::libraryCount() const {
    return get() ? impl::implOf(get())->libraries().size() : 0;
}

LibInfo Scene::library(u64 index) const {
    if (index >= libraryCount()) return LibInfo();
    return LibInfo(impl::implOf(get())->libraries()[index].get());
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// No other kind is ever added.
const LibInfo& ours(const RefersTo<interfaces::ILibInfo>& library) {
    return static_cast<const LibInfo&>(*library);
}

} // namespace

bool Scene::addLibrary(interfaces::ILibInfo* library) {
    const auto isAdded = [&](const auto& known) { return known.get() == library; };
    if (!dynamic_cast<LibInfo*>(library) || std::ranges::any_of(m_libraries, isAdded)) return false;
    m_libraries.emplace_back(library);
    return true;
}

void Scene::dropLibraries(u64 from) noexcept {
    m_libraries.resize(std::min<u64>(from, m_libraries.size()));
}

const Node* Scene::findType(const String& type) const noexcept {
    for (const auto& library : m_libraries)
        if (const Node* found = ours(library).findType(type)) return found;
    return nullptr;
}

StringVector Scene::typeNames() const {
    StringVector names;
    for (const auto& library : m_libraries)
        for (u64 i = 0; i < ours(library).typeCount(); ++i)
            names.push_back(ours(library).type(i)->type());
    return names;
}

} // namespace qv::kelvo_sdk::impl
