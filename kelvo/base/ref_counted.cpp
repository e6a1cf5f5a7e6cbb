#include "kelvo/base/ref_counted.h"

namespace qv {

RefCounted::~RefCounted() = default;

void RefCounted::incRef() {
    m_refCount.fetch_add(1, std::memory_order_relaxed);
}

void RefCounted::decRef() {
    if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

} // namespace qv
