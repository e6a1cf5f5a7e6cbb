#include "tools/kelvo/render_command.h"

#include "render/picture_file.h"
#include "render/renderer.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/interruption.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/scene_hash.h"

#include "kelvo/base/path.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

bool refuse(const String& text, const char* expected) {
    complain("'" + text + "' is no " + expected + ".");
    return false;
}

template<class T>
bool readNumber(std::string_view text, T& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool readSize(const String& text, render::RenderSettings& settings) {
    const std::string_view view = text.view();
    const u64 cross = view.find('x');
    if (cross != std::string_view::npos && readNumber(view.substr(0, cross), settings.width) &&
        readNumber(view.substr(cross + 1), settings.height))
        return true;
    return refuse(text, "size: expected width x height in pixels, like 1280x720");
}

// An empty text leaves the number as it is.
bool readLimit(const String& text, const char* expected, double& number) {
    if (text.isEmpty() || (readNumber(text.view(), number) && number > 0.0 && number < 1e9))
        return true;
    return refuse(text, expected);
}

bool readLayers(const StringVector& names, std::vector<render::Layer>& layers) {
    constexpr std::pair<const char*, render::Layer> known[] = {
        {"albedo", render::Layer::Albedo},
        {"normal", render::Layer::Normal},
        {"depth", render::Layer::Depth},
        {"node", render::Layer::Node},
    };
    for (const String& name : names) {
        const auto* found = std::find_if(std::begin(known), std::end(known),
                                         [&](const auto& layer) { return name == layer.first; });
        if (found == std::end(known))
            return refuse(name, "layer: expected albedo, normal, depth or node");
        if (std::find(layers.begin(), layers.end(), found->second) == layers.end())
            layers.push_back(found->second);
    }
    return true;
}

bool isConnected(const SnapshotInput& input) {
    if (input.source()) return true;
    for (u64 i = 0; i < input.inputCount(); ++i)
        if (isConnected(input.input(i))) return true;
    return false;
}

bool needsEvaluation(const Snapshot& scene) {
    return hasModifiers(scene) || std::ranges::any_of(scene.nodes(), [](const SnapshotNode& node) {
               for (u64 i = 0; i < node.inputCount(); ++i)
                   if (isConnected(node.input(i))) return true;
               return false;
           });
}

// Evaluates connections, applies modifiers and calls what the types of the nodes have to prepare.
Snapshot evaluated(Document& document) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!document.makeText() || !document.readWithTypes(scene)) return {};
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        if (!scene->node(i)->nodePrep())
            warn(scene->node(i)->name() + ": the node could not be prepared.");
    return scene.snapshot({.values = kelvo_sdk::SnapshotValues::Evaluated});
}

String pictureName(const RenderOptions& options) {
    if (!options.outFile.isEmpty()) return options.outFile;
    return (isStream(options.file) ? String("picture") : Path(options.file).file(false)) + ".png";
}

void tellFindings(const render::Renderer& renderer) {
    constexpr u64 most = 20;
    const std::vector<render::Finding>& findings = renderer.findings();
    for (u64 i = 0; i < findings.size() && i < most; ++i)
        warn(findings[i].node + ": " + findings[i].text);
    if (findings.size() > most)
        warn(String(std::string_view(std::to_string(findings.size() - most))) +
             " more such findings.");
    for (const String& note : renderer.notes())
        remark(note);
}

class RenderRun {
public:
    explicit RenderRun(const RenderOptions& options) : m_options(options) {}

    Status run(Terminal& out) {
        if (!readOptions()) return Status::Usage;
        Document document;
        const Snapshot stored = document.look(m_options.file);
        if (!stored) return Status::Fault;
        m_file.sceneHash = hashText(sceneHash(stored));
        const Snapshot scene = needsEvaluation(stored) ? evaluated(document) : stored;
        if (!scene || !document.isSound()) return Status::Fault;
        return render(scene, out);
    }

private:
    bool readOptions() {
        m_file.path = pictureName(m_options);
        m_limit.samples = static_cast<u32>(std::min<u64>(m_options.samples, 0xffffffff));
        m_settings.threads = static_cast<u32>(std::min<u64>(m_options.threads, 1024));
        m_settings.camera = m_options.camera;
        if (!isStream(m_options.file)) m_settings.folder = Path(m_options.file).dir();
        if (!readSize(m_options.size, m_settings) ||
            !readLimit(m_options.seconds, "number of seconds", m_limit.seconds) ||
            !readLimit(m_options.noise, "error that rendering could end at", m_limit.noise) ||
            !readLayers(m_options.layers, m_file.layers))
            return false;
        const kelvo_sdk::Result checked = render::checkPictureFile(m_file);
        if (!checked) complain(checked.message());
        return checked;
    }

    Status render(const Snapshot& scene, Terminal& out) {
        const Interruption interruption;
        render::Renderer renderer(scene, m_settings, interruption.token());
        {
            ProgressLine line("kelvo: rendering");
            const kelvo_sdk::Result rendered = renderer.render(
                m_limit, [&line](double done) { line.show(done); }, interruption.token());
            if (!rendered) {
                complain(displayed(m_options.file) + ": " + rendered.message());
                return Status::Fault;
            }
        }
        tellFindings(renderer);
        const bool isWhole = !interruption.token().stop_requested();
        if (!isWhole) remark("Interrupted: the picture has fewer samples than asked for.");
        return write(renderer.picture(), out) && isWhole ? Status::Ok : Status::Fault;
    }

    bool write(const render::Picture& picture, Terminal& out) const {
        const kelvo_sdk::Result written = render::writePicture(picture, m_file);
        if (!written) {
            complain(written.message());
            return false;
        }
        double sum = 0.0;
        for (const u32 count : picture.samples)
            sum += count;
        out.write(m_file.path.view()).write(": ").writeUInt(picture.width).write(" x ");
        out.writeUInt(picture.height).write(" pixels, ");
        out.write(String::format("%.4g", sum / static_cast<double>(picture.samples.size())).view());
        out.write(" samples\n");
        return true;
    }

    const RenderOptions& m_options;
    render::RenderSettings m_settings;
    render::RenderLimit m_limit;
    render::PictureFile m_file;
};

} // namespace

Status renderScene(const RenderOptions& options, Terminal& out) {
    return RenderRun(options).run(out);
}

} // namespace qv::kelvo_tool
