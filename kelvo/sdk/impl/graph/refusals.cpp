#include "kelvo/sdk/impl/graph/refusals.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/impl/value/value_refusal.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include "kelvo/base/log.h"
#include "kelvo/base/spelling_suggestion.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Writes a value that did not convert, in the form in which the caller would write it.
void writeGiven(const Value& value, StringIO& out) {
    if (value.type() == AttrType::String)
        out.append('\'').append(value.asString().view()).append('\'');
    else if (value.type() == AttrType::Buffer)
        out.append("a buffer of ").append(dataTypeName(value.asBuffer().type()));
    else if (value.type() == AttrType::Node)
        out.append("a node");
    else
        writeValue(value, out);
}

// Tells which form of value the input takes, for a value of another form.
String formRefusal(const Input& input, const Value& value) {
    StringIO out;
    out.append("Cannot set '").append(input.path().view()).append("': ");
    writeGiven(value, out);
    out.append(" is no value of kind ").append(input.typeName().view()).append(": expected ");
    return out.append(attrTypeForm(input.type())).append('.').take();
}

String unknownNode(const Input& input, const Scene* scene, const String& name) {
    SpellingSuggestion near(name.view());
    if (scene) scene->forEachNode([&](const INode* node) { near.offer(node->name().view()); });
    return "Cannot link '" + input.path() + "': no node '" + name + "'" + near.question();
}

// Returns the refusal of a text that names a node of the scene, or no node.
String linkTextRefusal(const Input& input, const String& name) {
    if (name.isEmpty()) return storeRefusal(input, Value(static_cast<INode*>(nullptr)));
    auto* scene = implOf(input.node() ? input.node()->scene() : nullptr);
    INode* node = scene ? scene->findNode(name) : nullptr;
    return node ? storeRefusal(input, Value(node)) : unknownNode(input, scene, name);
}

} // namespace

String nameRefusal(const String& name, const char* what) {
    return String::format("Cannot use '%s' as a node's %s: it is no simple identifier.", name.buf(),
                          what);
}

bool checkNodeName(const String& name, const char* what) {
    if (name.isSimpleCID()) return true;
    logError("%s", nameRefusal(name, what).buf());
    return false;
}

String abstractCreation(const String& type, const String& name) {
    return String::format("Cannot create node '%s': its type '%s' is abstract.", name.buf(),
                          type.buf());
}

String abstractConversion(const INode& node, const String& type) {
    return String::format("Cannot convert node '%s': type '%s' is abstract.", node.name().buf(),
                          type.buf());
}

String changeRefusal(const Input& input) {
    return String::format("Cannot change input '%s': it is read-only.", input.path().buf());
}

String parentRefusal(const INode& node, const INode& parent, const char* bar) {
    return String::format("Cannot parent node '%s' to node '%s': %s.", node.name().buf(),
                          parent.name().buf(), bar);
}

String storeRefusal(const Input& input, const Value& value) {
    const INode* node = value.type() == AttrType::Node ? value.asNode() : nullptr;
    if (const char* bar = barBetween(input.node(), node))
        return String::format("Cannot link input '%s' to node '%s': %s.", input.path().buf(),
                              node->name().buf(), bar);
    if (input.isReadOnly())
        return String::format("Cannot set input '%s': it is read-only.", input.path().buf());
    const AttrDetails* details = input.details();
    if (!details || details->accepts(value)) return {};
    return String::format("Cannot set input '%s' to '%s': the value %s", input.path().buf(),
                          valueToText(value).buf(), refusalReason(*details, value).buf());
}

String valueRefusal(const Input& input, const Value& value) {
    const AttrType own = input.type();
    const bool isText = value.type() == AttrType::String;
    if (own == AttrType::Array || own == AttrType::Object || own == AttrType::Null)
        return "'" + input.path() + "' is of kind " + input.typeName() + ", which takes no value" +
               (own == AttrType::Null ? "." : ": set what it holds.");
    if (own == AttrType::Node && isText) return linkTextRefusal(input, value.asString());
    if (own == AttrType::Buffer && value.type() == own) {
        const DataType declared = input.dataType();
        const bool isTaken = declared == DataType::Null || declared == value.asBuffer().type();
        return isTaken ? storeRefusal(input, value) : formRefusal(input, value);
    }
    Value taken = value;
    const bool isRead = isText && own != AttrType::String
                            ? valueFromText(value.asString(), own, input.dataType(), taken)
                            : value.type() == own || convertValue(value, own, taken);
    return isRead ? storeRefusal(input, taken) : formRefusal(input, value);
}

} // namespace qv::kelvo_sdk::impl
