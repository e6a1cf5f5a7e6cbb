#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk {

Input Node::input(u64 index) const {
    return get() ? Input(get()->input(index)) : Input();
}

Input Node::inputAt(String path) const {
    return get() ? Input(get()->parseInputPath(std::move(path))) : Input();
}

Output Node::output(u64 index) const {
    const interfaces::INode* node = get();
    return node ? Output(node->output(index)) : Output();
}

ds::Vector<Input> Node::inputs() const {
    ds::Vector<Input> all;
    for (u64 i = 0; i < inputCount(); ++i)
        all.push_back(input(i));
    return all;
}

ds::Vector<Output> Node::outputs() const {
    ds::Vector<Output> all;
    for (u64 i = 0; i < outputCount(); ++i)
        all.push_back(output(i));
    return all;
}

} // namespace qv::kelvo_sdk
