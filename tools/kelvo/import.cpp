#include "tools/kelvo/commands.h"

#ifdef KELVO_HAS_IMPORT
#include "tools/import/isolated.h"
#include "tools/import/model_import.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/unchecked.h"

#include <string>
#endif

namespace qv::kelvo_tool {

namespace {

struct ImportOptions {
    String model;
    String outFile = "-";
};

#ifdef KELVO_HAS_IMPORT

using model_import::Report;

bool readModel(const kelvo_sdk::Scene& scene, const String& model, Report& report) {
    ProgressLine line("kelvo: reading the model");
    return model_import::importModel(scene, model, report,
                                     [&line](double done) { line.show(done); });
}

// Hundreds of materials may be wrong in the same way.
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
    if (isStream(options.outFile)) return;
    const auto print = [&out](u64 count, const char* what) {
        out.writeUInt(count).write(" ").write(what);
    };
    out.write(options.outFile.view()).write(": ");
    print(report.nodes, "nodes, ");
    print(report.vertices, "vertices, ");
    print(report.faces, "faces\n");
}

Status importAndSave(const ImportOptions& options, Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    Report report;
    if (!readModel(scene, options.model, report)) {
        complain(options.model + ": " + report.error);
        return Status::Fault;
    }
    const StringVector outside = markUnchecked(scene);
    if (!saveScene(scene, options.outFile, out)) return Status::Fault;
    tellOutside(options.model, outside);
    tellReport(options, report, out);
    return Status::Ok;
}

// A model may be made to crash its reader or to keep it busy for ever; then the process of its own
// ends and not this one.
Status runImport(const ImportOptions& options, Terminal& out) {
    if (isStream(options.model)) {
        complain("a model comes from a file, whose name tells its format, not from '-'.");
        return Status::Usage;
    }
    String error;
    const int ended = model_import::runIsolated(
        [&] {
            const Status status = importAndSave(options, out);
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
    return Status::Usage;
}

#endif

} // namespace

void addImport(CommandLine& line) {
    auto [command, options] = line.add("import", "Make a scene of a model file", &runImport);
    command.add("MODEL", options.model, "Model file").required();
    command.add("-o", options.outFile, "Scene file, the standard output by default");
}

} // namespace qv::kelvo_tool
