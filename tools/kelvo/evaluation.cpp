#include "tools/kelvo/evaluation.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "tools/kelvo/value_summary.h"

#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::impl::AttrData;
using kelvo_sdk::impl::Input;
using kelvo_sdk::impl::Output;
using kelvo_sdk::impl::Value;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

String whyNothingComes(const Output& source) {
    const INode* node = source.node();
    if (!node) return "the node of '" + source.name() + "' is gone";
    if (node->hasNodeEval()) return "the eval callback of '" + node->name() + "' gave none";
    return "'" + source.path() + "' has none, and its node no eval callback to produce one";
}

RefersTo<IInput> holderOf(const Value& value) {
    AttrData description(value.type());
    description.value = value;
    return RefersTo<IInput>::adopt(new Input(nullptr, nullptr, "value", description));
}

// The value that comes through a connection; empty, with the end of a sentence, where none does.
RefersTo<IInput> valueThrough(const IInput& input, String& error) {
    auto& source = static_cast<Output&>(*input.source());
    const Value given = source.evaluate(nullptr);
    if (given.isNull()) {
        error = whyNothingComes(source);
        return {};
    }
    if (given.type() == input.type()) return holderOf(given);
    Value value;
    if (convertValue(given, input.type(), value)) return holderOf(value);
    error = shortText(given) + " (" + source.typeName() + ") cannot become " + input.typeName();
    return {};
}

const Input& implOf(const IInput& input) {
    return static_cast<const Input&>(input);
}

} // namespace

bool isModified(const IInput& input) {
    return implOf(input).isModified() && *implOf(input).stashed() != implOf(input).value();
}

Evaluation evaluate(const IInput& input) {
    String error;
    const RefersTo<IInput> value = valueThrough(input, error);
    return value ? Evaluation{true, shortValue(*value)} : Evaluation{false, error};
}

Evaluation evaluateWhole(const IInput& input) {
    String error;
    const String text = wholeValue(input, [&error](const IInput& held) {
        return held.source() && error.isEmpty() ? valueThrough(held, error) : RefersTo<IInput>();
    });
    return error.isEmpty() ? Evaluation{true, text} : Evaluation{false, error};
}

Evaluation evaluate(IOutput& output) {
    auto& source = static_cast<Output&>(output);
    const Value given = source.evaluate(nullptr);
    if (given.isNull()) return {false, whyNothingComes(source)};
    return {true, wholeValue(*holderOf(given))};
}

// Without recursion: arrays and objects may lie in each other to any depth.
bool isHidden(const IInput& input) {
    std::vector<const IInput*> left{&input};
    while (!left.empty()) {
        const IInput* next = left.back();
        left.pop_back();
        if (next->source() || isModified(*next)) return true;
        for (u64 i = 0; i < next->inputCount(); ++i)
            left.push_back(next->input(i));
    }
    return false;
}

String storedValue(const IInput& input) {
    return wholeValue(input, [](const IInput& held) {
        return isModified(held) ? holderOf(*implOf(held).stashed()) : RefersTo<IInput>();
    });
}

String shortText(const Value& value) {
    return shortValue(*holderOf(value));
}

} // namespace qv::kelvo_tool
