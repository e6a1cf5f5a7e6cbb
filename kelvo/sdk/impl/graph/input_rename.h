#pragma once

#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/interfaces/i_layout.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Another name of an input, which `Input::exchangeName` swaps with the current one.
struct InputNaming {
    String name;
    /// The layout of its node, and a copy with the other name in it; null when the layout does not
    /// name the input.
    RefersTo<interfaces::ILayout> layout;
    RefersTo<interfaces::ILayout> otherLayout;
    /// The unread lines around the input that stand in front of it; others may have either name.
    std::vector<u64> lines;
};

/// An input was renamed.
class InputRename final : public InputChange {
public:
    /// Create before the input is renamed.
    InputRename(Input& input, const InputNaming& naming);
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String text() const override;

private:
    InputNaming m_other;
    String m_before;
    String m_after;
    bool m_isPassedOver = false;
};

} // namespace qv::kelvo_sdk::impl
