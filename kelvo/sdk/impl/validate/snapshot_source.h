#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/snapshot/record_text.h"
#include "kelvo/sdk/impl/value/attr_data.h"
#include "kelvo/sdk/interfaces/integrity_error.h"
#include "kelvo/sdk/validation.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// The records of a snapshot, as the rules need them; see `SceneRules` and `LiveSource`. Nothing
/// can be edited, so a fix is the text that says what to do. No law of a scene can be broken, and
/// no reference leads out of the snapshot.
class SnapshotSource : public RecordText {
public:
    using Finding = SnapshotFinding;
    using Fix = String;

    /// Borrows both; the scene has the libraries that define the types, and no nodes.
    SnapshotSource(const SnapshotPicture& picture, const Scene& types);

    [[nodiscard]] const Scene& types() const noexcept { return m_types; }
    [[nodiscard]] static interfaces::IntegrityErrors brokenLaws() { return {}; }
    [[nodiscard]] SnapshotNode handleOn(Node node) const noexcept {
        return {&m_picture, node.record};
    }
    [[nodiscard]] SnapshotInput handleOn(Input input) const noexcept {
        return {&m_picture, input.record, input.list, input.index};
    }

    [[nodiscard]] static const String& nameOf(Node node) noexcept { return node.name(); }
    [[nodiscard]] static bool hasType(Node node, const String& type) noexcept {
        return node.record->shape().isTypeOf(type);
    }
    [[nodiscard]] static Input find(Node node, const String& name) noexcept;
    [[nodiscard]] static Output findOutput(Node node, const String& name) noexcept;
    [[nodiscard]] bool modifies(Node node) const;
    [[nodiscard]] bool isUsed(Node node) const noexcept;

    [[nodiscard]] static bool hasComments(Node node) noexcept { return node.record->extras(); }

    [[nodiscard]] static Input find(Input object, const String& name) noexcept;
    [[nodiscard]] String pathOf(Input input) const;
    [[nodiscard]] String typeNameOf(Input input) const { return handleOn(input).typeName(); }
    [[nodiscard]] String typeNameOf(Output output) const {
        return SnapshotOutput{&m_picture, output.record, output.index}.typeName();
    }
    [[nodiscard]] bool isReadOnly(Input input) const noexcept {
        return handleOn(input).isReadOnly();
    }
    [[nodiscard]] Node linkedBy(Input input) const noexcept;
    [[nodiscard]] static String textOf(Input input) { return input.ownValue().asString(); }
    [[nodiscard]] interfaces::BufferView bufferOf(Input input) const noexcept {
        return handleOn(input).bufferView();
    }
    [[nodiscard]] u64 hashOf(Input input) const;
    [[nodiscard]] bool hasOtherValue(Input input, const impl::Input& definition) const;
    [[nodiscard]] String shownValue(Input input) const;
    [[nodiscard]] const AttrDetails& detailsOf(Input input);

    template<typename Visit>
    static void forEachLost(Node /*node*/, const Visit& /*visit*/) noexcept {}

    [[nodiscard]] static Fix removal(String text, Input /*element*/) { return text; }
    [[nodiscard]] static Fix setting(String text, Input /*input*/, const Value& /*value*/) {
        return text;
    }
    [[nodiscard]] static Fix settingBack(String text, Input /*input*/,
                                         const impl::Input& /*definition*/) {
        return text;
    }
    [[nodiscard]] static Fix addition(String text, const impl::Input& /*definition*/, Node /*node*/,
                                      Input /*parent*/) {
        return text;
    }
    [[nodiscard]] static Fix addition(String text, const impl::Output& /*definition*/,
                                      Node /*node*/) {
        return text;
    }

private:
    void noteUses(const NodeRecord& reader);

    const SnapshotPicture& m_picture;
    const Scene& m_types;
    // By number of the node: an input links or is connected to it.
    std::vector<bool> m_isUsed;
    // The last description that names nodes, with free nodes of the same names in their places.
    RefersTo<AttrDetails> m_named;
    std::vector<RefersTo<impl::Node>> m_standIns;
};

} // namespace qv::kelvo_sdk::impl
