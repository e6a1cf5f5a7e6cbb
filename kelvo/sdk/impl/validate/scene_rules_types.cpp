// ---- Types -----------------------------------------------------------------------------
// Rules by which the scene's libraries describe its nodes; a scene without libraries may hold any.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/base/walk_all.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

bool isOfKind(const Input& input, const Input& definition) {
    if (input.type() != definition.type() || input.elementType() != definition.elementType())
        return false;
    const DataType declared = definition.declaredType();
    return declared == DataType::Null || input.declaredType() == declared;
}

bool isOfKind(const Output& output, const Output& definition) {
    return output.type() == definition.type() && output.dataType() == definition.dataType();
}

const String& nameOf(const IInput& input) {
    return implOf(input).ownName();
}
const String& nameOf(const interfaces::IOutput& output) {
    return implOf(output).ownName();
}

// Returns the declared kind, such as "Buffer<Pos3f>", not that of the present value.
String kindOf(const Input& input) {
    if (input.type() != AttrType::Buffer) return input.typeName();
    return String("Buffer<") + dataTypeName(input.declaredType()) + ">";
}

// Creates the definition's members, at any depth, in the new input `made`; without recursion.
void copyMembers(const Input& definition, Input& made) {
    walkAll(std::pair(&definition, &made), [](const auto& step, const auto& add) {
        for (const IInput* next : step.first->members()) {
            const auto& known = implOf(*next);
            auto* member = implOf(step.second->createInput(known.name(), known.description()));
            if (!member) continue;
            if (!known.value().isNull()) member->setValue(known.value());
            if (!known.members().empty()) add({&known, member});
        }
    });
}

// Casts const away for the reference count alone; the library is shared and must not change.
template<typename Attribute>
RefersTo<Attribute> hold(const Attribute& definition) {
    return RefersTo<Attribute>(const_cast<Attribute*>(&definition));
}

// Returns a fix that adds a copy of a definition to the node, or to an object of the node when
// `parent` is given.
RefersTo<FindingFix> additionOf(const Input& definition, Node& node, Input* parent) {
    return makeFix("add it", [known = hold(definition), held = RefersTo<Node>(&node),
                              inside = RefersTo<Input>(parent)] {
        const String name = known->name();
        if (inside ? inside->lookUpInput(name) : held->lookUpInput(name)) return false;
        IInput* made = inside ? inside->createInput(name, known->description())
                              : held->createInput(name, known->description());
        if (made) copyMembers(*known, implOf(*made));
        return made != nullptr;
    });
}

RefersTo<FindingFix> additionOf(const Output& definition, Node& node) {
    return makeFix("add it", [known = hold(definition), held = RefersTo<Node>(&node)] {
        if (held->lookUpOutput(known->ownName())) return false;
        if (known->type() == AttrType::Buffer)
            return held->createOutput(known->ownName(), known->dataType()) != nullptr;
        return held->createOutput(known->ownName(), known->type()) != nullptr;
    });
}

// Shows only the start of a long value.
String shown(const Value& value) {
    constexpr u64 kMost = 60;
    StringIO text;
    writeValue(value, text);
    return text.size() <= kMost ? text.take() : text.take().substr(0, kMost) + "...";
}

RefersTo<FindingFix> settingBack(Input& input, const Input& definition) {
    return makeFix("set it to " + shown(definition.value()),
                   [held = RefersTo<Input>(&input), known = hold(definition)] {
                       return held->node() && held->setReadOnlyValue(known->value());
                   });
}

} // namespace

void SceneRules::checkType(Node& node) {
    if (m_scene.libraries().empty() && !m_options.needsTypes) return;
    const Node* definition = m_scene.findType(node.type());
    if (!definition) return checkUnknownType(node);
    if (definition->isAbstract())
        add(Rule::AbstractType, &node, node.name(),
            "node '" + node.name() + "' is of type '" + node.type() +
                "', which is only a base of others.");
    checkInputs(node, *definition);
    checkOutputs(node, *definition);
    checkUnknown(node, *definition);
}

void SceneRules::checkUnknownType(Node& node) {
    const String& question = nearType(node.type());
    const bool isNear = question.find('?') != String::npos;
    add(isNear ? Rule::MisspelledType : Rule::UnknownType, &node, node.name(),
        "node '" + node.name() + "': no library knows its type '" + node.type() + "'" +
            (isNear ? question : String("; its inputs and outputs were not checked.")));
}

const String& SceneRules::nearType(const String& type) {
    const auto [known, isNew] = m_nearTypes.try_emplace(type);
    if (!isNew) return known->second;
    SpellingSuggestion near(type.view());
    // `near` keeps views of these names until it answers.
    const StringVector names = m_scene.typeNames();
    for (u64 i = 0; i < names.size(); ++i)
        near.offer(names[i].view());
    return known->second = near.question();
}

// Skips "_meta", where users keep data that no type defines. Reports an unknown object once,
// without its members.
void SceneRules::checkUnknown(Node& node, const Node& definition) {
    struct Step {
        const Input* parent;
        const Input* known;
    };
    walkAll(Step{nullptr, nullptr}, [&](const Step& step, const auto& add) {
        const auto [parent, known] = step;
        const auto& candidates = known ? known->members() : definition.inputs();
        for (const IInput* next : parent ? parent->members() : node.inputs()) {
            const auto& input = implOf(*next);
            const String& name = input.ownName();
            if (!parent && name == "_meta") continue;
            const IInput* found = known ? known->lookUpInput(name) : definition.lookUpInput(name);
            if (!found)
                addUnknown(node, "input", input.path(),
                           nearAttribute(definition, candidates, name));
            else if (input.isObject() && found->type() == AttrType::Object)
                add({&input, implOf(found)});
        }
    });
    for (const IOutput* next : node.outputs()) {
        const String& name = implOf(next)->ownName();
        if (!definition.lookUpOutput(name))
            addUnknown(node, "output", node.name() + "." + name,
                       nearAttribute(definition, definition.outputs(), name));
    }
}

void SceneRules::addUnknown(Node& node, const char* what, const String& path,
                            const String& question) {
    const bool isNear = question.find('?') != String::npos;
    add(Rule::UnknownAttribute, &node, path,
        String(what) + " '" + path + "': type '" + node.type() + "' does not define it" +
            (isNear ? question : String("; it was not checked.")));
}

template<typename Attributes>
const String& SceneRules::nearAttribute(const Node& definition, const Attributes& known,
                                        const String& name) {
    const auto [place, isNew] = m_nearAttributes.try_emplace(definition.type() + "." + name);
    if (!isNew) return place->second;
    SpellingSuggestion near(name.view());
    for (const auto* next : known)
        near.offer(nameOf(*next).view());
    return place->second = near.question();
}

// Looks up the definition's inputs in the node, at any depth of objects.
void SceneRules::checkInputs(Node& node, const Node& definition) {
    struct Step {
        Input* parent;
        const ds::Vector<IInput*>* known;
    };
    walkAll(Step{nullptr, &definition.inputs()}, [&](const Step& step, const auto& add) {
        for (const IInput* next : *step.known) {
            const auto& known = implOf(*next);
            const String& name = known.ownName();
            IInput* found = step.parent ? step.parent->lookUpInput(name) : node.lookUpInput(name);
            if (!checkInput(node, step.parent, implOf(found), known)) continue;
            if (known.isObject()) add({implOf(found), &known.members()});
        }
    });
}

// Tells whether the input exists and has the right kind; adds a finding if not.
bool SceneRules::checkInput(Node& node, Input* parent, Input* input, const Input& definition) {
    if (!input) {
        const String path = (parent ? parent->path() : node.name()) + "." + definition.ownName();
        add(Rule::MissingInput, &node, path,
            "input '" + path + "' is missing: type '" + node.type() + "' defines it.",
            additionOf(definition, node, parent));
        return false;
    }
    if (isOfKind(*input, definition)) {
        checkReadOnly(node, *input, definition);
        return true;
    }
    add(Rule::OtherKind, &node, input->path(),
        "input '" + input->path() + "' is of kind " + kindOf(*input) + ": type '" + node.type() +
            "' defines " + kindOf(definition) + ".");
    return false;
}

// Only a text can have changed such an input.
void SceneRules::checkReadOnly(Node& node, Input& input, const Input& definition) {
    if (!definition.isReadOnly() || !input.isReadOnly() || input.source()) return;
    if (input.type() == AttrType::Array && input.hashWith({}) != definition.hashWith({}))
        return add(Rule::ChangedReadOnly, &node, input.path(),
                   "input '" + input.path() +
                       "' is read-only: it holds other elements than type '" + node.type() +
                       "' defines.");
    const Value& value = input.ownValue();
    if (value.isNull() || value == definition.value()) return;
    add(Rule::ChangedReadOnly, &node, input.path(),
        "input '" + input.path() + "' is read-only: type '" + node.type() + "' defines " +
            shown(definition.value()) + ", not " + shown(value) + ".",
        settingBack(input, definition));
}

void SceneRules::checkOutputs(Node& node, const Node& definition) {
    for (const IOutput* next : definition.outputs()) {
        const auto& known = implOf(*next);
        const auto* output = implOf(node.lookUpOutput(known.ownName()));
        const String path = node.name() + "." + known.ownName();
        if (!output)
            add(Rule::MissingOutput, &node, path,
                "output '" + path + "' is missing: type '" + node.type() + "' defines it.",
                additionOf(known, node));
        else if (!isOfKind(*output, known))
            add(Rule::OtherKind, &node, path,
                "output '" + path + "' is of kind " + output->typeName() + ": type '" +
                    node.type() + "' defines " + known.typeName() + ".");
    }
}

} // namespace qv::kelvo_sdk::impl
