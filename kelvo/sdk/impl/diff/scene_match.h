#pragma once

#include "kelvo/sdk/impl/scene_text/link_names.h"

// Which thing of a scene is which of another.
namespace qv::kelvo_sdk::impl {

/// How the things of a list come from those of an earlier one.
struct ListMatch {
    /// For each thing its place in the earlier list, `noIndex` for a new one.
    std::vector<u64> from;
    /// For each thing whether it has its place among those that were there before. The most that
    /// is possible have.
    std::vector<bool> stays;

    /// Tells for each thing of the earlier list whether it is in the later one.
    [[nodiscard]] std::vector<bool> kept(u64 earlierCount) const;
    /// Finds out which things stay.
    void findStays();
};

/// Which thing of a list is meant by a name: the first of that name, or a later one.
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

/// Tells whether one attribute may become the other by changes of what it says and holds.
[[nodiscard]] bool mayBecome(const DocAttr& before, const DocAttr& after) noexcept;

/// Match inputs, members or outputs, by name.
[[nodiscard]] ListMatch matchAttrs(const std::vector<DocAttr>& before,
                                   const std::vector<DocAttr>& after);
/// Match elements: equal ones that are the only ones of their kind wherever they stand, others by
/// their place between those. `names` says what nodes were renamed to.
[[nodiscard]] ListMatch matchElements(const DocAttr& before, const DocAttr& after,
                                      const LinkNames& names);

/// Match nodes by name; of the others those that have all or nearly all in common count as
/// renamed and are added to `names`.
[[nodiscard]] ListMatch matchNodes(const SceneDocument& before, const SceneDocument& after,
                                   LinkNames& names);

/// Hashes all but comments; null `names` lets every reference count alike.
[[nodiscard]] u64 hashOf(const DocAttr& attr, const LinkNames* names);

} // namespace qv::kelvo_sdk::impl
