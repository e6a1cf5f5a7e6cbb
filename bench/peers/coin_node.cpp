#include "bench/peers/coin_node.h"

#include "bench/support/workload.h"

#include <Inventor/nodes/SoTransform.h>

#include <string>

namespace qv::bench {

SO_NODE_SOURCE(TenFields);

void TenFields::initClass() {
    SO_NODE_INIT_CLASS(TenFields, SoNode, "Node");
}

TenFields::TenFields() {
    SO_NODE_CONSTRUCTOR(TenFields);
    SO_NODE_ADD_FIELD(b, (TRUE));
    SO_NODE_ADD_FIELD(i, (1));
    SO_NODE_ADD_FIELD(f, (1.5f));
    SO_NODE_ADD_FIELD(d, (2.5));
    SO_NODE_ADD_FIELD(s, ("text"));
    SO_NODE_ADD_FIELD(v2, (SbVec2f(1, 2)));
    SO_NODE_ADD_FIELD(v3, (SbVec3f(1, 2, 3)));
    SO_NODE_ADD_FIELD(v4, (SbVec4f(1, 2, 3, 4)));
    SO_NODE_ADD_FIELD(m, (SbMatrix::identity()));
    SO_NODE_ADD_EMPTY_MFIELD(a);
}

void TenFields::fill(int k) {
    static const float array[] = {0.5f, 1.5f, 2.5f, 3.5f};
    const auto x = static_cast<float>(k);
    b = FALSE;
    i = k;
    f = 0.1f * x;
    d = 0.1 * k;
    s = "some text value";
    v2 = SbVec2f(0.1f, x);
    v3 = SbVec3f(0.1f, 0.2f, x);
    v4 = SbVec4f(0.1f, 0.2f, 0.3f, x);
    m = SbMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.1f, 0.2f, x, 1);
    a.setValues(0, 4, array);
}

WideFields::WideFields(int count) : m_fields(new SoSFFloat[static_cast<std::size_t>(count)]) {
    for (int k = 0; k < count; ++k) {
        m_fields[k].setContainer(this);
        m_data.addField(this, ("attribute" + std::to_string(k)).c_str(), &m_fields[k]);
    }
}

FieldChain::FieldChain(std::int64_t count) {
    for (std::int64_t k = 0; k < count; ++k) {
        auto* node = new TenFields;
        node->ref();
        node->fill(static_cast<int>(k));
        if (k > 0) node->f.connectFrom(&tail());
        m_nodes.push_back(node);
    }
}

// Takes the chain apart from its end, because Coin ends connected fields by recursion.
FieldChain::~FieldChain() {
    for (auto node = m_nodes.rbegin(); node != m_nodes.rend(); ++node) {
        (*node)->f.disconnect();
        (*node)->unref();
    }
}

std::vector<SoSeparator*> makeTree(std::int64_t count) {
    std::vector<SoSeparator*> nodes;
    nodes.reserve(static_cast<std::size_t>(count));
    for (std::int64_t k = 0; k < count; ++k) {
        auto* node = new SoSeparator;
        auto* transform = new SoTransform;
        transform->translation.setValue(1.f, 2.f, static_cast<float>(k));
        node->addChild(transform);
        if (k > 0) nodes[static_cast<std::size_t>(treeParent(k))]->addChild(node);
        nodes.push_back(node);
    }
    return nodes;
}

} // namespace qv::bench
