#pragma once

#include "kelvo/sdk/impl/value/value.h"

// Sentences that say why something was refused: for the log, and for the results of the handles,
// which ask for them afterwards. A refusal changes nothing, so that the reason still holds.
namespace qv::kelvo_sdk::impl {

class Input;
class Node;
class Output;
class Scene;

/// Says that a name is none that nodes may have; `what` is "name" or "type".
[[nodiscard]] String nameRefusal(const String& name, const char* what);
[[nodiscard]] String abstractCreation(const String& type, const String& name);
[[nodiscard]] String abstractConversion(const interfaces::INode& node, const String& type);

/// Says why an input may not store a value of its own kind; empty when it may.
[[nodiscard]] String storeRefusal(const Input& input, const Value& value);
/// The same for a value of any kind, which is converted; texts as `setString` takes them.
[[nodiscard]] String valueRefusal(const Input& input, const Value& value);
/// Says why an input may not be connected to an output; empty when it may.
[[nodiscard]] String connectRefusal(const Input& input, const Output& output);
/// Says that nothing may come, go or move in a read-only array or object.
[[nodiscard]] String changeRefusal(const Input& input);
[[nodiscard]] String parentRefusal(const interfaces::INode& node, const interfaces::INode& parent,
                                   const char* bar);

} // namespace qv::kelvo_sdk::impl
