// The operations of scenes, nodes, inputs and outputs.
#include "tests/laws/oom_world.h"

namespace qv::tests {

namespace {

const std::vector<OomEdit> kEdits = {
    {"look-up: findNode", [](OomWorld& w) { w.name = "a"; },
     [](OomWorld& w) { return bool(w.scene().findNode(w.name)); }},
};

} // namespace

const std::vector<OomEdit>& oomCoreEdits() {
    return kEdits;
}

} // namespace qv::tests
