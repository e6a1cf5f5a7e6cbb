#include "render/impl/mesh_reader.h"

#include "render/impl/stopped.h"

namespace qv::render::impl {

namespace {

using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

// Coordinates beyond this have no place in the tree of boxes that rays are traced through.
constexpr float farthest = 1e18F;

bool isPlace(const Vec3& p) noexcept {
    return std::abs(p.x) < farthest && std::abs(p.y) < farthest && std::abs(p.z) < farthest;
}

Vec3 vec3(const math::Pos3f& p) noexcept {
    return {p[0], p[1], p[2]};
}

class MeshReader {
public:
    MeshReader(const SnapshotNode& node, FindingList& findings, const std::stop_token& stop)
        : m_node(node), m_findings(findings), m_stop(stop) {}

    std::shared_ptr<const Mesh> read() {
        readPositions();
        readFaces();
        tell(m_shortFaces, "with fewer than three corners");
        tell(m_wrongFaces, "with vertices that do not exist");
        tell(m_infiniteFaces, "with corners that are not finite or too far away");
        tell(m_flatFaces, "without area");
        // See `Mesh`: there is room behind the last element.
        m_mesh.triangles.reserve(m_mesh.triangles.size() + 1);
        if (m_mesh.triangles.empty()) {
            m_findings.add(m_node, "The mesh has no triangles.");
            return nullptr;
        }
        readVectors("normals", m_mesh.normals);
        readVectors("tangents", m_mesh.tangents);
        readVectors("bitangents", m_mesh.bitangents);
        for (u32 set = 0; set < mostUvSets; ++set)
            readUvs(set);
        readValues<math::Rgbaf>("colors", m_mesh.colors, [](const math::Rgbaf& c) {
            const Vec3 color{c[0], c[1], c[2]};
            return Vec4{isFinite(color) ? color : gray(1), std::isfinite(c[3]) ? c[3] : 1.0F};
        });
        return std::make_shared<const Mesh>(std::move(m_mesh));
    }

private:
    void tell(u64 count, const char* fault) {
        if (count == 0) return;
        const char* faces = count == 1 ? "1 face" : nullptr;
        const String text = faces ? String(faces) : String::format("%llu faces", count + 0ULL);
        m_findings.add(m_node, text + " " + fault + (count == 1 ? " is" : " are") + " left out.");
    }

    // Returns the elements of a buffer; none, with a finding, if they are of another type.
    template<class T>
    std::span<const T> elements(const char* name) {
        const SnapshotInput input = m_node[name];
        const auto found = input.buffer<T>();
        if (found.empty() && input.bufferView().count > 0)
            m_findings.add(m_node, String("The elements of \"") + name +
                                       "\" have another type than that of a mesh.");
        return found;
    }

    void readPositions() {
        const auto positions = elements<math::Pos3f>("positions");
        m_mesh.positions.reserve(positions.size() + 1);
        for (const math::Pos3f& p : positions) {
            endIfStopped(m_stop);
            m_mesh.positions.push_back(vec3(p));
        }
    }

    void readFaces() {
        const auto indices = elements<u32>("indices"), counts = elements<u32>("faceCounts");
        if (!counts.empty()) return readFaces(indices, counts);
        for (u64 i = 0; i + 3 <= indices.size(); i += 3)
            addFace(indices.subspan(i, 3));
        if (indices.size() % 3 != 0) ++m_shortFaces;
    }

    void readFaces(std::span<const u32> indices, std::span<const u32> counts) {
        u64 at = 0;
        for (const u32 count : counts) {
            if (count > indices.size() - at) {
                m_findings.add(m_node, "The faces have more corners than there are indices.");
                return;
            }
            addFace(indices.subspan(at, count));
            at += count;
        }
    }

    void addFace(std::span<const u32> face) {
        endIfStopped(m_stop);
        if (face.size() < 3) {
            ++m_shortFaces;
            return;
        }
        m_corners.clear();
        for (const u32 vertex : face) {
            if (vertex >= m_mesh.positions.size()) {
                ++m_wrongFaces;
                return;
            }
            m_corners.push_back(m_mesh.positions[vertex]);
        }
        if (std::all_of(m_corners.begin(), m_corners.end(), isPlace))
            addTriangles(face);
        else
            ++m_infiniteFaces;
    }

    void addTriangles(std::span<const u32> face) {
        m_cut.clear();
        triangulate(m_corners, m_cut, m_stop);
        const u64 before = m_mesh.triangles.size();
        for (const Triangle& t : m_cut) {
            const Vec3 corners[] = {m_corners[t[0]], m_corners[t[1]], m_corners[t[2]]};
            if (!(length(polygonNormal(corners)) > 0.0F)) continue;
            m_mesh.triangles.push_back({face[t[0]], face[t[1]], face[t[2]]});
            for (const Vec3& corner : corners)
                m_mesh.bounds.add(corner);
        }
        if (m_mesh.triangles.size() == before) ++m_flatFaces;
    }

    template<class From, class To, class Convert>
    void readValues(const char* name, std::vector<To>& out, const Convert& convert) {
        const auto values = elements<From>(name);
        if (values.empty()) return;
        if (values.size() != m_mesh.positions.size()) {
            m_findings.add(m_node, String("The number of \"") + name +
                                       "\" is not that of the positions; they are not used.");
            return;
        }
        out.reserve(values.size());
        for (const From& value : values) {
            endIfStopped(m_stop);
            out.push_back(convert(value));
        }
    }

    // The sets are called "uvs", "uvs1", "uvs2" and so on.
    void readUvs(u32 set) {
        const String name = set == 0 ? String("uvs") : String::format("uvs%u", set);
        if (!m_node[name]) return;
        m_mesh.uvs.resize(set + 1);
        readValues<math::Vec2f>(name.buf(), m_mesh.uvs[set], [](const math::Vec2f& uv) {
            return Vec2{uv[0], uv[1]};
        });
    }

    // A vector that is no direction becomes zero, which stands for none.
    void readVectors(const char* name, std::vector<Vec3>& out) {
        readValues<math::Vec3f>(name, out, [](const math::Vec3f& v) {
            return normalized(Vec3{v[0], v[1], v[2]}, Vec3());
        });
    }

    const SnapshotNode& m_node;
    FindingList& m_findings;
    const std::stop_token& m_stop;
    Mesh m_mesh;
    std::vector<Vec3> m_corners;
    std::vector<Triangle> m_cut;
    u64 m_shortFaces = 0;
    u64 m_wrongFaces = 0;
    u64 m_infiniteFaces = 0;
    u64 m_flatFaces = 0;
};

} // namespace

std::shared_ptr<const Mesh> readMesh(const SnapshotNode& node, FindingList& findings,
                                     const std::stop_token& stop) {
    return MeshReader(node, findings, stop).read();
}

} // namespace qv::render::impl
