#pragma once

#include "sdk/interfaces/i_lib_info.h"

#include <atomic>
#include <unordered_map>

namespace qv::kelvo_sdk::impl {

/// A node-definition library that holds its callbacks in a table. Type names match exactly.
class QV_EXPORT LibInfo : public interfaces::ILibInfo {
public:
    LibInfo() = default;
    explicit LibInfo(String kndPath) : m_kndPath(std::move(kndPath)) {}

    void incRef() override;
    void decRef() override;

    /// Sets the callbacks of a node type, in place of earlier ones.
    void setCallbacks(String type, const interfaces::NodeCallbacks& callbacks);

    [[nodiscard]] interfaces::NodeInitFn nodeInit(String type) const override;
    [[nodiscard]] interfaces::NodePrepFn nodePrep(String type) const override;
    [[nodiscard]] interfaces::NodeEvalFn nodeEval(String type) const override;
    [[nodiscard]] interfaces::NodeModifyFn nodeModify(String type) const override;
    [[nodiscard]] interfaces::NodeFreeFn nodeFree(String type) const override;
    [[nodiscard]] interfaces::NodeChangedFn nodeChanged(String type) const override;
    [[nodiscard]] String kndPath() const override { return m_kndPath; }

private:
    [[nodiscard]] const interfaces::NodeCallbacks& callbacks(const String& type) const noexcept;

    std::atomic<i32> m_refCount = 1;
    String m_kndPath;
    std::unordered_map<String, interfaces::NodeCallbacks> m_callbacks;
};

} // namespace qv::kelvo_sdk::impl
