#include "render/impl/accel.h"

#include "kelvo/base/workers.h"

#include <unordered_set>

namespace qv::render::impl {

namespace {

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

Accel::Accel() : m_device(rtcNewDevice("threads=1")) {}

Accel::~Accel() {
    m_top.reset();
    m_meshes.clear();
    rtcReleaseDevice(m_device);
}

std::unique_ptr<EmbreeScene> Accel::treeOf(const Mesh& mesh) const {
    auto scene = std::make_unique<EmbreeScene>(m_device);
    RTCGeometry geometry = rtcNewGeometry(m_device, RTC_GEOMETRY_TYPE_TRIANGLE);
    share(geometry, RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, mesh.positions);
    share(geometry, RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, mesh.triangles);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene->get(), geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(scene->get());
    return scene;
}

void Accel::buildMeshes(const std::vector<Instance>& instances, u32 threads) {
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
    Workers(threads).run(open.size(), [&](u64 i) { open[i]->scene = treeOf(*open[i]->mesh); });
}

void Accel::build(const std::vector<Instance>& instances, u32 threads) {
    m_top.reset();
    buildMeshes(instances, threads);
    m_top = std::make_unique<EmbreeScene>(m_device);
    for (u32 i = 0; i < instances.size(); ++i) {
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
    rtcCommitScene(m_top->get());
}

bool Accel::isBlocked(const Ray& ray) const noexcept {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRay r = rayOf(ray);
    rtcOccluded1(m_top->get(), &context, &r);
    return r.tfar < 0.0F; // Embree sets it to minus infinity.
}

} // namespace qv::render::impl
