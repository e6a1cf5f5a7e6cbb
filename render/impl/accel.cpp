#include "render/impl/accel.h"

#include "kelvo/base/workers.h"
#include "render/impl/stopped.h"

#include <chrono>
#include <cstring>
#include <system_error>
#include <unordered_set>

namespace qv::render::impl {

namespace {

// A tree of more triangles is built on a thread of its own, which a stop leaves behind.
constexpr u64 largeMesh = u64{1} << 17;

RTCRay rayOf(const Ray& ray) noexcept {
    RTCRay r{};
    r.org_x = ray.origin.x, r.org_y = ray.origin.y, r.org_z = ray.origin.z;
    r.dir_x = ray.direction.x, r.dir_y = ray.direction.y, r.dir_z = ray.direction.z;
    r.tnear = ray.near;
    r.tfar = ray.far;
    r.mask = 0xffffffff;
    return r;
}

// Embree reads 16 bytes at once, also at the last of 12; `readMesh` leaves room for that.
template<class T>
void share(RTCGeometry geometry, RTCBufferType type, RTCFormat format,
           const std::vector<T>& items) {
    rtcSetSharedGeometryBuffer(geometry, type, 0, format, items.data(), 0, sizeof(T), items.size());
}

} // namespace

std::optional<Hit> nearestIn(RTCScene scene, const Ray& ray) noexcept {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit found{rayOf(ray), {}};
    found.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    found.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(scene, &context, &found);
    const RTCHit& hit = found.hit;
    if (hit.geomID == RTC_INVALID_GEOMETRY_ID) return std::nullopt;
    return Hit{found.ray.tfar, hit.instID[0], hit.geomID, hit.primID, {hit.u, hit.v}};
}

void EmbreeScene::commit(const std::stop_token& stop) const {
    const auto goesOn = [](void* token, double) {
        return !static_cast<const std::stop_token*>(token)->stop_requested();
    };
    rtcSetSceneProgressMonitorFunction(m_scene, goesOn, const_cast<std::stop_token*>(&stop));
    rtcCommitScene(m_scene);
    rtcSetSceneProgressMonitorFunction(m_scene, nullptr, nullptr);
    endIfStopped(stop);
}

namespace {

// A stop throws `Stopped`, for a large mesh after a while: Embree sorts all triangles before it
// looks for the first time.
std::unique_ptr<EmbreeScene> builtTree(RTCDevice device, const Mesh& mesh,
                                       const std::stop_token& stop) {
    endIfStopped(stop);
    auto scene = std::make_unique<EmbreeScene>(device);
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    share(geometry, RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, mesh.positions);
    share(geometry, RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, mesh.triangles);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene->get(), geometry);
    rtcReleaseGeometry(geometry);
    scene->commit(stop);
    return scene;
}

// Compares bits: zeros of either sign are different.
template<class T>
bool areSame(const std::vector<T>& a, const std::vector<T>& b) noexcept {
    static_assert(sizeof(T) == sizeof(u64) + 12 * sizeof(float));
    if (a.size() != b.size()) return false;
    return a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

template<class T>
void waitFor(const std::future<T>& made, const std::stop_token& stop) {
    while (made.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        endIfStopped(stop);
}

} // namespace

Accel::Accel() : m_device(rtcNewDevice("threads=1")) {}

Accel::~Accel() {
    m_leftTrees.clear();
    m_top.reset();
    m_groups.clear();
    m_meshes.clear();
    rtcReleaseDevice(m_device);
}

std::unique_ptr<EmbreeScene> Accel::treeOf(const std::shared_ptr<const Mesh>& mesh,
                                           const std::stop_token& stop) {
    if (mesh->triangles.size() < largeMesh) return builtTree(m_device, *mesh, stop);
    const auto build = [device = m_device, mesh, stop] { return builtTree(device, *mesh, stop); };
    std::future<std::unique_ptr<EmbreeScene>> made;
    try {
        made = std::async(std::launch::async, build);
    } catch (const std::system_error&) {
        // There can be no further thread.
        return build();
    }
    try {
        waitFor(made, stop);
    } catch (const Stopped&) {
        const std::scoped_lock lock(m_leaving);
        m_leftTrees.push_back(std::move(made));
        throw;
    }
    return made.get();
}

void Accel::waitForLeftTrees(const std::stop_token& stop) {
    for (const auto& tree : m_leftTrees)
        waitFor(tree, stop);
    m_leftTrees.clear();
}

void Accel::buildMeshes(const std::vector<Instance>& instances, u32 threads,
                        const std::stop_token& stop) {
    std::unordered_set<const Mesh*> used;
    std::vector<MeshTree*> open;
    for (const Instance& instance : instances) {
        if (!used.insert(instance.mesh.get()).second) continue;
        MeshTree& tree = m_meshes[instance.mesh.get()];
        if (tree.scene) continue;
        tree.mesh = instance.mesh;
        tree.number = ++m_treesMade;
        open.push_back(&tree);
    }
    std::erase_if(m_meshes, [&](const auto& entry) { return !used.contains(entry.first); });
    Workers(threads).run(open.size(), [&](u64 i) { open[i]->scene = treeOf(open[i]->mesh, stop); });
}

void Accel::build(const std::vector<Instance>& instances, u32 threads,
                  const std::stop_token& stop) {
    waitForLeftTrees(stop);
    buildMeshes(instances, threads, stop);
    m_groups = groupsFor(instances, stop);
    std::vector<Group*> open;
    for (Group& group : m_groups)
        if (!group.scene) open.push_back(&group);
    m_groupsMade = open.size();
    Workers(threads).run(open.size(), [&](u64 i) { buildGroup(*open[i], instances, stop); });
    buildTop(stop);
}

Accel::Groups Accel::groupsFor(const std::vector<Instance>& instances,
                               const std::stop_token& stop) {
    std::unordered_map<u64, Group*> before;
    for (Group& group : m_groups)
        before.emplace(group.instances.region, &group);
    Groups made;
    for (InstanceGroup& near : groupsOf(instances)) {
        endIfStopped(stop);
        Group group{std::move(near), {}, nullptr};
        for (const u32 number : group.instances.numbers) {
            const Instance& instance = instances[number];
            group.placed.push_back({m_meshes.at(instance.mesh.get()).number, instance.toWorld});
        }
        const auto found = before.find(group.instances.region);
        if (found != before.end() && areSame(found->second->placed, group.placed))
            group.scene = std::move(found->second->scene);
        made.push_back(std::move(group));
    }
    return made;
}

void Accel::buildGroup(Group& group, const std::vector<Instance>& instances,
                       const std::stop_token& stop) const {
    auto scene = std::make_unique<EmbreeScene>(m_device);
    for (u32 i = 0; i < group.placed.size(); ++i) {
        endIfStopped(stop);
        const Transform& t = group.placed[i].toWorld;
        const float columns[12] = {t.x.x, t.x.y, t.x.z, t.y.x,      t.y.y,      t.y.z,
                                   t.z.x, t.z.y, t.z.z, t.origin.x, t.origin.y, t.origin.z};
        const Mesh* mesh = instances[group.instances.numbers[i]].mesh.get();
        RTCGeometry geometry = rtcNewGeometry(m_device, RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(geometry, m_meshes.at(mesh).scene->get());
        rtcSetGeometryTransform(geometry, 0, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR, columns);
        rtcCommitGeometry(geometry);
        rtcAttachGeometryByID(scene->get(), geometry, i);
        rtcReleaseGeometry(geometry);
    }
    scene->commit(stop);
    group.scene = std::move(scene);
}

void Accel::buildTop(const std::stop_token& stop) {
    m_top.reset();
    m_root = m_groups[0].scene->get();
    if (m_groups.size() == 1) return;
    m_top = std::make_unique<EmbreeScene>(m_device);
    RTCGeometry geometry = rtcNewGeometry(m_device, RTC_GEOMETRY_TYPE_USER);
    rtcSetGeometryUserPrimitiveCount(geometry, static_cast<u32>(m_groups.size()));
    rtcSetGeometryUserData(geometry, &m_groups);
    rtcSetGeometryBoundsFunction(geometry, &boundGroup, nullptr);
    rtcSetGeometryIntersectFunction(geometry, &findInGroup);
    rtcSetGeometryOccludedFunction(geometry, &blockInGroup);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(m_top->get(), geometry);
    rtcReleaseGeometry(geometry);
    m_top->commit(stop);
    m_root = m_top->get();
}

void Accel::boundGroup(const RTCBoundsFunctionArguments* arguments) {
    const auto& groups = *static_cast<const Groups*>(arguments->geometryUserPtr);
    rtcGetSceneBounds(groups[arguments->primID].scene->get(), arguments->bounds_o);
}

// Groups are asked for single rays only.
void Accel::findInGroup(const RTCIntersectFunctionNArguments* arguments) {
    const auto& groups = *static_cast<const Groups*>(arguments->geometryUserPtr);
    const Group& group = groups[arguments->primID];
    auto& found = *reinterpret_cast<RTCRayHit*>(arguments->rayhit);
    const RTCHit before = found.hit;
    found.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(group.scene->get(), arguments->context, &found);
    if (found.hit.geomID == RTC_INVALID_GEOMETRY_ID)
        found.hit = before;
    else
        found.hit.instID[0] = group.instances.numbers[found.hit.instID[0]];
}

void Accel::blockInGroup(const RTCOccludedFunctionNArguments* arguments) {
    const auto& groups = *static_cast<const Groups*>(arguments->geometryUserPtr);
    rtcOccluded1(groups[arguments->primID].scene->get(), arguments->context,
                 reinterpret_cast<RTCRay*>(arguments->ray));
}

bool Accel::isBlocked(const Ray& ray) const noexcept {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRay r = rayOf(ray);
    rtcOccluded1(m_root, &context, &r);
    return r.tfar < 0.0F; // Embree sets it to minus infinity.
}

} // namespace qv::render::impl
