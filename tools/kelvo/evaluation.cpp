#include "tools/kelvo/evaluation.h"

#include "kelvo/sdk/node.h"
#include "kelvo/sdk/value_text.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/value_summary.h"

#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Input;
using kelvo_sdk::Output;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

String whyNothingComes(const Output& source) {
    const INode* node = source.node();
    if (!node) return "the node of '" + source.name() + "' is gone";
    if (node->hasNodeEval()) return "the eval callback of '" + node->name() + "' gave none";
    return "'" + source.path() + "' has none, and its node no eval callback to produce one";
}

// Returns the value that the input gets through its connection; if none, returns an empty handle
// and puts the end of a sentence into `error`.
Input valueThrough(const Input& input, String& error) {
    const Output source = input.source();
    const Input result = source.evaluate();
    if (!result) {
        error = whyNothingComes(source);
        return Input();
    }
    if (result.type() == input.type()) return result;
    const Input value = Input::create(input.type());
    if (value.copyValue(result)) return value;
    error = shortValue(*result) + " (" + source.typeName() + ") cannot become " + input.typeName();
    return Input();
}

} // namespace

Evaluation evaluate(const Input& input) {
    String error;
    const Input value = valueThrough(input, error);
    return value ? Evaluation{true, shortValue(*value)} : Evaluation{false, error};
}

Evaluation evaluateWhole(const Input& input) {
    String error;
    const String text = kelvo_sdk::valueText(input, [&error](const Input& held) {
        return held.source() && error.isEmpty() ? valueThrough(held, error) : Input();
    });
    return error.isEmpty() ? Evaluation{true, text} : Evaluation{false, error};
}

Evaluation evaluate(const Output& output) {
    const Input result = output.evaluate();
    if (!result) return {false, whyNothingComes(output)};
    return {true, kelvo_sdk::valueText(result)};
}

// Works without recursion: arrays and objects may be nested to any depth.
bool isHidden(const Input& input) {
    std::vector<const IInput*> left{input.get()};
    while (!left.empty()) {
        const IInput* next = left.back();
        left.pop_back();
        if (next->source() || handleOn(*next).isModified()) return true;
        for (u64 i = 0; i < next->inputCount(); ++i)
            left.push_back(next->input(i));
    }
    return false;
}

String storedValue(const Input& input) {
    return kelvo_sdk::valueText(
        input, [](const Input& held) { return held.isModified() ? held.keptValue() : Input(); });
}

} // namespace qv::kelvo_tool
