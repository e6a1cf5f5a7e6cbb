#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include <memory>

namespace qv::python {

namespace {

/// A change as an observer in Python gets it.
struct Change {
    const char* kind;
    py::object node = py::none();
    py::object input = py::none();
    py::object output = py::none();
    py::object before = py::none();
    py::object after = py::none();
};

// The function that a subscription calls. Exceptions pass through the library to the code that made
// the change.
class Receiver {
public:
    explicit Receiver(py::object function) : m_function(std::move(function)) {}

    template<class Make>
    void tell(Make&& make) const {
        if (!isPythonThere()) return;
        const py::gil_scoped_acquire lock;
        // The function may end its subscription.
        const py::object function = m_function;
        if (function) function(py::cast(make()));
    }

    py::object m_function;
};

py::object stored(const Input& input) {
    return input ? readValue(*input.get(), false) : py::none();
}

class SceneEar final : public SceneListener, public Receiver {
public:
    using Receiver::Receiver;

    void nodeAdded(Node node) override {
        tell([&] { return Change{"node_added", wrap(node)}; });
    }
    void nodeRemoved(Node node) override {
        tell([&] { return Change{"node_removed", wrap(node)}; });
    }
    void nodeRenamed(Node node, String before) override {
        tell([&] {
            return Change{"node_renamed", wrap(node),       py::none(),
                          py::none(),     py::cast(before), py::cast(node.name())};
        });
    }
    void nodeMoved(Node node, u64 from) override {
        tell([&] {
            return Change{"node_moved", wrap(node), py::none(), py::none(), py::cast(from)};
        });
    }
    void nodeConverted(Node node, Node replacement) override {
        tell([&] {
            return Change{"node_converted", wrap(replacement), py::none(),
                          py::none(),       wrap(node),        wrap(replacement)};
        });
    }
    void inputAdded(Input input) override { tellInput("input_added", input); }
    void inputRemoved(Input input) override { tellInput("input_removed", input); }
    void inputRenamed(Input input, String before) override {
        tell([&] {
            return Change{"input_renamed", wrap(input.node()), wrap(input),
                          py::none(),      py::cast(before),   py::cast(input.name())};
        });
    }
    void inputChanged(Input input, Input previous) override {
        tell([&] {
            return Change{"input_changed", wrap(input.node()), wrap(input),
                          py::none(),      stored(previous),   stored(input)};
        });
    }
    void inputConnected(Input input, Output before, Output after) override {
        tell([&] {
            return Change{"input_connected", wrap(input.node()), wrap(input),
                          py::none(),        wrap(before),       wrap(after)};
        });
    }
    void outputAdded(Output output) override { tellOutput("output_added", output); }
    void outputRemoved(Output output) override { tellOutput("output_removed", output); }

private:
    void tellInput(const char* kind, const Input& input) {
        tell([&] { return Change{kind, wrap(input.node()), wrap(input)}; });
    }
    void tellOutput(const char* kind, const Output& output) {
        tell([&] { return Change{kind, wrap(output.node()), py::none(), wrap(output)}; });
    }
};

class NodeEar final : public NodeObserver, public Receiver {
public:
    NodeEar(Node node, py::object function)
        : Receiver(std::move(function)), m_node(std::move(node)) {}

    void nodeRemoved() override {
        tell([&] { return Change{"node_removed", wrap(m_node)}; });
    }
    void nodeRenamed(String name) override {
        tell([&] {
            return Change{"node_renamed", wrap(m_node), py::none(),
                          py::none(),     py::none(),   py::cast(name)};
        });
    }
    void nodeConverted(Node replacement) override {
        tell([&] {
            return Change{"node_converted", wrap(m_node), py::none(),
                          py::none(),       wrap(m_node), wrap(replacement)};
        });
    }
    void inputChanged(Input input) override {
        tell([&] { return Change{"input_changed", wrap(m_node), wrap(input)}; });
    }
    void inputConnected(Input input) override {
        tell([&] { return Change{"input_connected", wrap(m_node), wrap(input)}; });
    }

private:
    Node m_node;
};

template<class Items>
py::list wrapped(const Items& items) {
    py::list all;
    for (const auto* item : items)
        all.append(
            wrap(const_cast<std::remove_const_t<std::remove_pointer_t<decltype(item)>>*>(item)));
    return all;
}

py::dict netChanges(const SceneChanges& changes) {
    py::dict all;
    all["added_nodes"] = wrapped(changes.addedNodes);
    all["removed_nodes"] = wrapped(changes.removedNodes);
    all["moved_nodes"] = wrapped(changes.movedNodes);
    all["added_inputs"] = wrapped(changes.addedInputs);
    all["removed_inputs"] = wrapped(changes.removedInputs);
    all["changed_inputs"] = wrapped(changes.changedInputs);
    all["connected_inputs"] = wrapped(changes.connectedInputs);
    all["added_outputs"] = wrapped(changes.addedOutputs);
    all["removed_outputs"] = wrapped(changes.removedOutputs);
    py::list renamed;
    for (const auto& renaming : changes.renamedNodes)
        renamed.append(py::make_tuple(wrap(renaming.node), renaming.before));
    all["renamed_nodes"] = renamed;
    py::list inputs;
    for (const auto& renaming : changes.renamedInputs)
        inputs.append(py::make_tuple(wrap(const_cast<IInput*>(renaming.input)), renaming.before));
    all["renamed_inputs"] = inputs;
    return all;
}

class BatchEar final : public BatchObserver, public Receiver {
public:
    using Receiver::Receiver;

    // The library has no way to pass an exception on from here, so it is logged.
    void sceneChanged(const SceneChanges& changes) override {
        if (!isPythonThere()) return;
        const py::gil_scoped_acquire lock;
        const py::error_scope kept;
        const py::object function = m_function;
        if (!function) return;
        try {
            const py::object type = py::module_::import("kelvo._observers").attr("SceneChanges");
            function(type(**netChanges(changes)));
        } catch (py::error_already_set& error) {
            logCallbackError("An observer of edits", error);
            (void)takeCallbackError();
        }
    }
};

// A subscription ends with its object, with `close`, or with the `with` block that it serves.
class Subscription {
public:
    Subscription(Scene scene, Node node, py::object function, bool isBatch);
    ~Subscription() { close(); }

    void close();
    [[nodiscard]] bool isOpen() const noexcept { return m_isOpen; }
    [[nodiscard]] Receiver& receiver() const noexcept {
        if (m_listener) return *m_listener;
        if (m_observer) return *m_observer;
        return *m_batches;
    }

private:
    Result subscribe() const;
    void unsubscribe() const;

    Scene m_scene;
    Node m_node;
    std::unique_ptr<SceneEar> m_listener;
    std::unique_ptr<NodeEar> m_observer;
    std::unique_ptr<BatchEar> m_batches;
    bool m_isOpen = false;
};

void checkFunction(const py::object& function) {
    try {
        py::module_::import("inspect").attr("signature")(function).attr("bind")(py::none());
    } catch (py::error_already_set& error) {
        raise(ErrorKind::Kind,
              String("An observer is called with one argument, the change, which this one does not "
                     "accept: ") +
                  std::string_view(std::string(py::str(error.value()))));
    }
}

Subscription::Subscription(Scene scene, Node node, py::object function, bool isBatch)
    : m_scene(std::move(scene)), m_node(std::move(node)) {
    checkFunction(function);
    if (isBatch)
        m_batches = std::make_unique<BatchEar>(std::move(function));
    else if (m_node)
        m_observer = std::make_unique<NodeEar>(m_node, std::move(function));
    else
        m_listener = std::make_unique<SceneEar>(std::move(function));
    Result isSubscribed;
    {
        // Subscribing waits for a notification under way, which may wait for the interpreter.
        const py::gil_scoped_release unlocked;
        isSubscribed = subscribe();
    }
    check(isSubscribed);
    m_isOpen = true;
    if (!isBatch) countObservers(1);
}

Result Subscription::subscribe() const {
    if (m_batches) return m_scene.subscribe(m_batches.get());
    return m_observer ? m_node.subscribe(m_observer.get()) : m_scene.subscribe(m_listener.get());
}

void Subscription::unsubscribe() const {
    if (m_batches)
        (void)m_scene.unsubscribe(m_batches.get());
    else if (m_observer)
        (void)m_node.unsubscribe(m_observer.get());
    else
        (void)m_scene.unsubscribe(m_listener.get());
}

void Subscription::close() {
    if (!std::exchange(m_isOpen, false)) return;
    if (!m_batches) countObservers(-1);
    const py::gil_scoped_release unlocked;
    unsubscribe();
}

Subscription& subscriptionOf(PyObject* self) {
    return py::handle(self).cast<Subscription&>();
}

// The function belongs to Python's search for cycles, as an observer mostly leads to its scene.
bool isComplete(PyObject* self) {
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    return instance->get_value_and_holder().holder_constructed();
}

int traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    if (!isComplete(self)) return 0;
    Py_VISIT(subscriptionOf(self).receiver().m_function.ptr());
    return 0;
}

int clear(PyObject* self) {
    if (!isComplete(self)) return 0;
    Subscription& subscription = subscriptionOf(self);
    subscription.close();
    subscription.receiver().m_function = py::object();
    return 0;
}

void setUpType(PyHeapTypeObject* heap) {
    PyTypeObject* type = &heap->ht_type;
    type->tp_flags |= Py_TPFLAGS_HAVE_GC;
    type->tp_traverse = &traverse;
    type->tp_clear = &clear;
}

py::str changeRepr(const Change& change) {
    const py::object subject = change.input.is_none() ? change.node : change.input;
    return py::str("<kelvo.Change ") + py::str(change.kind) + py::str(" ") + py::repr(subject) +
           py::str(">");
}

std::unique_ptr<Subscription> observeScene(const LiveScene& scene, const py::object& function) {
    return std::make_unique<Subscription>(scene, Node(), function, false);
}

std::unique_ptr<Subscription> observeEdits(const LiveScene& scene, const py::object& function) {
    return std::make_unique<Subscription>(scene, Node(), function, true);
}

std::unique_ptr<Subscription> observeNode(const LiveNode& node, const py::object& function) {
    return std::make_unique<Subscription>(Scene(), node, function, false);
}

} // namespace

void addObservers(py::module_& module) {
    py::class_<Change>(module, "Change", "A change of a scene, as observers get it.")
        .def_property_readonly(
            "kind", [](const Change& change) { return change.kind; },
            "\"node_added\", \"input_changed\" and the like.")
        .def_readonly("node", &Change::node)
        .def_readonly("input", &Change::input)
        .def_readonly("output", &Change::output)
        .def_readonly("before", &Change::before, "The value, name, place or output before.")
        .def_readonly("after", &Change::after, "The value, name or output after.")
        .def("__repr__", &changeRepr);
    py::class_<Subscription>(module, "Subscription", py::custom_type_setup(&setUpType),
                             "Calls an observer until it is closed or dropped.")
        .def("close", &Subscription::close,
             "Ends the subscription; nothing happens the second time.")
        .def_property_readonly("is_open", &Subscription::isOpen)
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](Subscription& subscription, const py::args&) { subscription.close(); });
    method(
        s_sceneType, "observe", &observeScene, py::arg("observer"),
        "Calls `observer` with each `Change` of the scene at once, until the returned subscription "
        "is closed or dropped. An exception takes the edit back and reaches its caller.");
    method(s_sceneType, "observe_edits", &observeEdits, py::arg("observer"),
           "Calls `observer` with the net `SceneChanges` of each edit. An exception is logged.");
    method(s_nodeType, "observe", &observeNode, py::arg("observer"),
           "Calls `observer` with each `Change` of the node.");
}

} // namespace qv::python
