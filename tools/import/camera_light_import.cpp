#include "tools/import/import_context.h"

#include <cmath>

namespace qv::model_import {

namespace {

math::Vec3d vec3(const aiVector3D& v) {
    return {{static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}};
}
math::Pos3d pos3(const aiVector3D& v) {
    return {{static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}};
}
math::Rgbad rgba(const aiColor3D& c) {
    return {{static_cast<double>(c.r), static_cast<double>(c.g), static_cast<double>(c.b), 1.0}};
}

const char* lightKind(aiLightSourceType type) {
    switch (type) {
    case aiLightSource_DIRECTIONAL:
        return "directional";
    case aiLightSource_POINT:
        return "point";
    case aiLightSource_SPOT:
        return "spot";
    case aiLightSource_AMBIENT:
        return "ambient";
    case aiLightSource_AREA:
        return "area";
    default:
        return "unknown";
    }
}

void addReal(const Node& node, const char* name, float value) {
    addInput(node, name, AttrType::Real, value);
}

// The view of a camera, from the node that it is below.
struct View {
    aiVector3D position;
    float horizontalFov;
};

// Cameras of glTF stand where their node is, and have a vertical angle. The reader gives them the
// translation of the node besides, and multiplies the angle with the aspect.
View ownView(const ImportContext& context, const aiCamera& camera) {
    if (!context.reader.starts_with("glTF2")) return {camera.mPosition, camera.mHorizontalFOV};
    if (camera.mAspect <= 0.0f) return {{}, camera.mHorizontalFOV};
    const float verticalFov = camera.mHorizontalFOV / camera.mAspect;
    return {{}, 2.0f * std::atan(std::tan(verticalFov / 2.0f) * camera.mAspect)};
}

void importCamera(ImportContext& context, const aiCamera& camera) {
    const View view = ownView(context, camera);
    const Node node = createNamed(context, "camera", viewOf(camera.mName));
    addInput(node, "position", AttrType::Pos3, pos3(view.position));
    addInput(node, "direction", AttrType::Vec3, vec3(camera.mLookAt));
    addInput(node, "up", AttrType::Vec3, vec3(camera.mUp));
    addReal(node, "horizontalFov", view.horizontalFov);
    addReal(node, "aspect", camera.mAspect);
    addReal(node, "near", camera.mClipPlaneNear);
    addReal(node, "far", camera.mClipPlaneFar);
    addReal(node, "orthographicWidth", camera.mOrthographicWidth);
    placeByName(context, node, camera.mName);
}

void importLight(ImportContext& context, const aiLight& light) {
    const Node node = createNamed(context, "light", viewOf(light.mName));
    addInput(node, "shape", AttrType::String, lightKind(light.mType));
    addInput(node, "color", AttrType::Rgba, rgba(light.mColorDiffuse));
    addInput(node, "specularColor", AttrType::Rgba, rgba(light.mColorSpecular));
    addInput(node, "ambientColor", AttrType::Rgba, rgba(light.mColorAmbient));
    addInput(node, "position", AttrType::Pos3, pos3(light.mPosition));
    addInput(node, "direction", AttrType::Vec3, vec3(light.mDirection));
    addInput(node, "up", AttrType::Vec3, vec3(light.mUp));
    addReal(node, "attenuationConstant", light.mAttenuationConstant);
    addReal(node, "attenuationLinear", light.mAttenuationLinear);
    addReal(node, "attenuationQuadratic", light.mAttenuationQuadratic);
    addReal(node, "innerAngle", light.mAngleInnerCone);
    addReal(node, "outerAngle", light.mAngleOuterCone);
    const math::Vec2d size{
        {static_cast<double>(light.mSize.x), static_cast<double>(light.mSize.y)}};
    addInput(node, "size", AttrType::Vec2, size);
    placeByName(context, node, light.mName);
}

} // namespace

void importCameras(ImportContext& context) {
    for (u32 i = 0; i < context.model.mNumCameras; ++i) {
        if (context.model.mCameras[i]) importCamera(context, *context.model.mCameras[i]);
    }
}

void importLights(ImportContext& context) {
    for (u32 i = 0; i < context.model.mNumLights; ++i) {
        if (context.model.mLights[i]) importLight(context, *context.model.mLights[i]);
    }
}

} // namespace qv::model_import
