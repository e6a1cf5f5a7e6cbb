#include "tools/import/import_context.h"
#include "tools/import/material_property.h"

namespace qv::model_import {

namespace {

class MaterialImport {
public:
    MaterialImport(ImportContext& context, const Node& node) : m_context(context), m_node(node) {}

    void add(const aiMaterialProperty& source) {
        const std::string_view key = viewOf(source.mKey);
        if (key == "?mat.name") return;
        const MaterialProperty property(source);
        const MaterialKey* texture = findTextureKey(key);
        const bool done =
            texture ? addTexture(*texture, source, property) : addProperty(key, source, property);
        if (!done) m_context.report.leaveOut("material properties", String(key));
    }

private:
    // Numbers repeated names, as models may have a property twice.
    String freeName(const String& name) const {
        String candidate = name;
        for (unsigned n = 2; m_node->hasInput(candidate, AttrType::Null); ++n)
            candidate = name + String::format("_%u", n);
        return candidate;
    }

    bool write(const String& name, AttrType type, const MaterialProperty& property,
               std::span<const std::string_view> choices = {}) const {
        const String free = freeName(name);
        if (property.writeTo(m_node.createInput(free, type), choices)) return true;
        (void)m_node.removeInput(free); // It was just made.
        return false;
    }

    bool addProperty(std::string_view key, const aiMaterialProperty& source,
                     const MaterialProperty& property) const {
        const MaterialKey* known = findMaterialKey(key);
        if (known && write(known->name, known->type, property, known->choices)) return true;
        String name = known ? String(known->name) : materialInputName(key);
        if (source.mSemantic != 0) name = textureSlot(source.mSemantic, source.mIndex) + "_" + name;
        const bool isColor = key.starts_with("$clr.") || name.endsWith("color", true);
        return write(name, property.naturalType(isColor), property);
    }

    bool addTexture(const MaterialKey& known, const aiMaterialProperty& source,
                    const MaterialProperty& property) const {
        const String slot = textureSlot(source.mSemantic, source.mIndex);
        if (known.type == AttrType::Node) return addLink(slot, property);
        if (known.type == AttrType::Null) return addTransform(slot, property.numbers());
        const String name = slot + known.name;
        return write(name, known.type, property, known.choices) ||
               write(name, property.naturalType(false), property);
    }

    bool addLink(const String& slot, const MaterialProperty& property) const {
        if (!property.isText() || property.text().isEmpty()) return false;
        const Node texture = textureAt(m_context, property.text());
        return m_node.createInput(freeName(slot), AttrType::Node).set(texture);
    }

    bool addTransform(const String& slot, const std::vector<double>& numbers) const {
        if (numbers.size() != 5) return false;
        const math::Vec2d offset{{numbers[0], numbers[1]}};
        const math::Vec2d scale{{numbers[2], numbers[3]}};
        addInput(m_node, freeName(slot + "UvOffset"), AttrType::Vec2, offset);
        addInput(m_node, freeName(slot + "UvScale"), AttrType::Vec2, scale);
        addInput(m_node, freeName(slot + "UvRotation"), AttrType::Real, numbers[4]);
        return true;
    }

    ImportContext& m_context;
    const Node& m_node;
};

String nameOf(const aiMaterial& material) {
    aiString name;
    material.Get(AI_MATKEY_NAME, name);
    return String(viewOf(name));
}

// The glTF reader appends a default material even if no mesh uses it.
bool isUnusedDefault(const aiScene& model, u32 index) {
    if (index == 0 || index + 1 != model.mNumMaterials) return false;
    for (u32 i = 0; i < model.mNumMeshes; ++i) {
        if (model.mMeshes[i] && model.mMeshes[i]->mMaterialIndex == index) return false;
    }
    aiString format;
    return model.mMetaData && model.mMetaData->Get("SourceAsset_Format", format) &&
           viewOf(format).starts_with("glTF") && nameOf(*model.mMaterials[index]).isEmpty();
}

Node importMaterial(ImportContext& context, const aiMaterial& material) {
    const Node node = createNamed(context, "material", nameOf(material));
    MaterialImport import(context, node);
    for (u32 i = 0; i < material.mNumProperties; ++i) {
        if (material.mProperties[i]) import.add(*material.mProperties[i]);
    }
    return node;
}

} // namespace

void importMaterials(ImportContext& context) {
    const aiScene& model = context.model;
    context.materials.resize(model.mNumMaterials);
    for (u32 i = 0; i < model.mNumMaterials; ++i) {
        if (!model.mMaterials[i] || isUnusedDefault(model, i)) continue;
        context.materials[i] = importMaterial(context, *model.mMaterials[i]);
    }
    for (u32 i = 0; i < model.mNumMeshes; ++i) {
        const Node& mesh = context.meshes[i];
        const u32 material = mesh ? model.mMeshes[i]->mMaterialIndex : 0;
        if (mesh && material < context.materials.size())
            addInput(mesh, "material", AttrType::Node, context.materials[material]);
    }
}

} // namespace qv::model_import
