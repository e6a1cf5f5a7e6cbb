// Callbacks of the standard modifiers, which override, scale and offset inputs.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/log.h"

#include <cmath>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

using interfaces::INode;

// Reads an input of a modifier; false when the input is missing (logged) or cannot be read.
template<typename T>
bool readSetting(const INode& modifier, const String& name, T& out) {
    const kelvo_sdk::Input input(modifier.input(name));
    return input.read(out);
}

// Returns the inputs, at any depth, that a modifier names; these keep their values aside for it.
std::vector<kelvo_sdk::Input> namedInputs(const StringVector& names, const INode& node) {
    std::vector<kelvo_sdk::Input> found;
    InputWalk walk(implOf(node).inputs());
    while (Input* next = walk.next())
        if (names.contains(next->name(), true)) found.emplace_back(next);
    return found;
}

// Writes to each named input; a refused write does not stop the others.
template<typename Write>
bool modifyInputs(const INode& modifier, const INode& node, const Write& write) {
    bool isEnabled = false;
    String names;
    if (!readSetting(modifier, standardNames().enabled, isEnabled)) return false;
    const kelvo_sdk::Input modifies(modifier.input(knownNames().modifies));
    if (!modifies) return false;
    if (!isEnabled) return true;
    names = modifies.asString(false, nullptr);
    bool done = true;
    const auto* scene = node.scene();
    for (const kelvo_sdk::Input& input : namedInputs(names.split(',', true, false), node)) {
        // Observers of a write may remove other inputs; writing to those would spoil their undo.
        if (input.node() != &node || node.scene() != scene || write(input)) continue;
        logWarning("Modifier '%s' cannot change input '%s'.", modifier.name().buf(),
                   input.path().buf());
        done = false;
    }
    return done;
}

bool overrideValue(INode* node, INode* other) {
    String text;
    if (!node || !other || !readSetting(*node, standardNames().value, text)) return false;
    return modifyInputs(*node, *other,
                        [&](const kelvo_sdk::Input& input) { return input.setString(text); });
}

// Rounds the result for kinds of whole numbers.
Value rounded(AttrType type, double number) {
    const double whole = std::round(number);
    Value result;
    if (type == AttrType::Int && std::fabs(whole) < 9.0e18) result = static_cast<i64>(whole);
    if (type == AttrType::UInt && whole >= 0.0 && whole < 1.8e19) result = static_cast<u64>(whole);
    return result;
}

template<typename Change>
Value changedWhole(const Value& value, const Change& change) {
    const bool isSigned = value.type() == AttrType::Int;
    const double number =
        isSigned ? static_cast<double>(value.asInt()) : static_cast<double>(value.asUInt());
    return rounded(value.type(), change(number));
}

// Changes a number, or each component of a vector, position or colour except opacity. Null for
// other kinds.
template<typename Change>
Value changedNumber(const Value& value, const Change& change) {
    const AttrType type = value.type();
    if (type == AttrType::Int || type == AttrType::UInt) return changedWhole(value, change);
    if (type < AttrType::Real || type > AttrType::Rgba || type == AttrType::Quat) return {};
    double parts[4];
    for (u64 i = 0; i < Value::components(type); ++i)
        parts[i] = i == 3 && type == AttrType::Rgba ? value.reals()[i] : change(value.reals()[i]);
    return Value::fromReals(type, parts);
}

template<typename Change>
bool changeNumbers(const INode& modifier, const INode& other, const Change& change) {
    return modifyInputs(modifier, other, [&](const kelvo_sdk::Input& input) {
        auto& target = implOf(*input.get());
        return target.setValue(changedNumber(target.value(), change));
    });
}

bool scaleValue(INode* node, INode* other) {
    double factor = 1.0;
    if (!node || !other || !readSetting(*node, standardNames().factor, factor)) return false;
    return changeNumbers(*node, *other, [factor](double number) { return number * factor; });
}

bool offsetValue(INode* node, INode* other) {
    double amount = 0.0;
    if (!node || !other || !readSetting(*node, standardNames().amount, amount)) return false;
    return changeNumbers(*node, *other, [amount](double number) { return number + amount; });
}

void addModifier(LibInfo& library, const char* type, interfaces::NodeModifyFn modify) {
    interfaces::NodeCallbacks callbacks;
    callbacks.modify = modify;
    library.setCallbacks(type, callbacks);
}

} // namespace

void addModifierCallbacks(LibInfo& library) {
    addModifier(library, "overrideModifier", overrideValue);
    addModifier(library, "scaleModifier", scaleValue);
    addModifier(library, "offsetModifier", offsetValue);
}

} // namespace qv::kelvo_sdk::impl
