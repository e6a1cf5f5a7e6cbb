#pragma once

#include "kelvo/base/hash_map.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/value/value.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

/// The description of an attribute by its definition, beyond its kind; shared by all inputs made
/// from it.
class AttrDetails final : public RefCounted {
public:
    /// Text by language.
    using Texts = ds::Vector<std::pair<String, String>>;

    /// The value that `reset` brings back; Null means the kind's zero value.
    Value defaultValue;
    /// Writes outside are refused; Null means no bound. Tuples are bounded component by component.
    Value minimum;
    Value maximum;
    /// Writes of anything else are refused; empty means that any value will do.
    ds::Vector<Value> choices;
    /// Tells whether a write of this value, of the attribute's kind, is allowed. Bounds of another
    /// kind do not count.
    [[nodiscard]] bool accepts(const Value& value) const;

    /// Tells whether one of the values is the node.
    [[nodiscard]] bool names(const interfaces::INode& node) const noexcept;
    /// Returns a copy in which no value is the node: null, and no choice.
    [[nodiscard]] RefersTo<AttrDetails> without(const interfaces::INode& node) const;

    String unit;
    Texts labels;
    Texts helps;
};

/// Description of an attribute: what an input is made from, and, in change notifications, what the
/// input held before.
struct QV_EXPORT AttrData {
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// Element type that a Buffer declares; Null lets it take any.
    DataType dataType = DataType::Null;
    /// Adding and removing the input is not announced.
    bool silent = false;
    /// Writes are refused.
    bool readOnly = false;
    /// The value at first (Null: the kind's zero value), or before a change.
    Value value;
    /// Null when there is nothing to say.
    RefersTo<AttrDetails> details;

    AttrData() = default;
    explicit AttrData(AttrType kind) noexcept : type(kind) {}
    /// Describes an attribute of the value's kind that starts at, and resets to, `initial`.
    static AttrData withDefault(Value initial);

    /// Returns the details for writing, made if there are none. Call before inputs share them.
    AttrDetails& describe();
};

} // namespace qv::kelvo_sdk::impl
