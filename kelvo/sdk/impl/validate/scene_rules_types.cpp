// ---- Types -----------------------------------------------------------------------------
// Rules by which the scene's libraries describe its nodes; a scene without libraries may hold any.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/base/walk_all.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

template<typename AnyInput>
bool isOfKind(AnyInput input, const Input& definition) {
    if (input->type() != definition.type() || input->elementType() != definition.elementType())
        return false;
    const DataType declared = definition.declaredType();
    return declared == DataType::Null || input->declaredType() == declared;
}

template<typename AnyOutput>
bool isOfKind(AnyOutput output, const Output& definition) {
    return output->type() == definition.type() && output->dataType() == definition.dataType();
}

const String& nameOf(const IInput& input) {
    return implOf(input).ownName();
}
const String& nameOf(const interfaces::IOutput& output) {
    return implOf(output).ownName();
}

// Returns the declared kind, such as "Buffer<Pos3f>", not that of the present value.
template<typename AnyInput>
String kindOf(AnyInput input) {
    const String kind(attrTypeName(input->type()));
    if (input->type() == AttrType::Array)
        return kind + "<" + attrTypeName(input->elementType()) + ">";
    if (input->type() != AttrType::Buffer) return kind;
    return kind + "<" + dataTypeName(input->declaredType()) + ">";
}

// Shows only the start of a long value.
String shortened(const String& value) {
    constexpr u64 kMost = 60;
    return value.size() <= kMost ? value : value.substr(0, kMost) + "...";
}

} // namespace

template<typename Source>
void SceneRules<Source>::checkType(Node node) {
    const Scene& types = m_source.types();
    if (types.libraries().empty() && !m_options.needsTypes) return;
    const impl::Node* definition = types.findType(node->type());
    if (!definition) return checkUnknownType(node);
    if (definition->isAbstract())
        add(Rule::AbstractType, node, m_source.nameOf(node),
            "node '" + m_source.nameOf(node) + "' is of type '" + node->type() +
                "', which is only a base of others.");
    checkInputs(node, *definition);
    checkOutputs(node, *definition);
    checkUnknown(node, *definition);
}

template<typename Source>
void SceneRules<Source>::checkUnknownType(Node node) {
    const String& question = nearType(node->type());
    const bool isNear = question.find('?') != String::npos;
    add(isNear ? Rule::MisspelledType : Rule::UnknownType, node, m_source.nameOf(node),
        "node '" + m_source.nameOf(node) + "': no library knows its type '" + node->type() + "'" +
            (isNear ? question : String("; its inputs and outputs were not checked.")));
}

template<typename Source>
const String& SceneRules<Source>::nearType(const String& type) {
    const auto [known, isNew] = m_nearTypes.try_emplace(type);
    if (!isNew) return known->second;
    SpellingSuggestion near(type.view());
    // `near` keeps views of these names until it answers.
    const StringVector names = m_source.types().typeNames();
    for (u64 i = 0; i < names.size(); ++i)
        near.offer(names[i].view());
    return known->second = near.question();
}

// Skips "_meta", where users keep data that no type defines. Reports an unknown object once,
// without its members.
template<typename Source>
void SceneRules<Source>::checkUnknown(Node node, Definition definition) {
    struct Step {
        Input parent;
        const impl::Input* known;
    };
    walkAll(Step{{}, nullptr}, [&](const Step& step, const auto& add) {
        const auto& [parent, known] = step;
        const auto& candidates = known ? known->members() : definition.inputs();
        const Inputs inputs = parent ? m_source.partsOf(parent) : m_source.inputsOf(node);
        for (u64 i = 0; i < inputs.size(); ++i) {
            const Input input = inputs[i];
            const String& name = input->ownName();
            if (!parent && name == "_meta") continue;
            const IInput* found = known ? known->lookUpInput(name) : definition.lookUpInput(name);
            if (!found)
                addUnknown(node, "input", m_source.pathOf(input),
                           nearAttribute(definition, candidates, name));
            else if (input->type() == AttrType::Object && found->type() == AttrType::Object)
                add({input, implOf(found)});
        }
    });
    const auto outputs = m_source.outputsOf(node);
    for (u64 i = 0; i < outputs.size(); ++i) {
        const String& name = outputs[i]->ownName();
        if (!definition.lookUpOutput(name))
            addUnknown(node, "output", m_source.nameOf(node) + "." + name,
                       nearAttribute(definition, definition.outputs(), name));
    }
}

template<typename Source>
void SceneRules<Source>::addUnknown(Node node, const char* what, const String& path,
                                    const String& question) {
    const bool isNear = question.find('?') != String::npos;
    add(Rule::UnknownAttribute, node, path,
        String(what) + " '" + path + "': type '" + node->type() + "' does not define it" +
            (isNear ? question : String("; it was not checked.")));
}

template<typename Source>
template<typename Attributes>
const String& SceneRules<Source>::nearAttribute(Definition definition, const Attributes& known,
                                                const String& name) {
    const auto [place, isNew] = m_nearAttributes.try_emplace(definition.type() + "." + name);
    if (!isNew) return place->second;
    SpellingSuggestion near(name.view());
    for (const auto* next : known)
        near.offer(nameOf(*next).view());
    return place->second = near.question();
}

// Looks up the definition's inputs in the node, at any depth of objects.
template<typename Source>
void SceneRules<Source>::checkInputs(Node node, Definition definition) {
    struct Step {
        Input parent;
        const ds::Vector<IInput*>* known;
    };
    walkAll(Step{{}, &definition.inputs()}, [&](const Step& step, const auto& add) {
        for (const IInput* next : *step.known) {
            const auto& known = implOf(*next);
            const String& name = known.ownName();
            const Input found =
                step.parent ? m_source.find(step.parent, name) : m_source.find(node, name);
            if (!checkInput(node, step.parent, found, known)) continue;
            if (known.isObject()) add({found, &known.members()});
        }
    });
}

// Tells whether the input exists and has the right kind; adds a finding if not.
template<typename Source>
bool SceneRules<Source>::checkInput(Node node, Input parent, Input input, KnownInput definition) {
    if (!input) {
        const String path =
            (parent ? m_source.pathOf(parent) : m_source.nameOf(node)) + "." + definition.ownName();
        add(Rule::MissingInput, node, path,
            "input '" + path + "' is missing: type '" + node->type() + "' defines it.",
            m_source.addition("add it", definition, node, parent));
        return false;
    }
    if (isOfKind(input, definition)) {
        if (definition.isReadOnly()) checkReadOnly(node, input, definition);
        return true;
    }
    const String path = m_source.pathOf(input);
    add(Rule::OtherKind, node, path,
        "input '" + path + "' is of kind " + kindOf(input) + ": type '" + node->type() +
            "' defines " + kindOf(&definition) + ".");
    return false;
}

// Only a text can have changed such an input.
template<typename Source>
void SceneRules<Source>::checkReadOnly(Node node, Input input, KnownInput definition) {
    if (!m_source.isReadOnly(input) || m_source.hasSource(input)) return;
    const auto report = [&](const String& difference, Fix fix) {
        const String path = m_source.pathOf(input);
        add(Rule::ChangedReadOnly, node, path, "input '" + path + "' is read-only: " + difference,
            std::move(fix));
    };
    if (input->type() == AttrType::Array && m_source.hashOf(input) != definition.hashWith({}))
        return report("it holds other elements than type '" + node->type() + "' defines.", Fix());
    if (!m_source.hasOtherValue(input, definition)) return;
    const String known = shortened(LiveSource::shownValue(&definition));
    report("type '" + node->type() + "' defines " + known + ", not " +
               shortened(m_source.shownValue(input)) + ".",
           m_source.settingBack("set it to " + known, input, definition));
}

template<typename Source>
void SceneRules<Source>::checkOutputs(Node node, Definition definition) {
    for (const IOutput* next : definition.outputs()) {
        const auto& known = implOf(*next);
        const auto output = m_source.findOutput(node, known.ownName());
        const String path = m_source.nameOf(node) + "." + known.ownName();
        if (!output)
            add(Rule::MissingOutput, node, path,
                "output '" + path + "' is missing: type '" + node->type() + "' defines it.",
                m_source.addition("add it", known, node));
        else if (!isOfKind(output, known))
            add(Rule::OtherKind, node, path,
                "output '" + path + "' is of kind " + m_source.typeNameOf(output) + ": type '" +
                    node->type() + "' defines " + known.typeName() + ".");
    }
}

template void SceneRules<LiveSource>::checkType(LiveSource::Node);
template void SceneRules<SnapshotSource>::checkType(SnapshotSource::Node);

} // namespace qv::kelvo_sdk::impl
