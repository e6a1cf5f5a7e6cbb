#pragma once

#include "sdk/interfaces/i_lib_info.h"

namespace qv::kelvo_sdk {

/// Handle on a node-definition library. An empty handle answers null to every look-up.
class QV_EXPORT LibInfo : public RefersTo<interfaces::ILibInfo> {
public:
    LibInfo() = default;
    explicit LibInfo(interfaces::ILibInfo* library) : RefersTo(library) {}

    [[nodiscard]] interfaces::NodeInitFn nodeInit(String type) const {
        return get() ? get()->nodeInit(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodePrepFn nodePrep(String type) const {
        return get() ? get()->nodePrep(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeEvalFn nodeEval(String type) const {
        return get() ? get()->nodeEval(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeModifyFn nodeModify(String type) const {
        return get() ? get()->nodeModify(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeFreeFn nodeFree(String type) const {
        return get() ? get()->nodeFree(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeChangedFn nodeChanged(String type) const {
        return get() ? get()->nodeChanged(std::move(type)) : nullptr;
    }
    /// Returns the path of the definition file, empty when there is none.
    [[nodiscard]] String kndPath() const { return get() ? get()->kndPath() : String(); }
};

} // namespace qv::kelvo_sdk
