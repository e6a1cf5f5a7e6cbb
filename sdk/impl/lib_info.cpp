#include "sdk/impl/lib_info.h"

namespace qv::kelvo_sdk::impl {

using namespace interfaces;

void LibInfo::incRef() {
    m_refCount.fetch_add(1);
}

void LibInfo::decRef() {
    if (m_refCount.fetch_sub(1) == 1) delete this;
}

void LibInfo::setCallbacks(String type, const NodeCallbacks& callbacks) {
    m_callbacks.insert_or_assign(std::move(type), callbacks);
}

NodeInitFn LibInfo::nodeInit(String type) const {
    return callbacks(type).init;
}

NodePrepFn LibInfo::nodePrep(String type) const {
    return callbacks(type).prep;
}

NodeEvalFn LibInfo::nodeEval(String type) const {
    return callbacks(type).eval;
}

NodeModifyFn LibInfo::nodeModify(String type) const {
    return callbacks(type).modify;
}

NodeFreeFn LibInfo::nodeFree(String type) const {
    return callbacks(type).free;
}

NodeChangedFn LibInfo::nodeChanged(String type) const {
    return callbacks(type).changed;
}

const NodeCallbacks& LibInfo::callbacks(const String& type) const noexcept {
    static constexpr NodeCallbacks none;
    const auto found = m_callbacks.find(type);
    return found == m_callbacks.end() ? none : found->second;
}

} // namespace qv::kelvo_sdk::impl
