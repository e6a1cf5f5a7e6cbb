#include "tools/kelvo/evaluation.h"

#include "sdk/impl/conversion.h"
#include "sdk/impl/input.h"
#include "sdk/impl/output.h"
#include "sdk/interfaces/i_node.h"
#include "sdk/interfaces/i_output.h"
#include "tools/kelvo/value_summary.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::impl::AttrData;
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

RefersTo<kelvo_sdk::impl::Input> holderOf(const Value& value) {
    AttrData description(value.type());
    description.value = value;
    using Input = kelvo_sdk::impl::Input;
    return RefersTo<Input>::adopt(new Input(nullptr, nullptr, "value", description));
}

} // namespace

Evaluation evaluate(const IInput& input) {
    auto& source = static_cast<Output&>(*input.source());
    if (!source.evaluate(nullptr)) return {false, whyNothingComes(source)};
    const Value& given = source.value();
    Value value;
    if (given.type() == input.type() || convertValue(given, input.type(), value))
        return {true, shortText(value.isNull() ? given : value)};
    return {false,
            shortText(given) + " (" + source.typeName() + ") cannot become " + input.typeName()};
}

Evaluation evaluate(IOutput& output) {
    auto& source = static_cast<Output&>(output);
    if (!source.evaluate(nullptr)) return {false, whyNothingComes(source)};
    return {true, wholeValue(*holderOf(source.value()).get())};
}

String shortText(const Value& value) {
    return shortValue(*holderOf(value).get());
}

} // namespace qv::kelvo_tool
