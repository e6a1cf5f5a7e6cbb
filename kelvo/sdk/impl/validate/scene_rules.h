#pragma once

#include "kelvo/sdk/impl/validate/live_source.h"
#include "kelvo/sdk/impl/validate/snapshot_source.h"
#include "kelvo/sdk/validation.h"

#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

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

/// Checks one scene by all rules: live nodes or a snapshot, as the source has them. Takes linear
/// time, except for spelling suggestions, which are searched once for each unknown type.
///
///     Table      scene_rules.cpp            the rules, their order, applying fixes
///     Types      scene_rules_types.cpp      nodes against the definitions in libraries
///     Values     scene_rules_values.cpp     values against annotations, names that hide others
///     Nodes      scene_rules_nodes.cpp      lists of modifiers, meshes, files, use
///     Comments   scene_rules_comments.cpp   conflicts left by a merge
///     Hierarchy  scene_rules_hierarchy.cpp  children
template<typename Source>
class SceneRules {
public:
    using Found = ds::Vector<typename Source::Finding>;

    /// Borrows both arguments.
    SceneRules(Source& source, const ValidationOptions& options)
        : m_source(source), m_options(options) {}

    [[nodiscard]] Found findings();

private:
    using Node = typename Source::Node;
    using Input = typename Source::Input;
    using Inputs = typename Source::Inputs;
    using Fix = typename Source::Fix;
    using Definition = const impl::Node&;
    using KnownInput = const impl::Input&;

    void checkNode(Node node);
    void add(Rule rule, Node node, String place, String message, Fix fix = {});

    void checkType(Node node);
    void checkUnknownType(Node node);
    void checkInputs(Node node, Definition definition);
    bool checkInput(Node node, Input parent, Input input, KnownInput definition);
    void checkReadOnly(Node node, Input input, KnownInput definition);
    void checkOutputs(Node node, Definition definition);
    [[nodiscard]] const String& nearType(const String& type);
    void checkUnknown(Node node, Definition definition);
    void addUnknown(Node node, const char* what, const String& path, const String& question);
    template<typename Attributes>
    [[nodiscard]] const String& nearAttribute(Definition definition, const Attributes& known,
                                              const String& name);

    void checkValues(Node node);
    void checkValue(Node node, Input input);
    void checkNames(Node node, Inputs list, Input parent);

    void checkModifiers(Node node);
    void checkMesh(Node node);
    [[nodiscard]] interfaces::BufferView bufferOf(Node node, const String& name) const;
    void checkPath(Node node);
    void checkFile(Node node, Input file);
    void checkUse(Node node);
    void checkReferences(Node node);

    void checkComments(Node node);
    void checkFileComments();
    void checkMarks(const Comments& comments, Node node, const String& place, const char* what);
    void checkLines(const String& lines, Node node, const String& place, const char* what);

    void checkChildren(Node node);
    void checkCycles();

    Source& m_source;
    const ValidationOptions& m_options;
    Found m_findings;
    // By unknown type: ": did you mean 'name'?", or ".".
    std::unordered_map<String, String> m_nearTypes;
    // By "type.name" of an unknown attribute, as `m_nearTypes`.
    std::unordered_map<String, String> m_nearAttributes;
};

/// Visits a list of inputs and all their parts, at any depth, in order, parents first; without
/// recursion, as inputs may nest deeper than the stack allows.
template<typename Source>
class AllInputs {
public:
    using Input = typename Source::Input;
    using Inputs = typename Source::Inputs;

    explicit AllInputs(Inputs list) : m_at{list} {}

    /// Returns an empty one at the end.
    [[nodiscard]] Input next() {
        while (m_at.next >= m_at.list.size()) {
            if (m_outer.empty()) return {};
            m_at = m_outer.back();
            m_outer.pop_back();
        }
        const Input input = m_at.list[m_at.next++];
        const Inputs parts = Source::partsOf(input);
        if (parts.size() == 0) return input;
        m_outer.push_back(std::exchange(m_at, Level{parts}));
        return input;
    }

private:
    struct Level {
        Inputs list;
        u64 next = 0;
    };

    Level m_at;
    std::vector<Level> m_outer;
};

/// Returns the input if it is an array of nodes, else an empty one.
template<typename Input>
[[nodiscard]] Input nodeList(Input input) {
    const bool isList = input && input->type() == AttrType::Array;
    return isList && input->elementType() == AttrType::Node ? input : Input();
}

/// Returns "[3]".
[[nodiscard]] String indexText(u64 index);

} // namespace qv::kelvo_sdk::impl
