#include "tools/import/model_import.h"

#include "tools/import/import_context.h"
#include "tools/import/memory_limit.h"
#include "tools/import/model_space.h"

#include "kelvo/base/path.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/IOStream.hpp>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/importerdesc.h>
#include <assimp/version.h>

#include <exception>
#include <new>

namespace qv::model_import {

namespace {

// Memory for any model, beside a multiple of the size of its files: subdivided surfaces are large.
constexpr u64 kPlainMemory = u64{2} << 30;
constexpr u64 kMemoryPerByte = 256;

class ProgressCaller final : public Assimp::ProgressHandler {
public:
    explicit ProgressCaller(const Progress& progress) : m_progress(progress) {}

    bool Update(float share) override {
        if (m_progress && share >= 0.0f) m_progress(static_cast<double>(share));
        return true;
    }

private:
    const Progress& m_progress;
};

class Files final : public Assimp::DefaultIOSystem {
public:
    explicit Files(MemoryLimit& limit) : m_limit(limit) {}

    Assimp::IOStream* Open(const char* file, const char* mode) override {
        Assimp::IOStream* stream = DefaultIOSystem::Open(file, mode);
        if (stream) m_limit.raise(stream->FileSize() * kMemoryPerByte);
        return stream;
    }

private:
    MemoryLimit& m_limit;
};

// Returns the reason on one line, without the parts that the caller's message has already.
String reasonOf(const char* error, const String& file) {
    const std::string_view text(error);
    if (text.empty()) return "the reader gives no reason";
    if (text.find("bad_alloc") != std::string_view::npos)
        return "it takes more memory than a model of its size may";
    String reason = String(text).replace("\n", " ", true, false).replace("\r", "", true, false);
    const String quoted = " \"" + file + "\"";
    reason = reason.replace(" of file" + quoted, "", true, false).replace(quoted, "", true, false);
    return reason.trim();
}

void importParts(ImportContext& context) {
    importHierarchy(context);
    importMeshes(context);
    importMaterials(context);
    importUnusedTextures(context);
    importCameras(context);
    importLights(context);
    importSpace(context);
    listLeftOut(context);
}

std::string_view readerOf(const Assimp::Importer& importer) {
    const int index = importer.GetPropertyInteger("importerIndex", -1);
    const aiImporterDesc* reader =
        index < 0 ? nullptr : importer.GetImporterInfo(static_cast<size_t>(index));
    return reader && reader->mName ? reader->mName : "";
}

// The importer owns the handlers set here, and uses them for this file alone.
const aiScene* readFile(Assimp::Importer& importer, const String& file, const Progress& progress) {
    MemoryLimit limit(kPlainMemory);
    importer.SetIOHandler(new Files(limit));
    importer.SetProgressHandler(new ProgressCaller(progress));
    // Without this setting one node of the model would become a chain of up to twelve.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    return importer.ReadFile(file.buf(), 0);
}

bool readModel(const Scene& scene, const String& file, Report& report, const ImportOptions& options,
               const Progress& progress) {
    Assimp::Importer importer;
    const aiScene* model = readFile(importer, file, progress);
    if (!model) {
        report.error = reasonOf(importer.GetErrorString(), file);
        return false;
    }
    const std::string_view reader = readerOf(importer);
    const Space space = spaceOf(reader, *model, options.model);
    report.error = whyNotInto(space, options.scene);
    if (!report.error.isEmpty()) return false;
    const u64 before = scene.nodeCount();
    ImportContext context{*model,  reader, scene,        report,
                          options, space,  Names(scene), TextureFiles(Path(file).dir(), options),
                          {},      {},     {},           {},
                          {},      {}};
    importParts(context);
    report.nodes = scene.nodeCount() - before;
    return true;
}

} // namespace

bool importModel(const Scene& scene, const String& file, Report& report,
                 const ImportOptions& options, const Progress& progress) {
    const u64 before = scene.nodeCount();
    try {
        return readModel(scene, file, report, options, progress);
    } catch (const std::exception& error) {
        report.error = reasonOf(error.what(), file);
    } catch (...) {
        report.error = reasonOf("", file);
    }
    while (scene.nodeCount() > before)
        (void)scene.removeNode(scene.node(scene.nodeCount() - 1));
    return false;
}

String readerVersion() {
    return String::format("assimp %u.%u.%u", aiGetVersionMajor(), aiGetVersionMinor(),
                          aiGetVersionPatch());
}

} // namespace qv::model_import
