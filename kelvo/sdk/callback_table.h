#pragma once

#include "kelvo/sdk/interfaces/i_lib_info.h"

#include <atomic>
#include <unordered_map>

namespace qv::kelvo_sdk {

/// A node library for plug-ins: a table of callbacks by type. Type names match exactly.
// Everything is inline, so that the code belongs to the plug-in that uses it.
class CallbackTable final : public interfaces::ILibInfo {
public:
    /// `kndPath` names the definition file; a relative path starts in the folder of the plug-in.
    explicit CallbackTable(String kndPath = {}) : m_kndPath(std::move(kndPath)) {}

    /// Sets the callbacks of a node type and replaces earlier ones.
    void set(String type, const interfaces::NodeCallbacks& callbacks) {
        m_callbacks.insert_or_assign(std::move(type), callbacks);
    }

    void incRef() override { m_refCount.fetch_add(1, std::memory_order_relaxed); }
    void decRef() override {
        if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

    [[nodiscard]] interfaces::NodeInitFn nodeInit(String type) const override {
        return find(type).init;
    }
    [[nodiscard]] interfaces::NodePrepFn nodePrep(String type) const override {
        return find(type).prep;
    }
    [[nodiscard]] interfaces::NodeEvalFn nodeEval(String type) const override {
        return find(type).eval;
    }
    [[nodiscard]] interfaces::NodeModifyFn nodeModify(String type) const override {
        return find(type).modify;
    }
    [[nodiscard]] interfaces::NodeFreeFn nodeFree(String type) const override {
        return find(type).free;
    }
    [[nodiscard]] interfaces::NodeChangedFn nodeChanged(String type) const override {
        return find(type).changed;
    }
    [[nodiscard]] String kndPath() const override { return m_kndPath; }

private:
    [[nodiscard]] interfaces::NodeCallbacks find(const String& type) const {
        const auto found = m_callbacks.find(type);
        return found == m_callbacks.end() ? interfaces::NodeCallbacks{} : found->second;
    }

    std::atomic<i32> m_refCount = 1;
    String m_kndPath;
    std::unordered_map<String, interfaces::NodeCallbacks> m_callbacks;
};

} // namespace qv::kelvo_sdk
