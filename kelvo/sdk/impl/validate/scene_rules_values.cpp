// ---- Values ----------------------------------------------------------------------------
// Values against their annotations, and names that hide others.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/impl/value/value_refusal.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Moves a value into a bound of the same kind: a component beyond the bound becomes the bound.
Value bounded(const Value& value, const Value& bound, bool isMinimum) {
    if (bound.type() != value.type()) return value;
    const auto nearer = [isMinimum](auto a, auto b) {
        return isMinimum ? std::max(a, b) : std::min(a, b);
    };
    if (value.type() == AttrType::Int) return Value(nearer(value.asInt(), bound.asInt()));
    if (value.type() == AttrType::UInt) return Value(nearer(value.asUInt(), bound.asUInt()));
    const u32 count = Value::components(value.type());
    if (count == 0) return value;
    std::vector<double> reals(value.reals(), value.reals() + count);
    for (u32 i = 0; i < count; ++i) {
        const double limit = bound.reals()[i];
        reals[i] = std::isnan(reals[i]) ? limit : nearer(reals[i], limit);
    }
    return Value::fromReals(value.type(), reals.data());
}

// Returns the choice with the most similar name, Null when none is similar.
Value nearChoice(const AttrDetails& details, const Value& value) {
    SpellingSuggestion near(value.asString().view());
    for (const Value& choice : details.choices)
        if (choice.type() == AttrType::String) near.offer(choice.asString().view());
    return near.best().empty() ? Value() : Value(String(near.best()));
}

// Returns NaN for a value that is not a single number.
double realOf(const Value& value) {
    switch (value.type()) {
    case AttrType::Int:
        return static_cast<double>(value.asInt());
    case AttrType::UInt:
        return static_cast<double>(value.asUInt());
    case AttrType::Real:
        return value.asReal();
    default:
        return std::numeric_limits<double>::quiet_NaN();
    }
}

// Returns the choice nearest to a number, the first of several; Null when no choice is a number.
Value nearNumber(const AttrDetails& details, const Value& value) {
    Value nearest;
    double least = std::numeric_limits<double>::infinity();
    for (const Value& choice : details.choices) {
        if (choice.type() != value.type() || !details.accepts(choice)) continue;
        const double distance = std::abs(realOf(choice) - realOf(value));
        if (!(distance < least)) continue;
        nearest = choice;
        least = distance;
    }
    return nearest;
}

// Returns the nearest allowed value; Null when no value is clearly meant.
Value nearestAllowed(const AttrDetails& details, const Value& value) {
    Value nearest = details.choices.empty()
                        ? bounded(bounded(value, details.minimum, true), details.maximum, false)
                    : value.type() == AttrType::String ? nearChoice(details, value)
                                                       : nearNumber(details, value);
    return details.accepts(nearest) ? nearest : Value();
}

} // namespace

template<typename Source>
void SceneRules<Source>::checkValues(Node node) {
    checkNames(node, m_source.inputsOf(node), {});
    AllInputs<Source> inputs(m_source.inputsOf(node));
    while (const Input input = inputs.next()) {
        if (input->details()) checkValue(node, input);
        if (input->type() == AttrType::Object) checkNames(node, m_source.partsOf(input), input);
    }
}

template<typename Source>
void SceneRules<Source>::checkValue(Node node, Input input) {
    if (input->type() == AttrType::Node) return;
    const AttrDetails& details = m_source.detailsOf(input);
    const Value value = input->ownValue();
    if (value.isNull() || details.accepts(value)) return;
    const Value nearest = m_source.isReadOnly(input) ? Value() : nearestAllowed(details, value);
    const String path = m_source.pathOf(input);
    add(Rule::OutOfRange, node, path,
        "input '" + path + "': the" + refusalOf(details, value).substr(3),
        nearest.isNull() ? Fix()
                         : m_source.setting("set it to " + valueToText(nearest), input, nearest));
}

template<typename Source>
void SceneRules<Source>::checkNames(Node node, Inputs list, Input parent) {
    for (u64 i = 0; i < list.size(); ++i) {
        const Input input = list[i];
        const String& name = input->ownName();
        const Input first = parent ? m_source.find(parent, name) : m_source.find(node, name);
        if (first == input) continue;
        const String path = m_source.pathOf(input);
        add(Rule::ShadowedInput, node, path,
            "input '" + path + "' (" + m_source.typeNameOf(input) + ") is never found by name: '" +
                first->ownName() + "' (" + m_source.typeNameOf(first) + ") is before it.");
    }
}

template void SceneRules<LiveSource>::checkValues(LiveSource::Node);
template void SceneRules<SnapshotSource>::checkValues(SnapshotSource::Node);

} // namespace qv::kelvo_sdk::impl
