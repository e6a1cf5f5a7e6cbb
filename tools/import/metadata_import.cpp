#include "tools/import/import_context.h"

namespace qv::model_import {

namespace {

// More than any sensible model has, and less than the limit for reading scenes.
constexpr u32 kMaxDepth = 50;

class MetadataImport {
public:
    explicit MetadataImport(Report& report) : m_report(report) {}

    void add(const Input& object, const aiMetadata& metadata, u32 depth) {
        for (u32 i = 0; i < metadata.mNumProperties; ++i) {
            const String name = memberName(object, viewOf(metadata.mKeys[i]));
            const aiMetadataEntry& entry = metadata.mValues[i];
            if (!entry.mData || !addMember(object, name, entry, depth))
                m_report.leaveOut("metadata entries", name);
        }
    }

private:
    template<typename T>
    static bool set(const Input& object, const String& name, AttrType type, const T& value) {
        return object.createInput(name, type).set(value);
    }
    template<typename T>
    static const T& as(const aiMetadataEntry& entry) {
        return *static_cast<const T*>(entry.mData);
    }

    static String memberName(const Input& object, std::string_view key) {
        String name = identifierFrom(key);
        if (name.isEmpty()) name = "entry";
        const String base = name;
        for (unsigned n = 2; object->hasInput(name, AttrType::Null); ++n)
            name = base + String::format("_%u", n);
        return name;
    }

    bool addMember(const Input& object, const String& name, const aiMetadataEntry& entry,
                   u32 depth) {
        switch (entry.mType) {
        case AI_BOOL:
            return set(object, name, AttrType::Bool, as<bool>(entry));
        case AI_INT32:
            return set(object, name, AttrType::Int, as<i32>(entry));
        case AI_UINT64:
            return set(object, name, AttrType::UInt, as<u64>(entry));
        case AI_FLOAT:
            return set(object, name, AttrType::Real, as<float>(entry));
        case AI_DOUBLE:
            return set(object, name, AttrType::Real, as<double>(entry));
        case AI_AISTRING:
            return set(object, name, AttrType::String, String(viewOf(as<aiString>(entry))));
        case AI_AIVECTOR3D:
            return addVector(object, name, as<aiVector3D>(entry));
        case AI_AIMETADATA:
            if (depth == kMaxDepth) return false;
            add(object.createInput(name, AttrType::Object), as<aiMetadata>(entry), depth + 1);
            return true;
        default:
            return false;
        }
    }

    static bool addVector(const Input& object, const String& name, const aiVector3D& v) {
        const math::Vec3d value{
            {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}};
        return set(object, name, AttrType::Vec3, value);
    }

    Report& m_report;
};

} // namespace

void importMetadata(ImportContext& context, const Node& node, const char* input,
                    const aiMetadata* metadata) {
    if (!metadata || metadata->mNumProperties == 0) return;
    MetadataImport(context.report).add(node.createInput(input, AttrType::Object), *metadata, 0);
}

} // namespace qv::model_import
