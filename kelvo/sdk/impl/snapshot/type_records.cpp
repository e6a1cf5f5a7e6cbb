#include "kelvo/sdk/impl/snapshot/type_records.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/record_maker.h"

namespace qv::kelvo_sdk::impl {

TypeRecords::~TypeRecords() {
    for (NodeRecord* record : m_all)
        record->end(record);
}

const NodeRecord* TypeRecords::find(const String& type, const Scene& scene, ShapeTable& shapes) {
    const Node* const definition = scene.findType(type);
    if (!definition) return nullptr;
    const std::lock_guard lock(m_mutex);
    const NodeRecord*& known = m_known[definition];
    if (known) return known;
    m_all.reserve(m_all.size() + 1);
    NodeRecord* const made = RecordMaker(scene, shapes).record(*definition, 0);
    m_all.push_back(made);
    known = made;
    return known;
}

const NodeRecord* TypeRecords::adopt(NewRecord definition) {
    const std::lock_guard lock(m_mutex);
    m_all.push_back(definition.get());
    return definition.release();
}

void TypeRecords::forget() noexcept {
    const std::lock_guard lock(m_mutex);
    m_known.clear();
}

} // namespace qv::kelvo_sdk::impl
