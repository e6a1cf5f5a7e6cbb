#pragma once

#include "kelvo/sdk/impl/scene_text/link_names.h"

// Matches the nodes and attributes of one scene with those of another.
namespace qv::kelvo_sdk::impl {

/// The origin of the items of a list in an earlier list.
struct ListMatch {
    /// For each item its position in the earlier list, `noIndex` for a new item.
    std::vector<u64> from;
    /// For each item whether it keeps its place among the earlier items; as many as possible do.
    std::vector<bool> stays;

    /// Tells for each item of the earlier list whether the later list has it.
    [[nodiscard]] std::vector<bool> kept(u64 earlierCount) const;
    /// Sets `stays`.
    void findStays();
};

/// Identifies an item of a list by name: the first of that name, or a later one.
struct AttrKey {
    std::string_view name;
    u32 ordinal = 1;

    friend bool operator==(const AttrKey&, const AttrKey&) = default;
};

/// Returns the key as a step of a path: "radius", or "radius:2" for the second of that name.
[[nodiscard]] std::string keyText(const AttrKey& key);
[[nodiscard]] AttrKey keyOf(std::string_view text);

/// The keys of the attributes of a list.
class AttrKeys {
public:
    explicit AttrKeys(const std::vector<DocAttr>& list);

    [[nodiscard]] const AttrKey& operator[](u64 index) const { return m_keys[index]; }
    [[nodiscard]] u64 find(const AttrKey& key) const;

private:
    struct Hash {
        u64 operator()(const AttrKey& key) const noexcept {
            return std::hash<std::string_view>()(key.name) + key.ordinal;
        }
    };
    std::vector<AttrKey> m_keys;
    std::unordered_map<AttrKey, u64, Hash> m_places;
};

/// Tells whether changes of content can turn one attribute into the other.
[[nodiscard]] bool mayBecome(const DocAttr& before, const DocAttr& after) noexcept;

/// Match inputs, members or outputs, by name.
[[nodiscard]] ListMatch matchAttrs(const std::vector<DocAttr>& before,
                                   const std::vector<DocAttr>& after);
/// Match elements: those that are unique and equal on both sides anywhere, others by their position
/// between these. `names` has the new names of nodes.
[[nodiscard]] ListMatch matchElements(const DocAttr& before, const DocAttr& after,
                                      const LinkNames& names);

/// Match nodes by name. Of the others, nodes with equal or nearly equal contents count as renamed
/// and are added to `names`.
[[nodiscard]] ListMatch matchNodes(const SceneDocument& before, const SceneDocument& after,
                                   LinkNames& names);

/// Hashes everything but comments; when `names` is null, all references are equal.
[[nodiscard]] u64 hashOf(const DocAttr& attr, const LinkNames* names);

} // namespace qv::kelvo_sdk::impl
