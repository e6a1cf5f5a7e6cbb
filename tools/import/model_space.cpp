#include "tools/import/model_space.h"

#include "tools/import/import_context.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace qv::model_import {

namespace {

struct FormatSpace {
    /// The first part of the reader's name.
    std::string_view reader;
    const char* upAxis;
    double metersPerUnit;
};

// Formats not listed leave the space to their users. Some readers turn or scale a model by the
// matrix of its first node.
constexpr FormatSpace kFormats[] = {
    {"glTF", "y", 1.0},                // laid down
    {"Extensible 3D", "y", 1.0},       // laid down
    {"3mf", "z", 0.0},                 // laid down; its unit is not handed on
    {"Blender", "z", 0.0},             // laid down
    {"LightWave", "y", 0.0},           // laid down
    {"Collada", "y", 1.0},             // stated; turned and scaled by the reader
    {"Industry Foundation", "y", 1.0}, // stated; turned and scaled by the reader
    {"Discreet 3DS", "y", 0.0},        // turned by the reader
    {"ASE", "y", 0.0},                 // turned by the reader
    {"Drawing Interchange", "y", 0.0}, // turned by the reader
    {"Inter-Quake", "y", 0.0},         // turned by the reader
    {"Quake II Mesh", "y", 0.0},       // turned by the reader
    {"Return To Castle", "y", 0.0},    // turned by the reader
    {"Doom 3", "y", 0.0},              // turned by the reader
};

// Returns 2.54 for 2.54f, rather than the double nearest to the float.
double shortest(float number) {
    char text[32];
    const auto written = std::to_chars(std::begin(text), std::end(text), number);
    double value = static_cast<double>(number);
    std::from_chars(text, written.ptr, value);
    return value;
}

// FBX files state both: the unit in centimetres, the axis by number and sign.
Space statedBy(const aiMetadata& metadata) {
    Space space;
    i32 axis = -1, sign = 1;
    metadata.Get("UpAxisSign", sign);
    if (metadata.Get("UpAxis", axis) && axis >= 0 && axis < 3 && sign > 0)
        space.upAxis = String("xyz"[axis]);
    float centimeters = 0.0f;
    if (metadata.Get("UnitScaleFactor", centimeters) && centimeters > 0.0f &&
        std::isfinite(centimeters))
        space.metersPerUnit = shortest(centimeters) / 100.0;
    return space;
}

u32 axisNumber(const String& axis) {
    return static_cast<u32>(axis[0] - 'x');
}

// Returns the rotation about the third axis that turns one axis to the other, for points as rows.
math::Mat4d turn(u32 from, u32 to) {
    auto matrix = math::Mat4d::identity;
    matrix[from][from] = matrix[to][to] = 0.0;
    matrix[from][to] = 1.0;
    matrix[to][from] = -1.0;
    return matrix;
}

math::Mat4d change(const Space& from, const Space& to) {
    auto matrix = math::Mat4d::identity;
    if (!to.upAxis.isEmpty() && to.upAxis != from.upAxis)
        matrix = turn(axisNumber(from.upAxis), axisNumber(to.upAxis));
    const double scale = to.metersPerUnit > 0.0 ? from.metersPerUnit / to.metersPerUnit : 1.0;
    for (u32 row = 0; row < 3; ++row)
        for (u32 column = 0; column < 3; ++column)
            matrix[row][column] *= scale;
    return matrix;
}

void record(ImportContext& context, const Space& space) {
    if (space.upAxis.isEmpty() && space.metersPerUnit == 0.0) return;
    const Node node = createNamed(context, "sceneSettings", "settings");
    if (!space.upAxis.isEmpty()) addInput(node, "upAxis", AttrType::String, space.upAxis);
    if (space.metersPerUnit != 0.0)
        addInput(node, "metersPerUnit", AttrType::Real, space.metersPerUnit);
}

} // namespace

Space spaceOf(std::string_view reader, const aiScene& model, const Space& stated) {
    Space space;
    const auto* found =
        std::find_if(std::begin(kFormats), std::end(kFormats),
                     [reader](const FormatSpace& f) { return reader.starts_with(f.reader); });
    if (found != std::end(kFormats)) space = {found->upAxis, found->metersPerUnit};
    if (reader.starts_with("Autodesk FBX") && model.mMetaData) space = statedBy(*model.mMetaData);
    if (!stated.upAxis.isEmpty()) space.upAxis = stated.upAxis;
    if (stated.metersPerUnit > 0.0) space.metersPerUnit = stated.metersPerUnit;
    return space;
}

String whyNotInto(const Space& model, const Space& wanted) {
    if (!wanted.upAxis.isEmpty() && model.upAxis.isEmpty())
        return "its up axis is not stated: --model-up gives it";
    if (wanted.metersPerUnit > 0.0 && model.metersPerUnit <= 0.0)
        return "its unit is not stated: --model-unit gives it";
    return {};
}

void importSpace(ImportContext& context) {
    const Space& wanted = context.options.scene;
    const math::Mat4d matrix = change(context.space, wanted);
    // Skips the identity: even multiplying with it may turn -0 into 0.
    if (!(matrix == math::Mat4d::identity)) {
        // The inputs were made for the import, as Mat4.
        for (const Node& top : context.tops)
            (void)top["matrix"].set(top["matrix"].get<math::Mat4d>() * matrix);
    }
    Space space = context.space;
    if (!wanted.upAxis.isEmpty()) space.upAxis = wanted.upAxis;
    if (wanted.metersPerUnit > 0.0) space.metersPerUnit = wanted.metersPerUnit;
    record(context, space);
}

} // namespace qv::model_import
