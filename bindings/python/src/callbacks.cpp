#include "bindings/python/src/callbacks.h"

#include "bindings/python/src/slots.h"
#include "bindings/python/src/values.h"

#include <array>
#include <cstring>
#include <unordered_map>

namespace qv::python {

using Functions = std::array<py::object, callbackCount>;

class CallbackSet {
public:
    explicit CallbackSet(String key) : m_key(std::move(key)) {}
    ~CallbackSet();

    const String& key() const noexcept { return m_key; }
    std::unordered_map<String, Functions> functions;

private:
    String m_key;
};

namespace {

// Libraries know functions of C++ alone. So each library made here has a definition path of its
// own, by which a node leads to the functions in Python. Used with the interpreter lock held.
std::unordered_map<String, CallbackSet*>& sets() {
    static auto* all = new std::unordered_map<String, CallbackSet*>;
    return *all;
}

thread_local EvalCtx* t_frame = nullptr;

// Sets the frame of this thread for the time of a callback.
class FrameScope {
public:
    explicit FrameScope(EvalCtx* frame) noexcept : m_before(std::exchange(t_frame, frame)) {}
    ~FrameScope() { t_frame = m_before; }
    FrameScope(const FrameScope&) = delete;
    FrameScope& operator=(const FrameScope&) = delete;

private:
    EvalCtx* m_before;
};

py::object functionOf(const INode& node, Callback callback) {
    const auto found = sets().find(node.nodeDefPath());
    if (found == sets().end()) return py::none();
    const auto functions = found->second->functions.find(node.type());
    if (functions == found->second->functions.end()) return py::none();
    const py::object& function = functions->second[static_cast<std::size_t>(callback)];
    return function ? function : py::none();
}

// Calls the function of a node; its exceptions are logged and count as failure.
template<class Call>
bool call(const INode& node, Callback callback, Call&& body) {
    if (!isPythonThere()) return false;
    const py::gil_scoped_acquire lock;
    const py::error_scope kept;
    try {
        const py::object function = functionOf(node, callback);
        return !function.is_none() && body(function);
    } catch (py::error_already_set& error) {
        logCallbackError(String("The callback '") +
                             callbackNames[static_cast<std::size_t>(callback)] + "' of node '" +
                             node.name() + "'",
                         error);
        return false;
    }
}

// A callback that returns nothing succeeded.
bool isSuccess(const py::object& result) {
    return result.is_none() || PyObject_IsTrue(result.ptr()) == 1;
}

bool init(INode* node, void**) {
    return call(*node, Callback::Init,
                [&](const py::object& f) { return isSuccess(f(wrap(node))); });
}

bool prep(INode* node, void*) {
    return call(*node, Callback::Prep,
                [&](const py::object& f) { return isSuccess(f(wrap(node))); });
}

bool eval(EvalCtx* frame, void* out) {
    INode* node = frame->node();
    return call(*node, Callback::Eval, [&](const py::object& f) {
        const FrameScope scope(frame);
        const py::object value = f(wrap(node), wrap(frame->output()));
        if (value.is_none()) return false;
        writeResult(*frame->output(), value.ptr(), out);
        return true;
    });
}

bool modify(INode* node, INode* other) {
    return call(*node, Callback::Modify,
                [&](const py::object& f) { return isSuccess(f(wrap(node), wrap(other))); });
}

// A node that is being destroyed. Handles on it must not outlive the callback, so Python gets this
// view, which is dead then.
struct FreedNode {
    String name;
    String type;
    INode* node;
};

// Ends the view with the callback.
class FreedScope {
public:
    explicit FreedScope(FreedNode& freed) noexcept : m_freed(freed) {}
    ~FreedScope() { m_freed.node = nullptr; }
    FreedScope(const FreedScope&) = delete;
    FreedScope& operator=(const FreedScope&) = delete;

private:
    FreedNode& m_freed;
};

py::object storedIn(IInput& input) {
    if (input.type() == AttrType::Node) {
        const Node linked = Input(&input).asNode(false);
        return linked ? py::object(py::cast(linked.name())) : py::none();
    }
    if (input.type() != AttrType::Array && input.type() != AttrType::Object)
        return readValue(input, false);
    py::list values;
    py::dict members;
    for (const Input& inner : Input(&input).inputs()) {
        if (input.type() == AttrType::Array)
            values.append(storedIn(*inner.get()));
        else
            members[py::cast(inner.name())] = storedIn(*inner.get());
    }
    return input.type() == AttrType::Array ? py::object(values) : py::object(members);
}

py::object valueOf(const FreedNode& freed, const py::object& path) {
    if (!freed.node)
        raise(ErrorKind::Dead, "Node '" + freed.name + "' is gone: its callback 'free' is over.");
    return storedIn(inputOf(*freed.node, path.ptr()));
}

bool release(INode* node, void** data) {
    *data = nullptr;
    return call(*node, Callback::Free, [&](const py::object& f) {
        const auto freed = std::make_shared<FreedNode>(FreedNode{node->name(), node->type(), node});
        const FreedScope scope(*freed);
        return isSuccess(f(freed));
    });
}

// Unlike those of the other callbacks, its exceptions reach the code that made the change.
void changed(IInput* input) {
    if (!isPythonThere() || !input->node()) return;
    const py::gil_scoped_acquire lock;
    const py::object function = functionOf(*input->node(), Callback::Changed);
    if (!function.is_none()) function(wrap(input));
}

interfaces::NodeCallbacks trampolines(const Functions& functions) {
    const auto has = [&](Callback callback) {
        return static_cast<bool>(functions[static_cast<std::size_t>(callback)]);
    };
    interfaces::NodeCallbacks all;
    if (has(Callback::Init)) all.init = &init;
    if (has(Callback::Prep)) all.prep = &prep;
    if (has(Callback::Eval)) all.eval = &eval;
    if (has(Callback::Modify)) all.modify = &modify;
    if (has(Callback::Free)) all.free = &release;
    if (has(Callback::Changed)) all.changed = &changed;
    return all;
}

void checkSignature(const String& type, Callback callback, const py::object& function) {
    const auto at = static_cast<std::size_t>(callback);
    const py::tuple arguments(static_cast<py::size_t>(callbackArguments[at]));
    for (std::size_t i = 0; i < arguments.size(); ++i)
        arguments[i] = py::none();
    try {
        py::module_::import("inspect").attr("signature")(function).attr("bind")(*arguments);
    } catch (py::error_already_set& error) {
        raise(ErrorKind::Kind, String("The callback '") + callbackNames[at] + "' of type '" + type +
                                   "' is called with " +
                                   (callbackArguments[at] == 1 ? "one argument" : "two arguments") +
                                   ", which the function does not accept: " +
                                   std::string(py::str(error.value())).c_str());
    }
}

template<class T>
void copyResult(const IInput& value, void* out) {
    T result{};
    kelvo_sdk::detail::read(value, result, false, nullptr);
    *static_cast<T*>(out) = result;
}

} // namespace

CallbackSet::~CallbackSet() {
    if (!isPythonThere()) {
        // Too late to drop references.
        for (auto& [type, all] : functions)
            for (py::object& function : all)
                function.release();
        return;
    }
    const py::gil_scoped_acquire lock;
    sets().erase(m_key);
    functions.clear();
}

void addFreedNode(py::module_& module) {
    py::class_<FreedNode, std::shared_ptr<FreedNode>>(
        module, "FreedNode", "A node in its callback \"free\", which is being destroyed.")
        .def_readonly("name", &FreedNode::name)
        .def_readonly("type", &FreedNode::type)
        .def("__getitem__", &valueOf, py::arg("path"),
             "Returns the stored value of an input, by name or path: links as names of nodes, "
             "arrays as lists, objects as dicts. Raises DeadHandleError after the callback.");
}

EvalCtx* currentFrame() noexcept {
    return t_frame;
}

Library createLibrary(const String& source) {
    static u64 s_number = 0;
    const String key =
        source + String::format("#%llu", static_cast<unsigned long long>(++s_number));
    Library library;
    library.callbacks = std::make_shared<CallbackSet>(key);
    library.info = LibInfo::create(key, library.callbacks);
    sets()[key] = library.callbacks.get();
    return library;
}

void setCallback(const Library& library, const String& type, Callback callback,
                 const py::object& function) {
    if (!library.callbacks)
        raise(ErrorKind::Refused, "Only a library that was made in Python takes callbacks.");
    if (!library.info.findType(type))
        raise(ErrorKind::NotFound, String("The library has no type '") + type + "'.");
    checkSignature(type, callback, function);
    Functions& functions = library.callbacks->functions[type];
    functions[static_cast<std::size_t>(callback)] = function;
    check(library.info.setCallbacks(type, trampolines(functions)));
}

void writeResult(IOutput& output, PyObject* value, void* out) {
    if (output.type() == AttrType::Buffer)
        return withElements(output.path(), output.dataType(), value,
                            [&](interfaces::BufferView elements) {
                                return static_cast<bool>(setBufferResult(out, elements));
                            });
    const Input converted = Input::create(output.type());
    IInput& input = *converted.get();
    writeValue(input, value);
    switch (output.type()) {
    case AttrType::Bool:
        return copyResult<bool>(input, out);
    case AttrType::Int:
        return copyResult<i64>(input, out);
    case AttrType::UInt:
        return copyResult<u64>(input, out);
    case AttrType::Real:
        return copyResult<double>(input, out);
    case AttrType::Vec2:
        return copyResult<math::Vec2d>(input, out);
    case AttrType::Vec3:
        return copyResult<math::Vec3d>(input, out);
    case AttrType::Vec4:
        return copyResult<math::Vec4d>(input, out);
    case AttrType::Pos2:
        return copyResult<math::Pos2d>(input, out);
    case AttrType::Pos3:
        return copyResult<math::Pos3d>(input, out);
    case AttrType::Quat:
        return copyResult<math::Quatd>(input, out);
    case AttrType::Rgba:
        return copyResult<math::Rgbad>(input, out);
    case AttrType::Mat3:
        return copyResult<math::Mat3d>(input, out);
    case AttrType::Mat4:
        return copyResult<math::Mat4d>(input, out);
    case AttrType::String:
        return copyResult<String>(input, out);
    default:
        raise(ErrorKind::Kind, "An output of this kind has no value.");
    }
}

} // namespace qv::python
