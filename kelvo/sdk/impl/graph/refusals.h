#pragma once

#include "kelvo/sdk/impl/value/value.h"

// Sentences with the reason of a refusal, for the log and for the results of handles. Handles ask
// for the reason after the refusal; it still holds, because a refusal changes nothing.
namespace qv::kelvo_sdk::impl {

class Input;
class Node;
class Output;
class Scene;

/// Tells that nodes may not have this name; `what` is "name" or "type".
[[nodiscard]] String nameRefusal(const String& name, const char* what);
/// Tells whether nodes may have this name or type, and logs why not.
[[nodiscard]] bool checkNodeName(const String& name, const char* what);
[[nodiscard]] String abstractCreation(const String& type, const String& name);
[[nodiscard]] String abstractConversion(const interfaces::INode& node, const String& type);

/// Returns the reason why an input may not store a value of its own kind; empty when it may.
[[nodiscard]] String storeRefusal(const Input& input, const Value& value);
/// Like `storeRefusal`, for a value of any kind, which is converted; a text converts as in
/// `setString`.
[[nodiscard]] String valueRefusal(const Input& input, const Value& value);
/// Returns the reason why an input may not be connected to an output; empty when it may.
[[nodiscard]] String connectRefusal(const Input& input, const Output& output);
/// Returns the reason why an input cannot have that name; empty when it can.
[[nodiscard]] String renameRefusal(const Input& input, const String& name);
/// Tells that a read-only array or object refuses to add, remove and move parts.
[[nodiscard]] String changeRefusal(const Input& input);
[[nodiscard]] String parentRefusal(const interfaces::INode& node, const interfaces::INode& parent,
                                   const char* bar);

} // namespace qv::kelvo_sdk::impl
