#include "bench/support/graphs.h"

#include "bench/support/bench_node.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <vector>

namespace qv::bench {

using namespace kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;

namespace {

struct GraphNames {
    String xform{"xform"}, children{"children"}, matrix{"matrix"}, links{"links"}, out{"out"};
    String node{"n"};

    static const GraphNames& get() {
        static const GraphNames names;
        return names;
    }
};

INode* addTransform(const Scene& scene, IInput*& children) {
    const GraphNames& names = GraphNames::get();
    INode* node = scene->createNode(names.xform, names.node);
    children = node->createArray(names.children, AttrType::Node);
    return node;
}

bool evalFromInput(EvalCtx* ctx, void* out) {
    const INode* node = ctx->node();
    return node->input(BenchNames::get().f)->readReal(*static_cast<double*>(out), true, ctx);
}

// A type needs init and free callbacks for its set of callbacks to be complete.
bool initNothing(INode*, void**) {
    return true;
}

} // namespace

void buildTree(const Scene& scene, i64 count) {
    const GraphNames& names = GraphNames::get();
    math::Mat4d place = math::Mat4d::identity;
    std::vector<IInput*> lists;
    lists.reserve(static_cast<std::size_t>(count));
    for (i64 i = 0; i < count; ++i) {
        INode* node = scene->createNode(names.xform, names.node);
        place[3][2] = static_cast<double>(i);
        node->createInput(names.matrix, AttrType::Mat4)->setMat4(place);
        lists.push_back(node->createArray(names.children, AttrType::Node));
        if (i > 0) lists[static_cast<std::size_t>(treeParent(i))]->appendElement()->setNode(node);
    }
}

LevelChain::LevelChain(i64 count) {
    IInput* above = nullptr;
    for (i64 i = 0; i < count; ++i) {
        IInput* children = nullptr;
        INode* node = addTransform(scene, children);
        if (above) above->appendElement()->setNode(node);
        above = children;
    }
}

Fan::Fan(i64 children) {
    const GraphNames& names = GraphNames::get();
    IInput* list = nullptr;
    addTransform(scene, list);
    for (i64 i = 0; i < children; ++i)
        list->appendElement()->setNode(scene->createNode(names.xform, names.node));
}

Diamonds::Diamonds(i64 count) {
    IInput* above = nullptr;
    addTransform(scene, above);
    for (i64 i = 0; i < count; ++i) {
        IInput* left = nullptr;
        IInput* right = nullptr;
        IInput* below = nullptr;
        above->appendElement()->setNode(addTransform(scene, left));
        above->appendElement()->setNode(addTransform(scene, right));
        INode* bottom = addTransform(scene, below);
        left->appendElement()->setNode(bottom);
        right->appendElement()->setNode(bottom);
        above = below;
    }
}

void ConnectedChain::connectNodes(i64 count, bool tenInputs) {
    const BenchNames& names = BenchNames::get();
    const GraphNames& graphNames = GraphNames::get();
    IOutput* before = nullptr;
    for (i64 i = 0; i < count; ++i) {
        INode* node = scene->createNode(names.type, graphNames.node);
        if (tenInputs) addTenInputs(*node, static_cast<int>(i));
        IInput* input = node->createInput(names.f, AttrType::Real);
        if (before) input->connect(before);
        before = node->createOutput(graphNames.out, AttrType::Real);
    }
}

void ConnectedChain::clean() const {
    for (u64 i = 0; i < count(); ++i)
        node(i)->setDirty(false);
}

IInput* ConnectedChain::head() const {
    return first()->input(BenchNames::get().f);
}

IInput* ConnectedChain::tail() const {
    return last()->input(BenchNames::get().f);
}

EvaluatedChain::EvaluatedChain(i64 count) : ConnectedChain(count) {
    const auto library = RefersTo<impl::LibInfo>::adopt(new impl::LibInfo);
    library->setCallbacks(BenchNames::get().type,
                          {initNothing, nullptr, evalFromInput, nullptr, initNothing, nullptr});
    for (u64 i = 0; i < this->count(); ++i)
        static_cast<impl::Node*>(node(i))->initLibInfo(library.get());
}

WideNode::WideNode(i64 links) {
    const GraphNames& names = GraphNames::get();
    const BenchNames& benchNames = BenchNames::get();
    IInput* list =
        scene->createNode(benchNames.type, names.node)->createArray(names.links, AttrType::Node);
    for (i64 i = 0; i < links; ++i)
        list->appendElement()->setNode(scene->createNode(benchNames.type, names.node));
}

} // namespace qv::bench
