// The handle on a node library; its extra functions need a library of this implementation.

#include "kelvo/sdk/lib_info.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk {

namespace {

// Returns null for an empty handle and for libraries of other classes, such as tables of callbacks.
impl::LibInfo* ours(const LibInfo& library) {
    return dynamic_cast<impl::LibInfo*>(library.get());
}

Result noDefinitions(const LibInfo& library) {
    if (!library) return impl::emptyHandle("library");
    return Result::failure("The library takes no definitions: expected one that `LibInfo::create` "
                           "made.");
}

Node handleOn(const impl::Node* prototype) {
    return Node(const_cast<impl::Node*>(prototype));
}

} // namespace

LibInfo LibInfo::create(String kndPath, std::shared_ptr<const void> needs) {
    const auto made =
        RefersTo<impl::LibInfo>::adopt(new impl::LibInfo(std::move(kndPath), std::move(needs)));
    return LibInfo(made.get());
}

Result LibInfo::readDefinitions(String text, String source, Diagnostics* found,
                                const LibInfo& basesFrom) const {
    impl::LibInfo* library = ours(*this);
    if (!library) return noDefinitions(*this);
    Diagnostics errors;
    if (library->readDefinitions(std::move(text), source, &errors, ours(basesFrom))) return {};
    const String first = errors[0].text();
    for (const Diagnostic& error : errors) {
        if (found)
            found->push_back(error);
        else
            logError("%s", error.text().buf());
    }
    return Result::failure(first);
}

String LibInfo::definitionText() const {
    const impl::LibInfo* library = ours(*this);
    return library ? library->definitionText() : String();
}

Result LibInfo::setCallbacks(String type, const NodeCallbacks& callbacks) const {
    impl::LibInfo* library = ours(*this);
    if (!library) return noDefinitions(*this);
    library->setCallbacks(std::move(type), callbacks);
    return {};
}

u64 LibInfo::typeCount() const {
    const impl::LibInfo* library = ours(*this);
    return library ? library->typeCount() : 0;
}

Node LibInfo::type(u64 index) const {
    const impl::LibInfo* library = ours(*this);
    return library ? handleOn(library->type(index)) : Node();
}

Node LibInfo::findType(String name) const {
    const impl::LibInfo* library = ours(*this);
    return library ? handleOn(library->findType(name)) : Node();
}

} // namespace qv::kelvo_sdk
