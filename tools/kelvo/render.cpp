#include "tools/kelvo/render_command.h"

#include "tools/kelvo/commands.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

// Returns the arguments that the process was started with, each with a zero behind it.
std::string ownArguments() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Status becomeRenderer(const RenderOptions&, Terminal&) {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path program = self.parent_path() / "kelvo-render";
    std::string text = ownArguments();
    std::vector<char*> arguments;
    for (u64 at = 0; at < text.size(); at = text.find('\0', at) + 1)
        arguments.push_back(text.data() + at);
    arguments.push_back(nullptr);
    ::execv(program.c_str(), arguments.data());
    complain("This program was built without the renderer: there is no program kelvo-render "
             "beside it.");
    return Status::Fault;
}

RenderAction s_action = &becomeRenderer;

Status runRender(const RenderOptions& options, Terminal& out) {
    return s_action(options, out);
}

} // namespace

void setRenderAction(RenderAction action) noexcept {
    s_action = action;
}

void addRender(CommandLine& line) {
    auto [command, options] = line.add("render", "Render a picture of a scene", &runRender);
    command.addNote(
        "Rendering ends at the first of the limits. When it is interrupted, the picture\n"
        "so far is written. Without a camera or a light, the scene gets one.");
    command.addFile(options.file);
    command.add("-o", options.outFile,
                "Picture, .exr or .png; by default named like the scene, .png");
    command.add("--size", options.size, "Width and height in pixels").showDefault();
    command.add("--samples", options.samples, "Most samples of each pixel")
        .positive()
        .showDefault();
    command.add("--time", options.seconds, "End after so many seconds");
    command.add("--noise", options.noise, "End where the error is below, for example 0.02");
    command.add("--camera", options.camera, "Camera; by default the first of the scene");
    command
        .add("--threads", options.threads, "Most threads; the picture is the same for any number")
        .positive();
    command.add("--aov", options.layers, "Further layers of an EXR: albedo, normal, depth, node")
        .split(',');
}

} // namespace qv::kelvo_tool
