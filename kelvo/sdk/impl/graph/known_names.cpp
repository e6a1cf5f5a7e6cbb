#include "kelvo/sdk/impl/graph/known_names.h"

namespace qv::kelvo_sdk::impl {

const KnownNames& knownNames() {
    static const KnownNames& names = *new KnownNames;
    return names;
}

} // namespace qv::kelvo_sdk::impl
