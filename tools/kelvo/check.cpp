#include "tools/kelvo/commands.h"

#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/hierarchy.h"

#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::BufferView;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

String number(u64 value) {
    return String(std::string_view(std::to_string(value)));
}

/// Looks through a scene that could be read, and tells what it finds.
class Checker {
public:
    Checker(const kelvo_sdk::Scene& scene, String source) : m_source(std::move(source)) {
        for (u64 i = 0; i < scene.nodeCount(); ++i) {
            checkMesh(*scene->node(i));
            checkChildren(*scene->node(i));
        }
        const Hierarchy hierarchy(scene);
        for (const auto& [node, child] : hierarchy.cycles())
            note("node '" + node->name() + "' has '" + child->name() +
                 "' as a child, which it is itself below.");
    }

    [[nodiscard]] u64 errors() const noexcept { return m_errors; }
    [[nodiscard]] u64 warnings() const noexcept { return m_warnings; }

private:
    void fail(const String& message) {
        ++m_errors;
        complain(m_source + ": " + message);
    }
    void note(const String& message) {
        ++m_warnings;
        warn(m_source + ": " + message);
    }

    void checkMesh(const INode& node) {
        if (node.checkMesh()) return;
        String counts;
        for (const char* name : {"positions", "normals", "uvs", "indices"}) {
            BufferView view;
            if (!node.hasInput(name, AttrType::Buffer)) continue;
            if (!node.input(name)->readBuffer(view, false, nullptr)) continue;
            counts = counts + (counts.isEmpty() ? "" : ", ") + number(view.count) + " " + name;
        }
        fail("node '" + node.name() + "': its mesh buffers do not agree (" + counts +
             "; normals and uvs need one for each position, indices stay below their number).");
    }

    void checkChildren(const INode& node) {
        const IInput* list = Hierarchy::childListOf(node);
        for (u64 i = 0; list && i < list->inputCount(); ++i) {
            INode* child = nullptr;
            if (list->input(i)->readNode(child, false, nullptr) && child) continue;
            note("node '" + node.name() + "': element [" + number(i) + "] of '" + list->name() +
                 "' links to no node.");
        }
    }

    String m_source;
    u64 m_errors = 0;
    u64 m_warnings = 0;
};

Status runCheck(const String& file, Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!loadScene(file, scene)) return Status::Fault;
    const Checker found(scene, displayed(file));
    const auto counted = [](u64 count, const char* what) {
        return number(count) + " " + what + (count == 1 ? "" : "s");
    };
    out.write(displayed(file).view()).write(": ").write(counted(scene.nodeCount(), "node").view());
    out.write(", ").write(counted(found.errors(), "error").view());
    out.write(", ").write(counted(found.warnings(), "warning").view()).endLine();
    return found.errors() == 0 ? Status::Ok : Status::Fault;
}

} // namespace

void addCheck(CommandLine& line) {
    auto [command, file] = line.add("check", "Tell all that is wrong with a scene", &runCheck);
    command.addFile(file);
}

} // namespace qv::kelvo_tool
