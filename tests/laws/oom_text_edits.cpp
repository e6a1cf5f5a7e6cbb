// The operations that read and write texts.
#include "tests/laws/oom_world.h"

namespace qv::tests {

namespace {

const std::vector<OomEdit> kEdits = {};

} // namespace

const std::vector<OomEdit>& oomTextEdits() {
    return kEdits;
}

} // namespace qv::tests
