#include "tools/kelvo/commands.h"

#ifdef KELVO_HAS_IMPORT
#include "tools/import/isolated.h"
#include "tools/import/model_import.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/texture_extraction.h"
#include "tools/kelvo/unchecked.h"

#include "kelvo/base/path.h"

#include <charconv>
#include <string>
#include <utility>
#endif

namespace qv::kelvo_tool {

namespace {

struct ImportOptions {
    String model;
    String outFile = "-";
    String texturePaths = "relative";
    String textureFolder;
    bool separate = false;
    String up;
    String unit;
    String modelUp;
    String modelUnit;
};

#ifdef KELVO_HAS_IMPORT

using model_import::Report;
using model_import::TexturePaths;

bool readTexturePaths(const String& text, TexturePaths& kind) {
    constexpr std::pair<const char*, TexturePaths> kinds[] = {
        {"relative", TexturePaths::Relative},
        {"absolute", TexturePaths::Absolute},
        {"model", TexturePaths::AsInModel},
    };
    for (const auto& [name, value] : kinds) {
        if (text != name) continue;
        kind = value;
        return true;
    }
    complain("'" + text + "' is no kind of texture paths: expected relative, absolute or model.");
    return false;
}

bool readAxis(const String& text, String& axis) {
    axis = text.toLower();
    if (axis.isEmpty() || axis == "x" || axis == "y" || axis == "z") return true;
    complain("'" + text + "' is no axis: expected x, y or z.");
    return false;
}

double metersOf(const String& unit) {
    constexpr std::pair<const char*, double> units[] = {
        {"mm", 0.001},  {"cm", 0.01},   {"dm", 0.1},    {"m", 1.0},
        {"km", 1000.0}, {"in", 0.0254}, {"ft", 0.3048}, {"yd", 0.9144},
    };
    for (const auto& [name, meters] : units) {
        if (unit == name) return meters;
    }
    double meters = 0.0;
    const char* end = unit.buf() + unit.size();
    const auto [rest, error] = std::from_chars(unit.buf(), end, meters);
    // Outside these bounds products overflow.
    const bool isSensible = meters > 1e-15 && meters < 1e15;
    return error == std::errc() && rest == end && isSensible ? meters : 0.0;
}

bool readUnit(const String& text, double& meters) {
    meters = metersOf(text);
    if (text.isEmpty() || meters > 0.0) return true;
    complain("'" + text +
             "' is no unit: expected mm, cm, dm, m, km, in, ft, yd or a number of metres.");
    return false;
}

// False after an error message for an invalid option.
bool readOptions(const ImportOptions& options, model_import::ImportOptions& import) {
    if (!isStream(options.outFile)) import.sceneFolder = Path(options.outFile).dir();
    import.joinVertices = !options.separate;
    return readTexturePaths(options.texturePaths, import.texturePaths) &&
           readAxis(options.up, import.scene.upAxis) &&
           readUnit(options.unit, import.scene.metersPerUnit) &&
           readAxis(options.modelUp, import.model.upAxis) &&
           readUnit(options.modelUnit, import.model.metersPerUnit);
}

bool readModel(const kelvo_sdk::Scene& scene, const String& model, Report& report,
               const model_import::ImportOptions& options) {
    ProgressLine line("kelvo: reading the model");
    return model_import::importModel(scene, model, report, options,
                                     [&line](double done) { line.show(done); });
}

// Limits the warnings, as hundreds of materials may have the same fault.
void tellOutside(const String& model, const StringVector& outside) {
    constexpr u64 most = 20;
    for (u64 i = 0; i < outside.size() && i < most; ++i)
        warn(model + ": " + outside[i]);
    if (outside.size() > most)
        warn(model + ": kept " + String(std::string_view(std::to_string(outside.size() - most))) +
             " more such values.");
}

void tellReport(const ImportOptions& options, const Report& report, Terminal& out) {
    for (const model_import::LeftOut& item : report.leftOut)
        warn(options.model + ": left out " + Report::text(item));
    if (report.missingTextures.count != 0)
        warn(options.model + ": " + Report::text(report.missingTextures));
    if (isStream(options.outFile)) return;
    const auto print = [&out](u64 count, const char* what) {
        out.writeUInt(count).write(" ").write(what);
    };
    out.write(options.outFile.view()).write(": ");
    print(report.nodes, "nodes, ");
    print(report.vertices, "vertices, ");
    print(report.faces, "faces\n");
}

bool extract(const kelvo_sdk::Scene& scene, const ImportOptions& options,
             const model_import::ImportOptions& import) {
    String error;
    if (options.textureFolder.isEmpty()) return true;
    const bool areAbsolute = import.texturePaths == TexturePaths::Absolute;
    if (extractTextures(scene, options.textureFolder, import.sceneFolder, areAbsolute, error))
        return true;
    complain(error);
    return false;
}

Status importAndSave(const ImportOptions& options, const model_import::ImportOptions& import,
                     Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    Report report;
    if (!readModel(scene, options.model, report, import)) {
        complain(options.model + ": " + report.error);
        return Status::Fault;
    }
    if (!extract(scene, options, import)) return Status::Fault;
    const StringVector outside = markUnchecked(scene);
    if (!saveScene(scene, options.outFile, out)) return Status::Fault;
    tellOutside(options.model, outside);
    tellReport(options, report, out);
    return Status::Ok;
}

// Runs the import in a child process, as a hostile model may crash its reader or keep it busy
// forever.
Status runImport(const ImportOptions& options, Terminal& out) {
    if (isStream(options.model)) {
        complain("a model comes from a file, whose name tells its format, not from '-'.");
        return Status::Usage;
    }
    model_import::ImportOptions import;
    if (!readOptions(options, import)) return Status::Usage;
    String error;
    const int ended = model_import::runIsolated(
        [&] {
            const Status status = importAndSave(options, import, out);
            String lost;
            if (out.flush(lost)) return static_cast<int>(status);
            complain(lost);
            return static_cast<int>(Status::Fault);
        },
        model_import::readingTime(options.model), error);
    if (ended >= 0) return static_cast<Status>(ended);
    complain(options.model + ": " + error);
    return Status::Fault;
}

#else

Status runImport(const ImportOptions&, Terminal&) {
    complain("this build has no import of models.");
    return Status::Fault;
}

#endif

} // namespace

void addImport(CommandLine& line) {
    auto [command, options] = line.add("import", "Make a scene of a model file", &runImport);
    command.add("MODEL", options.model, "Model file").required();
    command.add("-o", options.outFile, "Scene file, the standard output by default");
    command.add("--up", options.up, "Turn the model: x, y or z is to be up");
    command.add("--unit", options.unit, "Scale the model to mm, cm, m, in, ft, ... or metres");
    command.add("--model-up", options.modelUp, "The up axis of a model that does not state it");
    command.add("--model-unit", options.modelUnit, "The unit of a model that does not state it");
    command
        .add("--texture-paths", options.texturePaths,
             "relative (to the scene's folder), absolute, or as in the model")
        .showDefault();
    command.add("--textures-to", options.textureFolder,
                "Folder for the textures that are inside the model");
    command.add("--no-join", options.separate, "Keep equal vertices apart");
    command.addNote(
        "Positions stay as they are unless --up or --unit is given. The node 'settings' "
        "has the\nup axis and the unit of the scene, where they are known.");
}

} // namespace qv::kelvo_tool
