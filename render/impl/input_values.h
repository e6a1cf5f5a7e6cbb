#pragma once

#include "render/impl/finding_list.h"
#include "render/impl/vec3.h"

namespace qv::render::impl {

/// Reads numbers of a node. Where an input is absent or of another kind, the value is the given
/// one, which is that of the type's definition. A number out of range is a finding, and becomes the
/// nearest one in the range.
class InputValues {
public:
    InputValues(const kelvo_sdk::SnapshotNode& node, FindingList& findings)
        : m_node(node), m_findings(findings) {}

    [[nodiscard]] float real(const char* name, double absent, double least, double most) const {
        const double value = m_node[name].get<double>(absent);
        if (value >= least && value <= most) return static_cast<float>(value);
        tell(name);
        return static_cast<float>(value > most ? most : least);
    }
    [[nodiscard]] Vec3 color(const char* name, const Vec3& absent) const {
        const math::Rgbad c = m_node[name].get<math::Rgbad>({{absent.x, absent.y, absent.z, 1.0}});
        const Vec3 read{static_cast<float>(c[0]), static_cast<float>(c[1]),
                        static_cast<float>(c[2])};
        const Vec3 good{channel(read.x), channel(read.y), channel(read.z)};
        if (good != read) tell(name);
        return good;
    }
    /// Returns a vector or a position.
    [[nodiscard]] Vec3 vector(const char* name, const Vec3& absent) const {
        const math::Vec3d v = m_node[name].get<math::Vec3d>({{absent.x, absent.y, absent.z}});
        const Vec3 read{static_cast<float>(v[0]), static_cast<float>(v[1]),
                        static_cast<float>(v[2])};
        if (isFinite(read)) return read;
        tell(name);
        return absent;
    }
    [[nodiscard]] Vec2 pair(const char* name, const Vec2& absent) const {
        const math::Vec2d v = m_node[name].get<math::Vec2d>({{absent.x, absent.y}});
        const Vec2 read{static_cast<float>(v[0]), static_cast<float>(v[1])};
        if (std::isfinite(read.x) && std::isfinite(read.y)) return read;
        tell(name);
        return absent;
    }
    /// Returns a direction of length 1.
    [[nodiscard]] Vec3 direction(const char* name, const Vec3& absent) const {
        const Vec3 read = vector(name, absent);
        if (length(read) > 0.0F && std::isfinite(length(read))) return normalized(read);
        tell(name);
        return absent;
    }
    [[nodiscard]] bool flag(const char* name, bool absent) const {
        return m_node[name].get<bool>(absent);
    }
    [[nodiscard]] String text(const char* name, const char* absent) const {
        return m_node[name].get<String>(absent);
    }

private:
    static float channel(float value) noexcept {
        return value > 0.0F ? std::min(value, 1e20F) : 0.0F;
    }
    void tell(const char* name) const {
        m_findings.add(m_node, String("The value of \"") + name + "\" is out of range.");
    }

    const kelvo_sdk::SnapshotNode& m_node;
    FindingList& m_findings;
};

} // namespace qv::render::impl
