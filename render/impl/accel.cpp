#include "render/impl/accel.h"

#include "kelvo/base/workers.h"
#include "render/impl/stopped.h"

#include <chrono>
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
    m_meshes.clear();
    rtcReleaseDevice(m_device);
}

std::unique_ptr<EmbreeScene> Accel::treeOf(const std::shared_ptr<const Mesh>& mesh,
                                           const std::stop_token& stop) {
    if (mesh->triangles.size() < largeMesh) return builtTree(m_device, *mesh, stop);
    auto made = std::async(std::launch::async, [device = m_device, mesh, stop] {
        return builtTree(device, *mesh, stop);
    });
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
        open.push_back(&tree);
    }
    std::erase_if(m_meshes, [&](const auto& entry) { return !used.contains(entry.first); });
    Workers(threads).run(open.size(), [&](u64 i) { open[i]->scene = treeOf(open[i]->mesh, stop); });
}

void Accel::build(const std::vector<Instance>& instances, u32 threads,
                  const std::stop_token& stop) {
    m_top.reset();
    waitForLeftTrees(stop);
    buildMeshes(instances, threads, stop);
    m_top = std::make_unique<EmbreeScene>(m_device);
    for (u32 i = 0; i < instances.size(); ++i) {
        endIfStopped(stop);
        const Transform& t = instances[i].toWorld;
        const float columns[12] = {t.x.x, t.x.y, t.x.z, t.y.x,      t.y.y,      t.y.z,
                                   t.z.x, t.z.y, t.z.z, t.origin.x, t.origin.y, t.origin.z};
        RTCGeometry geometry = rtcNewGeometry(m_device, RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(geometry, m_meshes.at(instances[i].mesh.get()).scene->get());
        rtcSetGeometryTransform(geometry, 0, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR, columns);
        rtcCommitGeometry(geometry);
        rtcAttachGeometryByID(m_top->get(), geometry, i);
        rtcReleaseGeometry(geometry);
    }
    m_top->commit(stop);
}

bool Accel::isBlocked(const Ray& ray) const noexcept {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRay r = rayOf(ray);
    rtcOccluded1(m_top->get(), &context, &r);
    return r.tfar < 0.0F; // Embree sets it to minus infinity.
}

} // namespace qv::render::impl
