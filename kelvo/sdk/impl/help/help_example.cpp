// Writes the example of a help page: a node of the type in scene text, with typical values.

#include "kelvo/sdk/help.h"

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/interfaces/i_node.h"

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u64 mostUnits = 400;
constexpr u64 mostBytes = 2000;
constexpr u64 mostLevels = 16;
constexpr u64 typicalInputs = 4;

// Estimates how many values an input holds directly; a text counts by its length.
u64 sizeOf(const IInput& input) {
    const Value& value = implOf(input).value();
    if (value.type() == AttrType::String) return 1 + value.asString().size() / 8;
    return value.type() == AttrType::Buffer ? 1 + value.asBuffer().count() : 1;
}

// Tells whether the text of a node would be short, without writing the text.
bool isSmall(const INode& node) {
    InputWalk walk(implOf(node).inputs());
    u64 units = 0;
    while (const Input* input = walk.next()) {
        if (!input->isDefault()) units += sizeOf(*input);
        if (units > mostUnits || walk.depth() >= mostLevels) return false;
    }
    return true;
}

bool hasChanges(const INode& node) {
    for (u64 i = 0; i < node.inputCount(); ++i)
        if (!node.input(i)->isDefault()) return true;
    return false;
}

bool isTypical(const Input& input) {
    switch (input.type()) {
    case AttrType::Null:
    case AttrType::Node:
    case AttrType::Buffer:
    case AttrType::Array:
    case AttrType::Object:
        return false;
    default:
        return !input.isReadOnly() && sizeOf(input) < 20;
    }
}

// A value other than the default shows the range of possible values better.
Value typicalValue(const Input& input) {
    const AttrDetails* details = input.details();
    if (input.type() == AttrType::Bool) return !input.value().asBool();
    if (!details || details->choices.empty()) return input.value();
    const Value& last = details->choices.back();
    return last.type() == input.type() ? last : input.value();
}

bool saysNothing(const Value& value) {
    return value.type() == AttrType::String && value.asString().isEmpty();
}

void appendType(const String& type, StringIO& out) {
    if (type.isSimpleCID())
        out.append(type.view());
    else
        writeQuoted(type.view(), out);
}

String nodeName(const INode& node) {
    const String name = node.name();
    return name.isEmpty() ? node.type() + "1" : name;
}

String typicalExample(const INode& node) {
    StringIO out;
    out.append("node ");
    appendType(node.type(), out);
    out.append(' ');
    writeQuoted(nodeName(node).view(), out);
    out.append(" {\n");
    u64 written = 0;
    for (u64 i = 0; i < node.inputCount() && written < typicalInputs; ++i) {
        const auto& input = implOf(*node.input(i));
        if (!isTypical(input) || saysNothing(typicalValue(input))) continue;
        out.append("    ").append(attrTypeName(input.type())).append(' ');
        out.append(input.ownName().view()).append(" = ");
        writeValue(typicalValue(input), out);
        out.append('\n');
        ++written;
    }
    out.append("}\n");
    return out.take();
}

String exampleOf(const INode& node) {
    if (hasChanges(node) && isSmall(node)) {
        String text = node.serialize(false, true);
        if (text.size() <= mostBytes) return text;
    }
    return typicalExample(node);
}

} // namespace
} // namespace qv::kelvo_sdk::impl

namespace qv::kelvo_sdk {

String helpExample(const Node& type) {
    return type ? impl::exampleOf(*type) : String();
}

} // namespace qv::kelvo_sdk
