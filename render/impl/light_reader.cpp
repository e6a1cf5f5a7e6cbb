#include "render/impl/light_reader.h"

#include "render/impl/input_values.h"
#include "render/impl/placing.h"

namespace qv::render::impl {

namespace {

using kelvo_sdk::SnapshotNode;

constexpr double twoPi = 2.0 * std::numbers::pi;

class LightReader {
public:
    LightReader(const SnapshotNode& node, const Transform& toWorld, TextureStore& textures,
                FindingList& findings, std::vector<Light>& lights)
        : m_node(node),
          m_toWorld(toWorld),
          m_textures(textures),
          m_findings(findings),
          m_values(node, findings),
          m_lights(lights) {}

    void read() {
        const Vec3 color = m_values.color("color", gray(1));
        const float intensity = real("intensity", 1.0, 1e20);
        m_light.color = {color * intensity, m_values.color("specularColor", color) * intensity};
        m_light.castsShadows = m_values.flag("castShadows", true);
        m_light.place = placeOf(m_toWorld, {}, {0, 0, -1}, {0, 1, 0});
        if (m_node.isTypeOf("pointLight")) return readBall(LightShape::Sphere);
        if (m_node.isTypeOf("spotLight")) return readBall(LightShape::Spot);
        if (m_node.isTypeOf("sunLight")) return readSun();
        if (m_node.isTypeOf("areaLight")) return readArea();
        if (m_node.isTypeOf("skyLight")) return readSky();
        if (m_node.isTypeOf("light")) return readAny();
    }

private:
    [[nodiscard]] float real(const char* name, double absent, double most) const {
        return m_values.real(name, absent, 0.0, most);
    }

    void add(LightShape shape) {
        m_light.shape = shape;
        if (!m_light.color.isBlack()) m_lights.push_back(m_light);
    }

    void readCone(double inner, double outer, double most) {
        m_light.cosInner = std::cos(real("innerAngle", inner, most) / 2.0F);
        m_light.cosOuter = std::cos(real("outerAngle", outer, most) / 2.0F);
        m_light.cosInner = std::max(m_light.cosInner, m_light.cosOuter);
    }

    void readBall(LightShape shape) {
        const float scale = std::cbrt(std::abs(m_toWorld.determinant()));
        m_light.radius = real("radius", 0.0, 1e17) * scale;
        if (shape == LightShape::Spot) readCone(0.5, 0.8, std::numbers::pi);
        add(shape);
    }

    void readSun() {
        m_light.halfAngle = real("angle", 0.0093, std::numbers::pi) / 2.0F;
        add(LightShape::Sun);
    }

    // Makes the axes of the place half the extent of the area.
    void spread(const Vec3& x, const Vec3& y) {
        const math::Vec2d size = m_node["size"].get<math::Vec2d>({{1.0, 1.0}});
        m_light.place.x = m_toWorld.vector(x) * static_cast<float>(size[0] / 2.0);
        m_light.place.y = m_toWorld.vector(y) * static_cast<float>(size[1] / 2.0);
        m_light.place.z = normalized(m_toWorld.normal(cross(x, y)));
    }

    void addArea(LightShape shape) {
        const float area = length(cross(m_light.place.x, m_light.place.y));
        if (std::isnormal(area)) return add(shape);
        m_findings.add(m_node, "The light has no area.");
    }

    void readArea() {
        m_light.isTwoSided = m_values.flag("twoSided", false);
        spread({1, 0, 0}, {0, 1, 0});
        const bool isRound = m_values.text("shape", "rectangle") == "ellipse";
        addArea(isRound ? LightShape::Ellipse : LightShape::Rectangle);
    }

    void readSky() {
        m_light.isInBackground = m_values.flag("inBackground", true);
        if (const SnapshotNode texture = m_node["texture"].linked())
            m_light.texture = m_textures.find(texture, m_findings);
        const float angle = m_values.real("rotation", 0.0, -1e6, 1e6);
        const float c = std::cos(angle), s = std::sin(angle);
        const Transform before = m_light.place;
        m_light.place.x = before.x * c - before.z * s;
        m_light.place.z = before.x * s + before.z * c;
        add(LightShape::Sky);
    }

    // A light as models have it, with a place of its own.
    void readAny() {
        const String shape = m_values.text("shape", "point");
        const Vec3 direction = ownDirection(shape), up = ownUp(shape);
        m_light.place = placeOf(m_toWorld, m_values.vector("position", {}), direction, up);
        m_light.attenuation = {real("attenuationConstant", 0.0, 1e20),
                               real("attenuationLinear", 0.0, 1e20),
                               real("attenuationQuadratic", 1.0, 1e20)};
        if (shape == "directional") return add(LightShape::Sun);
        if (shape == "area") {
            const Frame frame = lookFrame(direction, up);
            spread(frame.x, frame.y);
            return addArea(LightShape::Rectangle);
        }
        if (shape == "ambient") return readAmbient();
        if (m_light.attenuation == Vec3()) m_light.attenuation = {1, 0, 0};
        if (shape == "spot") {
            readCone(twoPi, twoPi, twoPi + 1e-4);
            return add(LightShape::Spot);
        }
        if (shape != "point")
            m_findings.add(m_node, "The shape of the light is not known; it shines as a point.");
        add(LightShape::Sphere);
    }

    // Models set what a light of that shape does not need to zero.
    Vec3 ownDirection(const String& shape) const {
        const Vec3 front{0, 0, -1};
        const bool isAimed = shape == "directional" || shape == "spot" || shape == "area";
        return isAimed ? m_values.direction("direction", front) : front;
    }
    Vec3 ownUp(const String& shape) const {
        const Vec3 top{0, 1, 0};
        return shape == "area" ? m_values.direction("up", top) : top;
    }

    // Models give the colour of ambient light in either input.
    void readAmbient() {
        const Vec3 ambient = m_values.color("ambientColor", {}) * real("intensity", 1.0, 1e20);
        if (largest(ambient) > 0.0F) m_light.color = ambient;
        m_light.isInBackground = false;
        add(LightShape::Sky);
    }

    const SnapshotNode& m_node;
    const Transform& m_toWorld;
    TextureStore& m_textures;
    FindingList& m_findings;
    InputValues m_values;
    std::vector<Light>& m_lights;
    Light m_light;
};

} // namespace

void readLights(const SnapshotNode& node, const Transform& toWorld, TextureStore& textures,
                FindingList& findings, std::vector<Light>& lights) {
    LightReader(node, toWorld, textures, findings, lights).read();
}

} // namespace qv::render::impl
