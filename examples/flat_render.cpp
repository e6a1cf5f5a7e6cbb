// A renderer on snapshots: draws triangles with flat shading as text, and draws again after an
// edit.
#include "examples/expect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using namespace qv;
using namespace qv::kelvo_sdk;

namespace {

using Corners = std::array<math::Pos3d, 3>;

constexpr const char* scene = R"(
node xform "turned" {
    Array<Node> children = [stone]
    Mat4 matrix = (0.8 0.36 -0.48 0  0 0.8 0.6 0  0.6 -0.48 0.64 0  0 0 0 1)
}
node mesh "stone" {
    Buffer<Pos3f> positions = [(1 0 0) (-1 0 0) (0 1 0) (0 -1 0) (0 0 1) (0 0 -1)]
    Buffer<UInt32> indices = [0 2 4  2 1 4  1 3 4  3 0 4  2 0 5  1 2 5  3 1 5  0 3 5]
}
)";

math::Pos3d doubles(const math::Pos3f& p) {
    return {{static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])}};
}

/// Looks along -z at x and y from -1 to 1.
class Picture {
public:
    void draw(const Corners& c) {
        const math::Vec3d a = c[1] - c[0], b = c[2] - c[0];
        const double area = a[0] * b[1] - a[1] * b[0];
        if (area <= 0.0) return; // The back of a face.
        const char shade = shadeOf(a, b);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const double px = (x + 0.5) * 2.0 / width - 1.0 - c[0][0];
                const double py = 1.0 - (y + 0.5) * 2.0 / height - c[0][1];
                const double u = (px * b[1] - py * b[0]) / area, v = (a[0] * py - a[1] * px) / area;
                const double depth = c[0][2] + u * a[2] + v * b[2];
                double& nearest = m_depths[static_cast<size_t>(y * width + x)];
                if (u < 0.0 || v < 0.0 || u + v > 1.0 || depth <= nearest) continue;
                nearest = depth;
                m_rows[static_cast<size_t>(y)][static_cast<size_t>(x)] = shade;
            }
    }
    void print() const {
        for (const std::string& row : m_rows)
            std::printf("%s\n", row.substr(0, row.find_last_not_of(' ') + 1).c_str());
    }

private:
    static constexpr int width = 36, height = 18;

    // The light comes from the upper left, behind the camera.
    static char shadeOf(const math::Vec3d& a, const math::Vec3d& b) {
        const math::Vec3d n{
            {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
        const double size = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        const double light = (-0.48 * n[0] + 0.6 * n[1] + 0.64 * n[2]) / size;
        return ".:-=+*#%@"[std::clamp(static_cast<int>(light * 9.0), 0, 8)];
    }

    std::vector<double> m_depths = std::vector<double>(size_t{width} * height, -1e9);
    std::vector<std::string> m_rows = std::vector<std::string>(height, std::string(width, ' '));
};

// A mesh with several parents is in several places.
void render(const Snapshot& snapshot, const char* title) {
    Picture picture;
    for (const SnapshotNode& mesh : snapshot.nodes()) {
        const auto positions = mesh["positions"].buffer<math::Pos3f>();
        const auto indices = mesh["indices"].buffer<u32>();
        for (const math::Mat4d& matrix : mesh.worldMatrices())
            for (size_t i = 0; i + 3 <= indices.size(); i += 3) {
                Corners corners;
                for (size_t k = 0; k < 3; ++k)
                    corners[k] = doubles(positions[indices[i + k]]) * matrix;
                picture.draw(corners);
            }
    }
    std::printf("%s:\n", title);
    picture.print();
}

} // namespace

int main() {
    const Scene live = Scene::create();
    expect(live.read(scene, "stone.kns"));
    render(live.snapshot(), "At first");
    math::Mat4d smaller = math::Mat4d::identity;
    for (u64 i = 0; i < 3; ++i)
        smaller[i][i] = 0.6;
    expect(live["turned"]["matrix"].set(smaller));
    render(live.snapshot(), "Smaller, and not turned");
}
