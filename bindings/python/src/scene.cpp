#include "bindings/python/src/library.h"
#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include <pybind11/stl.h>

#include <memory>
#include <optional>

namespace qv::python {

namespace {

template<class Change>
void change(const LiveScene& scene, Change&& body, ErrorKind kind = ErrorKind::Refused) {
    const Edit edit(scene);
    check(body(), kind);
}

// Changes what is no content of the scene: an edit of its own would be a step of the history.
template<class Change>
void manage(const LiveScene& scene, Change&& body) {
    const LogScope log;
    checkEditable(scene.get());
    check(body());
}

// Goes through the history.
template<class Step>
void step(const LiveScene& scene, Step&& body) {
    const LogScope log;
    Result isDone;
    {
        const LongStep use(scene);
        isDone = body();
    }
    check(isDone);
}

String typeNameFor(const py::object& type) {
    if (py::isinstance<py::str>(type)) return type.cast<String>();
    if (PyType_Check(type.ptr()) && py::hasattr(type, "type_name"))
        return type.attr("type_name").cast<String>();
    raise(ErrorKind::Kind, String("A node's type is a str or a class of kelvo.nodes, not ") +
                               typeNameOf(type.ptr()).c_str() + ".");
}

// A failure of the callback `init` counts as a failure of the creation.
void checkInit(const Node& node) {
    const py::object cause = takeCallbackError();
    if (cause.is_none()) return;
    const String message = String("Creating '") + node.name() +
                           "' failed: its callback 'init' raised " +
                           typeNameOf(cause.ptr()).c_str() + ".";
    const py::object type = py::module_::import("kelvo._errors").attr("Error");
    const py::object error = type(message);
    PyException_SetCause(error.ptr(), py::object(cause).release().ptr());
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

// Makes a node with values for its inputs, or leaves the scene as it was.
Node create(const LiveScene& scene, const py::object& type, const py::object& name,
            const py::kwargs& inputs) {
    const String typeName = typeNameFor(type);
    (void)takeCallbackError();
    const Edit edit(scene, true);
    const Node node =
        made(scene.createNode(typeName, name.is_none() ? typeName : name.cast<String>()),
             ErrorKind::Value);
    checkInit(node);
    for (const auto& [key, value] : inputs)
        writeValue(inputOf(*node.get(), key.ptr()), value.ptr());
    return node;
}

py::list nodesOf(const LiveScene& scene) {
    py::list all(scene.nodeCount());
    for (u64 i = 0; i < all.size(); ++i)
        PyList_SET_ITEM(all.ptr(), static_cast<py::ssize_t>(i),
                        wrap(scene.node(i)).release().ptr());
    return all;
}

py::object nodeOrDefault(const LiveScene& scene, const String& name, const py::object& fallback) {
    const Node found = scene.findNode(name);
    return found ? wrap(found) : fallback;
}

py::list librariesOf(const LiveScene& scene) {
    py::list all;
    for (u64 i = 0; i < scene.libraryCount(); ++i)
        all.append(wrap(scene.library(i)));
    return all;
}

String textOfScene(const LiveScene& scene, u32 threads) {
    const LongRead use(scene);
    return scene.text({.threads = threads});
}

u64 readText(const LiveScene& scene, const String& text, const String& source, bool isPartial,
             u32 threads, u32 maxDiagnostics, const py::object& found) {
    const ReadOptions options{isPartial, maxDiagnostics, threads};
    const LogScope log;
    Diagnostics diagnostics;
    ReadReport report;
    {
        const LongEdit use(scene);
        report = scene.read(text, source, options, &diagnostics);
    }
    if (!report.isRead) raiseText(report.isRead, diagnostics);
    if (!found.is_none()) found.attr("extend")(listOf(diagnostics));
    return report.gapCount;
}

// The scope of `with scene.edit(...)`.
class EditContext {
public:
    EditContext(Scene scene, String doText, String undoText)
        : m_scene(std::move(scene)), m_doText(std::move(doText)), m_undoText(std::move(undoText)) {}
    ~EditContext() { end(); }

    void enter() {
        if (m_scope) raise(ErrorKind::Refused, "The edit is open already.");
        beginScope(m_scene);
        m_scope.emplace(m_scene, m_doText, m_undoText);
    }
    void exit(bool isFailed) {
        if (m_scope && isFailed) cancel();
        end();
    }
    void cancel() {
        if (!m_scope) raise(ErrorKind::Refused, "The edit is not open.");
        const LogScope log;
        const Result isCancelled = m_scope->cancel();
        end();
        check(isCancelled);
    }

private:
    void end() {
        if (!m_scope) return;
        m_scope.reset();
        endScope(m_scene);
    }

    Scene m_scene;
    String m_doText;
    String m_undoText;
    std::optional<Scene::UndoScope> m_scope;
};

void addNodes() {
    method(s_sceneType, "create", &create, py::arg("node_type"), py::arg("node_name") = py::none(),
           py::pos_only(),
           "Creates a node with values for its inputs.\n\n"
           "    lamp = scene.create(\"pointLight\", \"lamp\", intensity=3)\n\n"
           "A name in use gets the next free number. When a value is refused, no node is made.");
    property(s_sceneType, "nodes", &nodesOf, "All nodes in order of creation, as a list.");
    method(s_sceneType, "get", &nodeOrDefault, py::arg("name"), py::arg("default") = py::none(),
           "Returns the node of that name, or `default`.");
    method(
        s_sceneType, "remove",
        [](const LiveScene& scene, const LiveNode& node) {
            change(scene, [&] { return scene.removeNode(node); });
        },
        py::arg("node"), "Removes a node, with the links and connections to it.");
    method(
        s_sceneType, "move",
        [](const LiveScene& scene, const LiveNode& node, u64 index) {
            change(
                scene, [&] { return scene.moveNode(node, index); }, ErrorKind::Range);
        },
        py::arg("node"), py::arg("index"), "Moves a node to a place in the order.");
    method(
        s_sceneType, "clear",
        [](const LiveScene& scene) {
            const Edit edit(scene, true);
            scene->clear();
        },
        "Removes all nodes.");
    property(s_sceneType, "libraries", &librariesOf, "The libraries, in the order of look-up.");
    method(
        s_sceneType, "add_library",
        [](const LiveScene& scene, const py::object& library) {
            change(scene, [&] { return scene.addLibrary(libraryOf(library)); });
        },
        py::arg("library"), "Adds the types of a library, behind those of earlier ones.");
}

void addText() {
    method(s_sceneType, "text", &textOfScene, py::kw_only(), py::arg("threads") = 0,
           "Returns the scene as text.");
    method(s_sceneType, "read", &readText, py::arg("text"), py::kw_only(),
           py::arg("source") = String("<text>"), py::arg("partial") = false, py::arg("threads") = 0,
           py::arg("max_diagnostics") = 20, py::arg("diagnostics") = py::none(),
           "Adds the nodes of a scene text. Raises TextError, with the scene unchanged, for a text "
           "with errors; with `partial`, reads what can be read and returns the number of gaps.");
}

void addHistory() {
    property(
        s_sceneType, "undo_enabled", [](const LiveScene& scene) { return scene.undoEnabled(); },
        "Whether edits are recorded for undo; off at first.",
        setter(s_sceneType, [](const LiveScene& scene, bool isEnabled) {
            manage(scene, [&] { return scene.setUndoEnabled(isEnabled); });
        }));
    const auto undo = [](const LiveScene& scene) { step(scene, [&] { return scene.undo(); }); };
    const auto redo = [](const LiveScene& scene) { step(scene, [&] { return scene.redo(); }); };
    method(s_sceneType, "undo", undo, "Takes back the last step. Raises RefusedError without one.");
    method(s_sceneType, "redo", redo, "Does the step again that was undone last.");
    property(
        s_sceneType, "undo_steps",
        [](const LiveScene& scene) {
            std::vector<UndoStep> steps;
            for (u64 i = 0; i < scene.undoCount(); ++i)
                steps.push_back(scene.undoStep(i));
            return py::cast(steps);
        },
        "The steps that can be undone, the next one first.");
    property(
        s_sceneType, "redo_steps",
        [](const LiveScene& scene) {
            std::vector<UndoStep> steps;
            for (u64 i = 0; i < scene.redoCount(); ++i)
                steps.push_back(scene.redoStep(i));
            return py::cast(steps);
        },
        "The steps that can be done again, the next one first.");
    method(
        s_sceneType, "set_undo_limits",
        [](const LiveScene& scene, u64 bytes, u64 steps) {
            manage(scene, [&] { return scene.setUndoLimits({bytes, steps}); });
        },
        py::arg("bytes") = u64{256} << 20, py::arg("steps") = u64{1000},
        "Bounds the history, in bytes and steps.");
    property(
        s_sceneType, "undo_bytes", [](const LiveScene& scene) { return scene.undoBytes(); },
        "The memory of the history in bytes.");
}

void addState() {
    method(
        s_sceneType, "set_checkpoint",
        [](const LiveScene& scene, const String& name) {
            manage(scene, [&] { return scene.setCheckpoint(name); });
        },
        py::arg("name"), "Names the present state.");
    method(
        s_sceneType, "return_to",
        [](const LiveScene& scene, const String& name) {
            step(scene, [&] { return scene.returnTo(name); });
        },
        py::arg("name"), "Undoes or redoes up to a named state.");
    property(
        s_sceneType, "checkpoints", [](const LiveScene& scene) { return scene.checkpoints(); },
        "The names of the states within reach, oldest first.");
    method(
        s_sceneType, "mark_saved",
        [](const LiveScene& scene) { manage(scene, [&] { return scene.markSaved(); }); },
        "Marks the present state as saved.");
    property(
        s_sceneType, "is_saved", [](const LiveScene& scene) { return scene.isSaved(); },
        "Whether the scene is in the state that was saved.");
}

void addEvaluation() {
    method(
        s_sceneType, "set_dirty_state_cached",
        [](const LiveScene& scene, bool isCached) {
            manage(scene, [&] { return scene.setDirtyStateCached(isCached); });
        },
        py::arg("cached"), "Keeps dirty flags up to date with each change.");
    method(
        s_sceneType, "set_eval_cache",
        [](const LiveScene& scene, u64 bytes, bool isChecked) {
            manage(scene, [&] { return scene.setEvalCache(bytes, isChecked); });
        },
        py::arg("max_bytes"), py::arg("checked") = false, "Caches results of eval callbacks.");
    method(
        s_sceneType, "eval_cache_figures",
        [](const LiveScene& scene) {
            const interfaces::EvalCacheFigures now = scene.evalCacheFigures();
            py::dict figures;
            figures["hits"] = now.hits;
            figures["misses"] = now.misses;
            figures["entries"] = now.entries;
            figures["bytes"] = now.bytes;
            return figures;
        },
        "Returns hits, misses, entries and bytes of the cache.");
    method(
        s_sceneType, "verify",
        [](const LiveScene& scene) {
            py::list all;
            for (const IntegrityError& error : scene.verify())
                all.append(py::make_tuple(error.place, error.message));
            return all;
        },
        "Checks the laws of the scene: (place, message) of each broken one.");
    method(
        s_sceneType, "edit",
        [](const LiveScene& scene, const String& doText, const String& undoText) {
            return std::make_unique<EditContext>(scene, doText, undoText);
        },
        py::arg("text") = String(), py::arg("undo_text") = String(),
        "Joins edits into one undo step; an exception takes them back.\n\n"
        "    with scene.edit(\"Move the lamp\"):\n"
        "        lamp[\"intensity\"] = 4");
}

} // namespace

void addScene(py::module_& module) {
    py::class_<UndoStep>(module, "UndoStep", "A step of the history.")
        .def_readonly("text", &UndoStep::doText)
        .def_readonly("undo_text", &UndoStep::undoText)
        .def_readonly("touched", &UndoStep::touched, "Paths of inputs and names of nodes.")
        .def_readonly("bytes", &UndoStep::bytes);
    py::class_<EditContext>(module, "Edit", "Edits that are one undo step; see `Scene.edit`.")
        .def("__enter__",
             [](py::object self) {
                 self.cast<EditContext&>().enter();
                 return self;
             })
        .def("__exit__", [](EditContext& edit, const py::object& type, const py::object&,
                            const py::object&) { edit.exit(!type.is_none()); })
        .def("cancel", &EditContext::cancel, "Takes the edits back and ends the step.");
    addNodes();
    addText();
    addHistory();
    addState();
    addEvaluation();
}

} // namespace qv::python
