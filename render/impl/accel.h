#pragma once

#include "render/impl/instance_groups.h"

#include <embree3/rtcore.h>

#include <future>
#include <mutex>
#include <optional>
#include <stop_token>
#include <unordered_map>

namespace qv::render::impl {

struct Ray {
    Vec3 origin;
    /// Of length 1.
    Vec3 direction;
    float near = 0.0F;
    float far = std::numeric_limits<float>::infinity();

    [[nodiscard]] Vec3 at(float distance) const noexcept { return origin + direction * distance; }
};

/// The place where a ray meets a triangle.
struct Hit {
    float distance = 0.0F;
    u32 instance = 0;
    u32 geometry = 0;
    u32 triangle = 0;
    /// The weights of the second and third corner.
    Vec2 weights;
};

/// A scene of Embree, freed with the object.
class EmbreeScene {
public:
    explicit EmbreeScene(RTCDevice device) : m_scene(rtcNewScene(device)) {
        rtcSetSceneFlags(m_scene, RTC_SCENE_FLAG_ROBUST);
    }
    ~EmbreeScene() { rtcReleaseScene(m_scene); }
    EmbreeScene(const EmbreeScene&) = delete;
    EmbreeScene& operator=(const EmbreeScene&) = delete;

    [[nodiscard]] RTCScene get() const noexcept { return m_scene; }
    /// Builds the tree. A stop throws `Stopped`.
    void commit(const std::stop_token& stop) const;

private:
    RTCScene m_scene;
};

/// Returns the first place where a ray meets anything.
[[nodiscard]] std::optional<Hit> nearestIn(RTCScene scene, const Ray& ray) noexcept;

/// Finds where rays meet the instances of a scene. Trees of meshes are kept as long as a scene uses
/// them. Above them are trees of groups of instances, which are kept while their instances stay the
/// same, and above these one tree that is made anew: together they are those of a fresh start.
///
/// Embree builds each tree on one thread: what rays meet first where triangles touch must not
/// depend on the number of threads. Different trees are built at once.
class Accel {
public:
    Accel();
    ~Accel();
    Accel(const Accel&) = delete;
    Accel& operator=(const Accel&) = delete;

    /// Uses the instances, whose meshes live as long as this or the next call. A stop throws
    /// `Stopped`; then nothing may be asked before another call, which keeps what is built.
    void build(const std::vector<Instance>& instances, u32 threads,
               const std::stop_token& stop = {});

    [[nodiscard]] std::optional<Hit> nearest(const Ray& ray) const noexcept {
        return nearestIn(m_root, ray);
    }
    /// Tells whether anything is on the ray.
    [[nodiscard]] bool isBlocked(const Ray& ray) const noexcept;

    /// The trees of groups of instances that the last `build` made.
    [[nodiscard]] u64 groupsMade() const noexcept { return m_groupsMade; }

private:
    struct MeshTree {
        std::shared_ptr<const Mesh> mesh;
        std::unique_ptr<EmbreeScene> scene;
        u64 number = 0;
    };
    /// A tree of a mesh at a place.
    struct Placed {
        u64 tree = 0;
        Transform toWorld;
    };
    struct Group {
        InstanceGroup instances;
        std::vector<Placed> placed;
        std::unique_ptr<EmbreeScene> scene;
    };
    using Groups = std::vector<Group>;

    void buildMeshes(const std::vector<Instance>& instances, u32 threads,
                     const std::stop_token& stop);
    [[nodiscard]] std::unique_ptr<EmbreeScene> treeOf(const std::shared_ptr<const Mesh>& mesh,
                                                      const std::stop_token& stop);
    void waitForLeftTrees(const std::stop_token& stop);
    // Takes the groups that are still right from the ones before.
    [[nodiscard]] Groups groupsFor(const std::vector<Instance>& instances,
                                   const std::stop_token& stop);
    void buildGroup(Group& group, const std::vector<Instance>& instances,
                    const std::stop_token& stop) const;
    void buildTop(const std::stop_token& stop);
    static void boundGroup(const RTCBoundsFunctionArguments* arguments);
    static void findInGroup(const RTCIntersectFunctionNArguments* arguments);
    static void blockInGroup(const RTCOccludedFunctionNArguments* arguments);

    RTCDevice m_device;
    std::unordered_map<const Mesh*, MeshTree> m_meshes;
    u64 m_treesMade = 0;
    Groups m_groups;
    u64 m_groupsMade = 0;
    // Above the groups, if there are several.
    std::unique_ptr<EmbreeScene> m_top;
    RTCScene m_root = nullptr;
    std::mutex m_leaving;
    // Trees whose end nobody waited for after a stop.
    std::vector<std::future<std::unique_ptr<EmbreeScene>>> m_leftTrees;
};

} // namespace qv::render::impl
