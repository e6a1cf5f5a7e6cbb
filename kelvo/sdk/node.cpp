#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk {

Input Node::operator[](String name) const {
    const interfaces::INode* node = get();
    return node ? Input(node->input(std::move(name))) : Input();
}

Input Node::input(u64 index) const {
    return get() ? Input(get()->input(index)) : Input();
}

Input Node::inputAt(String path) const {
    return get() ? Input(get()->parseInputPath(std::move(path))) : Input();
}

Input Node::createInput(String name, AttrType type) const {
    return get() ? Input(get()->createInput(std::move(name), type)) : Input();
}

Input Node::createArray(String name, AttrType elementType) const {
    return get() ? Input(get()->createArray(std::move(name), elementType)) : Input();
}

Output Node::output(String name) const {
    const interfaces::INode* node = get();
    return node ? Output(node->output(std::move(name))) : Output();
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

Output Node::createOutput(String name, AttrType type) const {
    return get() ? Output(get()->createOutput(std::move(name), type)) : Output();
}

} // namespace qv::kelvo_sdk
