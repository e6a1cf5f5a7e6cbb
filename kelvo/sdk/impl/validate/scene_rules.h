#pragma once

#include "kelvo/sdk/validation.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::INode;

class Input;
class Node;
class Scene;
struct Comments;

/// The rules, in the order of their table.
enum class Rule : u32 {
    BrokenScene,
    AbstractType,
    MisspelledType,
    UnknownType,
    UnknownAttribute,
    OtherKind,
    MissingInput,
    MissingOutput,
    OutOfRange,
    ChangedReadOnly,
    ShadowedInput,
    EmptyChild,
    RepeatedChild,
    ChildCycle,
    EmptyModifier,
    IdleModifier,
    MeshMismatch,
    EmptyMesh,
    EmptyPath,
    MissingFile,
    ConflictMark,
    UnusedNode,
    LostReference,
};

/// Checks one scene by all rules. Takes linear time, except for spelling suggestions, which are
/// searched once for each unknown type.
///
///     Table      scene_rules.cpp            the rules, their order, applying fixes
///     Types      scene_rules_types.cpp      nodes against the definitions in libraries
///     Values     scene_rules_values.cpp     values against annotations, names that hide others
///     Nodes      scene_rules_nodes.cpp      lists of modifiers, meshes, files, use
///     Comments   scene_rules_comments.cpp   conflicts left by a merge
///     Hierarchy  scene_rules_hierarchy.cpp  children
class SceneRules {
public:
    /// Borrows both arguments.
    SceneRules(Scene& scene, const ValidationOptions& options)
        : m_scene(scene), m_options(options) {}

    [[nodiscard]] Findings findings();

private:
    using Fix = RefersTo<FindingFix>;

    void checkNode(Node& node);
    void add(Rule rule, Node* node, String place, String message, Fix fix = {});

    void checkType(Node& node);
    void checkUnknownType(Node& node);
    void checkInputs(Node& node, const Node& definition);
    bool checkInput(Node& node, Input* parent, Input* input, const Input& definition);
    void checkReadOnly(Node& node, Input& input, const Input& definition);
    void checkOutputs(Node& node, const Node& definition);
    [[nodiscard]] const String& nearType(const String& type);
    void checkUnknown(Node& node, const Node& definition);
    void addUnknown(Node& node, const char* what, const String& path, const String& question);
    template<typename Attributes>
    [[nodiscard]] const String& nearAttribute(const Node& definition, const Attributes& known,
                                              const String& name);

    void checkValues(Node& node);
    void checkValue(Node& node, Input& input);
    void checkNames(Node& node, const ds::Vector<IInput*>& list, const Input* parent);

    void checkModifiers(Node& node);
    void checkMesh(Node& node);
    void checkPath(Node& node);
    void checkFile(Node& node, const Input& file);
    void checkUse(Node& node);
    void checkReferences(Node& node);
    void addLostLink(Node& node, Input& input);
    void addLostSource(Node& node, Input& input);

    void checkComments(Node& node);
    void checkFileComments();
    void checkMarks(const Comments& comments, Node* node, const String& place, const char* what);
    void checkLines(const String& lines, Node* node, const String& place, const char* what);

    void checkChildren(Node& node);
    void checkCycles();

    Scene& m_scene;
    const ValidationOptions& m_options;
    Findings m_findings;
    // By unknown type: ": did you mean 'name'?", or ".".
    std::unordered_map<String, String> m_nearTypes;
    // By "type.name" of an unknown attribute, as `m_nearTypes`.
    std::unordered_map<String, String> m_nearAttributes;
};

/// Returns a fix that calls `apply`, which returns whether it changed anything.
template<typename Apply>
[[nodiscard]] RefersTo<FindingFix> makeFix(String text, Apply apply) {
    class Made final : public FindingFix {
    public:
        Made(String what, Apply how) : FindingFix(std::move(what)), m_apply(std::move(how)) {}
        Result apply() override {
            if (m_apply()) return {};
            return Result::failure("Cannot " + text() +
                                   ": there is nothing left to fix, or the scene refuses it.");
        }

    private:
        Apply m_apply;
    };
    return RefersTo<FindingFix>::adopt(new Made(std::move(text), std::move(apply)));
}

/// Returns a fix that removes an element from its array.
[[nodiscard]] RefersTo<FindingFix> removalOf(IInput& element);

/// Returns "[3]".
[[nodiscard]] String indexText(u64 index);

} // namespace qv::kelvo_sdk::impl
