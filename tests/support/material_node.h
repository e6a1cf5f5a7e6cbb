#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"

#include <string>

namespace qv::tests {

/// A node with inputs of every shape, for tests of the paths to them.
struct MaterialNode {
    using IInput = kelvo_sdk::interfaces::IInput;
    using AttrType = kelvo_sdk::AttrType;

    MaterialNode() {
        node.setBases({"Shader", "Thing"}, false, false);
        array->appendElement()->createInput("m", AttrType::Int);
        array->appendElement();
        object->createInput("inner", AttrType::Object)->createInput("deep", AttrType::Int);
        grid->createArray("0", AttrType::Int);
    }

    /// Returns all inputs at any depth, with their kinds.
    [[nodiscard]] std::string inputs() const {
        std::string list;
        for (u64 i = 0; i < node.inputCount(); ++i)
            listPaths(*node.input(i), list);
        return list;
    }

    static void listPaths(IInput& input, std::string& out) {
        out += std::string(input.path().buf()) + ' ' + input.typeName().buf() + '\n';
        for (u64 i = 0; i < input.inputCount(); ++i)
            listPaths(*input.input(i), out);
    }

    kelvo_sdk::impl::Node node{nullptr, "Material", "mat1"};
    IInput* color = node.createInput("color", AttrType::Rgba);
    IInput* array = node.createArray("arr", AttrType::Object);
    IInput* object = node.createInput("obj", AttrType::Object);
    IInput* grid = node.createArray("grid", AttrType::Array);
};

/// Returns the path of an input, "none" of null.
[[nodiscard]] inline std::string pathOf(const kelvo_sdk::interfaces::IInput* input) {
    return input ? input->path().buf() : "none";
}

} // namespace qv::tests
