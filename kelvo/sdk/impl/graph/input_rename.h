#pragma once

#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/interfaces/i_layout.h"

namespace qv::kelvo_sdk::impl {

/// The other name of an input, which it can be exchanged for.
struct InputNaming {
    String name;
    /// The layout of its node, and the one that has the other name in it; null when none names the
    /// input.
    RefersTo<interfaces::ILayout> layout;
    RefersTo<interfaces::ILayout> otherLayout;
};

/// An input was renamed.
class InputRename final : public InputChange {
public:
    /// Before it is.
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
