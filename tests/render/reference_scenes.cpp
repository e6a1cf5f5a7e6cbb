#include "tests/render/reference_scenes.h"

#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <numbers>

namespace qv::render::tests {

namespace {

std::string node(const std::string& type, const std::string& name, const std::string& inputs) {
    return "node " + type + " \"" + name + "\" {\n" + inputs + "\n}\n";
}

std::string numbers(std::initializer_list<double> values) {
    std::string text;
    char buffer[32];
    for (const double value : values) {
        std::snprintf(buffer, sizeof buffer, "%.9g ", value);
        text += buffer;
    }
    return text;
}

std::string place(double x, double y, double z, double size) {
    return numbers({size, 0, 0, 0, 0, size, 0, 0, 0, 0, size, 0, x, y, z, 1});
}

std::string under(const std::string& name, const std::string& matrix, const std::string& child) {
    return node("xform", name,
                "    Mat4 matrix = (" + matrix + ")\n    Array<Node> children = [" + child + "]");
}

std::string material(const std::string& name, const std::string& inputs) {
    return node("material", name, inputs);
}

/// A ball of radius 1 on the plane y = 0, at a place of it.
std::string ball(const std::string& name, const std::string& materialName, double x, double z,
                 double size = 1.0, const char* more = "") {
    constexpr int rows = 24, columns = 48;
    std::string positions, uvs, indices;
    for (int j = 0; j <= rows; ++j)
        for (int i = 0; i <= columns; ++i) {
            const double polar = std::numbers::pi * j / rows;
            const double angle = 2.0 * std::numbers::pi * i / columns;
            positions += "(" +
                         numbers({std::sin(polar) * std::sin(angle), std::cos(polar),
                                  std::sin(polar) * std::cos(angle)}) +
                         ")";
            uvs += "(" + numbers({4.0 * i / columns, 2.0 - 2.0 * j / rows}) + ")";
            const int at = j * (columns + 1) + i, below = at + columns + 1;
            if (j == rows || i == columns) continue;
            if (j + 1 < rows) indices += numbers({1.0 * at, 1.0 * below, below + 1.0});
            if (j > 0) indices += numbers({1.0 * at, below + 1.0, at + 1.0});
        }
    return under(name + "Place", place(x, size, z, size), name) +
           node("mesh", name,
                "    Buffer<Pos3f> positions = [" + positions + "]\n    Buffer<Vec3f> normals = [" +
                    positions + "]\n    Buffer<Vec2f> uvs = [" + uvs +
                    "]\n    Buffer<UInt32> indices = [" + indices +
                    "]\n    Node material = " + materialName + "\n" + more);
}

/// A square from -1 to 1, upright and facing z, under a matrix.
std::string sheet(const std::string& name, const std::string& materialName,
                  const std::string& matrix, const char* more = "") {
    return under(name + "Place", matrix, name) +
           node("mesh", name,
                R"(    Buffer<Pos3f> positions = [(-1 -1 0) (1 -1 0) (1 1 0) (-1 1 0)]
    Buffer<Vec2f> uvs = [(0 0) (1 0) (1 1) (0 1)]
    Buffer<UInt32> indices = [0 1 2 3]
    Buffer<UInt32> faceCounts = [4]
    Node material = )" +
                    materialName + "\n" + more);
}

/// Pixels from letters, row by row from the top: R, G, B, W, K for black, T for transparent white.
std::string texture(const std::string& name, int width, const std::string& letters,
                    const std::string& more = "    String filter = \"nearest\"\n") {
    std::string pixels;
    for (const char letter : letters)
        pixels += letter == 'R'   ? "(230 40 30 255) "
                  : letter == 'G' ? "(40 180 60 255) "
                  : letter == 'B' ? "(40 70 220 255) "
                  : letter == 'Y' ? "(240 210 60 255) "
                  : letter == 'K' ? "(20 20 20 255) "
                  : letter == 'T' ? "(255 255 255 0) "
                                  : "(240 240 240 255) ";
    const int height = static_cast<int>(letters.size()) / width;
    return node("texture", name,
                "    UInt width = " + std::to_string(width) +
                    "\n    UInt height = " + std::to_string(height) +
                    "\n    Buffer<Rgba8> pixels = [" + pixels + "]\n" + more);
}

/// The letter F: it looks wrong when it is turned or mirrored.
std::string letter(const std::string& more = "    String filter = \"nearest\"\n") {
    return texture("letter", 6,
                   "WWWWWW"
                   "WRRRRW"
                   "WRWWWW"
                   "WRRRWW"
                   "WRWWWW"
                   "WBWWWW"
                   "WWWWWW",
                   more);
}

// A floor of 6 x 6, with squares of two grays.
std::string floor() {
    return sheet("floor", "tiles", numbers({4, 0, 0, 0, 0, 0, -4, 0, 0, 4, 0, 0, 0, 0, 0, 1})) +
           material("tiles", R"(    Node baseColorTexture = tileTexture
    Vec2 baseColorTextureUvScale = (4 4)
    Real roughness = 1)") +
           texture("tileTexture", 2, "WKKW");
}

std::string camera(double x = 0.0, double y = 2.0, double z = 6.0) {
    return node("camera", "eye",
                "    Pos3 position = (" + numbers({x, y, z}) + ")\n    Vec3 direction = (" +
                    numbers({-x, 0.8 - y, -z}) + ")\n    Real horizontalFov = 0.9");
}

std::string sun(double intensity, double angle = 0.0093) {
    return node("xform", "sunPlace",
                "    Mat4 matrix = (0.8 0 0.6 0  0.36 0.8 -0.48 0  -0.48 0.6 0.64 0  0 0 0 1)\n"
                "    Array<Node> children = [sun]") +
           node("sunLight", "sun",
                "    Real intensity = " + numbers({intensity}) +
                    "\n    Real angle = " + numbers({angle}));
}

std::string sky(double intensity, const char* more = "    Bool inBackground = false") {
    return node("skyLight", "sky", "    Real intensity = " + numbers({intensity}) + "\n" + more);
}

// From left to right: chalk, plastic, rough copper, a golden mirror.
std::string materials() {
    return floor() + camera() + sun(2.5) + sky(0.5) + ball("a", "chalk", -2.1, 0, 0.6) +
           ball("b", "plastic", -0.7, 0, 0.6) + ball("c", "copper", 0.7, 0, 0.6) +
           ball("d", "gold", 2.1, 0, 0.6) + material("chalk", "    Real roughness = 1") +
           material("plastic", "    Rgba baseColor = (0.1 0.2 0.8 1)\n    Real roughness = 0.15") +
           material("copper", "    Rgba baseColor = (0.9 0.5 0.35 1)\n    Real metallic = 1\n"
                              "    Real roughness = 0.45") +
           material("gold", "    Rgba baseColor = (1 0.8 0.3 1)\n    Real metallic = 1\n"
                            "    Real roughness = 0");
}

// From left to right: a coat on rough red, cloth, colours of vertices.
std::string layers() {
    return floor() + camera() + sun(2.5) + sky(0.6) + ball("a", "lacquer", -1.6, 0, 0.75) +
           ball("b", "cloth", 0, 0, 0.75) +
           material("lacquer", "    Rgba baseColor = (0.7 0.05 0.05 1)\n    Real roughness = 0.8\n"
                               "    Real clearcoat = 1\n    Real clearcoatRoughness = 0.05") +
           material("cloth", "    Rgba baseColor = (0.1 0.1 0.3 1)\n    Real roughness = 1\n"
                             "    Rgba sheenColor = (0.9 0.8 1 1)\n    Real sheenRoughness = 0.4") +
           sheet("painted", "plain", place(1.8, 0.8, 0, 0.8),
                 "    Buffer<Rgbaf> colors = [(1 0 0 1) (0 1 0 1) (0 0 1 1) (1 1 0 1)]\n") +
           material("plain", "    Rgba baseColor = (1 1 1 1)\n    Real roughness = 1");
}

// A red point without extent on the left, a blue spot with a radius on the right.
std::string lamps() {
    return floor() + camera() + sky(0.05) + ball("a", "chalk", 0, 0, 0.7) +
           material("chalk", "    Real roughness = 1") +
           under("redPlace", place(-1.8, 1.8, 1, 1), "red") +
           node("pointLight", "red", "    Rgba color = (1 0.25 0.2 1)\n    Real intensity = 8") +
           node("xform", "bluePlace",
                "    Mat4 matrix = (1 0 0 0  0 0 -1 0  0 1 0 0  1.8 2.2 0.8 1)\n"
                "    Array<Node> children = [blue]") +
           node("spotLight", "blue",
                "    Rgba color = (0.3 0.4 1 1)\n    Real intensity = 30\n    Real radius = 0.15\n"
                "    Real innerAngle = 0.5\n    Real outerAngle = 0.9");
}

// A bright square that shines to the front, and a disc above that shines down.
std::string areas() {
    return floor() + camera() + ball("a", "chalk", 0.3, 0, 0.7) +
           material("chalk", "    Real roughness = 1") +
           under("discPlace", numbers({1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 1.2, 2.3, 0, 1}),
                 "disc") +
           node(
               "areaLight", "disc",
               "    String shape = \"ellipse\"\n    Vec2 size = (1.4 1.4)\n"
               "    Rgba color = (1 0.9 0.7 1)\n    Real intensity = 5\n    Bool twoSided = true") +
           under("panelPlace", place(-1.8, 1, -1.5, 1), "panel") +
           node("areaLight", "panel",
                "    Vec2 size = (1.2 1.6)\n    Rgba color = (0.5 0.8 1 1)\n"
                "    Real intensity = 1.5\n    Bool twoSided = true");
}

// A large sun behind the left shoulder: shadows to the right, sharp at their feet, soft at their
// ends.
std::string sunshine() {
    return floor() + camera() + sun(3, 0.15) + sky(0.3) + ball("a", "chalk", -1, 0, 0.6) +
           sheet("post", "chalk", numbers({0.1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.1, 0, 0.7, 1, 0, 1})) +
           material("chalk", "    Real roughness = 1\n    Bool twoSided = true");
}

// The letter F: repeated, clamped, mirrored and once alone; the last turned by 30 degrees.
std::string textures() {
    std::string text = camera(0, 1, 6) + sky(1) + letter();
    const char* wraps[] = {"repeat", "clamp", "mirror", "decal"};
    for (int i = 0; i < 4; ++i) {
        const std::string name(1, static_cast<char>('a' + i));
        const std::string wrap = std::string("\"") + wraps[i] + "\"\n";
        const char* turn = i == 3 ? "    Real baseColorTextureUvRotation = 0.5235988\n" : "";
        text +=
            sheet(name, name + "Paint", place(i % 2 * 2.1 - 1.05, i < 2 ? 1.65 : 0.15, 0, 0.7)) +
            material(name + "Paint", "    Node baseColorTexture = letter\n    Real roughness = 1\n"
                                     "    Vec2 baseColorTextureUvScale = (2 2)\n"
                                     "    Vec2 baseColorTextureUvOffset = (-0.5 -0.5)\n"
                                     "    String baseColorTextureWrapU = " +
                                         wrap + "    String baseColorTextureWrapV = " + wrap +
                                         turn);
    }
    return text;
}

// One sheet in many places: those in the second row are mirrored, those in the third turned.
std::string instances() {
    std::string text = camera(0, 2, 6) + sun(2) + sky(0.5) + letter() + floor();
    std::string places;
    for (int i = 0; i < 15; ++i) {
        const double x = (i % 5 - 2) * 1.0, z = 0.5 - i / 5 * 1.2, size = 0.35;
        const double angle = i / 5 == 2 ? 0.5 * (i % 5) : 0.0;
        const double side = i / 5 == 1 ? -size : size;
        const double c = std::cos(angle), s = std::sin(angle);
        const std::string name = "place" + std::to_string(i);
        text += under(name,
                      numbers({side * c, side * s, 0, 0, -size * s, size * c, 0, 0, 0, 0, size, 0,
                               x, 0.5 + 0.35 * (i / 5), z, 1}),
                      "one");
    }
    return text + node("mesh", "one", R"(
    Buffer<Pos3f> positions = [(-1 -1 0) (1 -1 0) (1 1 0) (-1 1 0)]
    Buffer<Vec2f> uvs = [(0 0) (1 0) (1 1) (0 1)]
    Buffer<UInt32> indices = [0 1 2 0 2 3]
    Node material = paint)") +
           material("paint", "    Node baseColorTexture = letter\n    Real roughness = 1");
}

// A ball of clear glass, one of green glass, and a thin sheet of red glass.
std::string glass() {
    return floor() + camera() + sun(2, 0.1) + sky(0.7, "") + ball("a", "clear", -1.3, 0.3, 0.8) +
           ball("b", "green", 0.6, 0.3, 0.8) +
           sheet("pane", "red",
                 numbers({0.4, 0, -0.2, 0, 0, 0.8, 0, 0, 0.4, 0, 0.8, 0, 1.9, 0.8, -0.3, 1})) +
           material("clear", "    Rgba baseColor = (1 1 1 1)\n    Real roughness = 0\n"
                             "    Real transmission = 1\n    Real thickness = 1") +
           material("green", "    Rgba baseColor = (1 1 1 1)\n    Real roughness = 0\n"
                             "    Real transmission = 1\n    Real thickness = 1\n"
                             "    Real attenuationDistance = 1\n"
                             "    Rgba attenuationColor = (0.3 0.9 0.4 1)") +
           material("red", "    Rgba baseColor = (1 0.3 0.3 1)\n    Real roughness = 0.05\n"
                           "    Real transmission = 1");
}

// A letter cut out of its sheet, before a half opaque blue one, with their shadows.
std::string opacity() {
    return floor() + camera() + sun(2.5) + sky(0.5) + sheet("cut", "mask", place(-1, 1, 0.6, 0.8)) +
           sheet("veil", "blend", place(0.8, 1, 0, 0.8)) +
           sheet("wall", "chalk", place(0, 1.2, -1.2, 1.2)) +
           material("mask", "    Node baseColorTexture = stencil\n    String alphaMode = \"MASK\"\n"
                            "    Real roughness = 1") +
           material("blend", "    Rgba baseColor = (0.1 0.2 0.9 1)\n    Real opacity = 0.5\n"
                             "    String alphaMode = \"BLEND\"\n    Real roughness = 1") +
           material("chalk", "    Real roughness = 1") +
           texture("stencil", 6,
                   "RRRRRR"
                   "RTTTTR"
                   "RTRRRR"
                   "RTTTRR"
                   "RTRRRR"
                   "RRRRRR");
}

// A sky of four colours: yellow ahead, red to the left, green to the right, blue behind; white
// above.
std::string environment() {
    return camera(0, 1, 6) + sky(1, "    Node texture = around") +
           ball("a", "mirror", -1.1, 0, 0.9) + ball("b", "chalk", 1.1, 0, 0.9) +
           material("mirror", "    Rgba baseColor = (1 1 1 1)\n    Real metallic = 1\n"
                              "    Real roughness = 0") +
           material("chalk", "    Real roughness = 1") +
           texture("around", 8,
                   "WWWWWWWW"
                   "BRRYYGGB"
                   "BRRYYGGB"
                   "KKKKKKKK",
                   "");
}

// A square of round bumps, lit from the upper left; a ball with flat faces and one with smooth
// ones.
std::string normals() {
    std::string pixels;
    constexpr int size = 16;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const double u = (x + 0.5) / size * 2 - 1, v = 1 - (y + 0.5) / size * 2;
            const double r2 = u * u + v * v;
            const bool isBump = r2 < 0.8;
            const double nx = isBump ? u * 0.8 : 0, ny = isBump ? v * 0.8 : 0;
            const double nz = std::sqrt(1 - nx * nx - ny * ny);
            pixels += "(" +
                      numbers({std::round(nx * 127 + 128), std::round(ny * 127 + 128),
                               std::round(nz * 127 + 128), 255}) +
                      ") ";
        }
    return camera(0, 1, 6) + sun(3) + sky(0.2) + ball("smooth", "bumpy", -1.2, 0, 0.9) +
           sheet("flat", "bumpy", place(1.2, 0.9, 0, 0.9)) +
           material("bumpy", "    Node normalTexture = bumps\n    Real roughness = 0.6\n"
                             "    Vec2 normalTextureUvScale = (3 3)") +
           node("texture", "bumps",
                "    UInt width = 16\n    UInt height = 16\n    Buffer<Rgba8> pixels = [" + pixels +
                    "]");
}

// A room that a shining ball lights: red wall on the left, green wall on the right.
std::string emission() {
    return sheet("floor", "white",
                 numbers({1.5, 0, 0, 0, 0, 0, -1.5, 0, 0, 1.5, 0, 0, 0, 0, 0, 1})) +
           sheet("ceiling", "white",
                 numbers({1.5, 0, 0, 0, 0, 0, 1.5, 0, 0, -1.5, 0, 0, 0, 2.2, 0, 1})) +
           sheet("back", "white",
                 numbers({1.5, 0, 0, 0, 0, 1.1, 0, 0, 0, 0, 1, 0, 0, 1.1, -1.5, 1})) +
           sheet("left", "red",
                 numbers({0, 0, -1.5, 0, 0, 1.1, 0, 0, 1, 0, 0, 0, -1.5, 1.1, 0, 1})) +
           sheet("right", "green",
                 numbers({0, 0, 1.5, 0, 0, 1.1, 0, 0, -1, 0, 0, 0, 1.5, 1.1, 0, 1})) +
           ball("a", "white", 0.5, 0.2, 0.45) + ball("b", "glow", -0.6, 0.6, 0.35) +
           node("camera", "eye", "    Pos3 position = (0 1.1 5)\n    Real horizontalFov = 0.75") +
           material("white", "    Real roughness = 1") +
           material("red", "    Rgba baseColor = (0.8 0.1 0.1 1)\n    Real roughness = 1") +
           material("green", "    Rgba baseColor = (0.1 0.7 0.1 1)\n    Real roughness = 1") +
           material("glow", "    Rgba emissive = (1 0.9 0.7 1)\n    Real emissiveIntensity = 4");
}

} // namespace

std::vector<ReferenceScene> referenceScenes() {
    return {
        {"materials", materials()}, {"layers", layers()},
        {"lamps", lamps()},         {"areas", areas()},
        {"sunshine", sunshine()},   {"textures", textures()},
        {"instances", instances()}, {"glass", glass()},
        {"opacity", opacity()},     {"environment", environment()},
        {"normals", normals()},     {"emission", emission()},
    };
}

} // namespace qv::render::tests
