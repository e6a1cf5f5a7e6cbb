#pragma once

#include "kelvo/base/hash_map.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/value/value.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

/// The details of an attribute's definition; shared by all inputs made from that definition.
class AttrDetails final : public RefCounted {
public:
    /// Text by language.
    using Texts = ds::Vector<std::pair<String, String>>;

    /// The value that `reset` restores; Null means the kind's zero value.
    Value defaultValue;
    /// Writes outside the bounds are refused; Null means no bound. Each component of a tuple is
    /// compared with its own bound.
    Value minimum;
    Value maximum;
    /// Writes of any other value are refused; empty means that all values are allowed.
    ds::Vector<Value> choices;
    /// Tells whether a write of this value, of the attribute's kind, is allowed. Ignores bounds of
    /// another kind.
    [[nodiscard]] bool accepts(const Value& value) const;

    /// Tells whether the default, a bound or a choice is the node.
    [[nodiscard]] bool names(const interfaces::INode& node) const noexcept;
    /// Returns a copy that no longer names the node: values become null, choices are removed.
    [[nodiscard]] RefersTo<AttrDetails> without(const interfaces::INode& node) const;

    String unit;
    Texts labels;
    Texts helps;
};

/// Description of an attribute: a new input is made from it, and in notifications of a change it
/// holds the previous value.
struct QV_EXPORT AttrData {
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// Element type that a Buffer declares; Null lets it take any.
    DataType dataType = DataType::Null;
    /// Adding and removing the input sends no notification.
    bool silent = false;
    /// The input refuses writes.
    bool readOnly = false;
    /// The initial value (Null: the kind's zero value); in notifications, the previous value.
    Value value;
    /// Null when the definition gives no details.
    RefersTo<AttrDetails> details;

    AttrData() = default;
    explicit AttrData(AttrType kind) noexcept : type(kind) {}
    /// Describes an attribute of the value's kind that starts at, and resets to, `initial`.
    static AttrData withDefault(Value initial);

    /// Returns the value that an attribute made from this starts with, in its kind; Null when
    /// neither the value nor the details give one.
    [[nodiscard]] Value startValue() const;
    /// Returns the details for writing, and makes them if there are none. Call before inputs share
    /// the details.
    AttrDetails& describe();
};

} // namespace qv::kelvo_sdk::impl
