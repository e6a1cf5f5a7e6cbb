#include "tools/import/import_context.h"

namespace qv::model_import {

namespace {

void listMeshParts(const aiMesh& mesh, Report& report) {
    for (u32 i = 0; i < mesh.mNumBones; ++i) {
        if (mesh.mBones[i]) report.leaveOut("bones", String(viewOf(mesh.mBones[i]->mName)));
    }
    for (u32 i = 0; i < mesh.mNumAnimMeshes; ++i) {
        if (mesh.mAnimMeshes[i])
            report.leaveOut("morph targets", String(viewOf(mesh.mAnimMeshes[i]->mName)));
    }
}

} // namespace

void listLeftOut(ImportContext& context) {
    const aiScene& model = context.model;
    for (u32 i = 0; i < model.mNumMeshes; ++i) {
        if (model.mMeshes[i]) listMeshParts(*model.mMeshes[i], context.report);
    }
    for (u32 i = 0; i < model.mNumAnimations; ++i) {
        if (model.mAnimations[i])
            context.report.leaveOut("animations", String(viewOf(model.mAnimations[i]->mName)));
    }
}

} // namespace qv::model_import
