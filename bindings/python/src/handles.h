#pragma once

#include "kelvo/kelvo.h"

#include "bindings/python/src/texts.h"

#include <pybind11/pybind11.h>

/// The Python module `kelvo._kelvo`.
namespace qv::python {

namespace py = pybind11;
using namespace qv::kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;
using interfaces::IScene;

/// The Python object of a handle. These four types are made by hand: wrapping a node takes a few
/// nanoseconds, and `node["name"]` reaches the slot without a call of a Python function.
template<class Interface>
struct HandleObject {
    PyObject_HEAD Interface* object;
    PyObject* weak;
    // A handle on something that had an owner is dead when the owner is gone.
    bool hadOwner;
};

using NodeObject = HandleObject<INode>;
using InputObject = HandleObject<IInput>;
using OutputObject = HandleObject<IOutput>;
using SceneObject = HandleObject<IScene>;

/// The four types, borrowed; they live as long as the module.
extern PyTypeObject* s_sceneType;
extern PyTypeObject* s_nodeType;
extern PyTypeObject* s_inputType;
extern PyTypeObject* s_outputType;

/// Return a new Python object; None for null.
py::object wrap(IScene* scene);
py::object wrap(INode* node);
py::object wrap(IInput* input);
py::object wrap(IOutput* output);
inline py::object wrap(const Scene& scene) {
    return wrap(scene.get());
}
inline py::object wrap(const Node& node) {
    return wrap(node.get());
}
inline py::object wrap(const Input& input) {
    return wrap(static_cast<IInput*>(input.get()));
}
inline py::object wrap(const Output& output) {
    return wrap(static_cast<IOutput*>(output.get()));
}

/// Wraps a node of a type as an object of a class of `kelvo.nodes`, or one made like it.
void registerNodeClass(const std::string& type, const py::type& nodeClass);

/// Return the object of a handle, which must be alive, and whose scene no other thread may be
/// editing; otherwise throw.
INode& liveNode(PyObject* handle);
IInput& liveInput(PyObject* handle);
IOutput& liveOutput(PyObject* handle);

/// A handle that was alive when the call began.
struct LiveNode : Node {
    using Node::Node;
};
struct LiveInput : Input {
    using Input::Input;
};
struct LiveOutput : Output {
    using Output::Output;
};
/// A scene that no other thread is editing.
struct LiveScene : Scene {
    using Scene::Scene;
};

/// Throws when another thread is editing the scene, which may be null.
void checkReadable(const IScene* scene);

inline Scene sceneOf(const INode* node) {
    return Scene(node ? node->scene() : nullptr);
}
inline Scene sceneOf(const Node& node) {
    return sceneOf(node.get());
}
inline Scene sceneOf(const Input& input) {
    return sceneOf(input.node());
}

/// Makes the four types and adds them to the module.
void addHandleTypes(py::module_& module);

/// Adds a method to a type.
template<class Function, class... Extra>
void method(PyTypeObject* type, const char* name, Function&& function, const Extra&... extra) {
    const py::object owner = py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(type));
    py::setattr(owner, name,
                py::cpp_function(std::forward<Function>(function), py::name(name),
                                 py::is_method(owner),
                                 py::sibling(py::getattr(owner, name, py::none())), extra...));
}

/// Adds a static method to a type.
template<class Function, class... Extra>
void staticMethod(PyTypeObject* type, const char* name, Function&& function,
                  const Extra&... extra) {
    const py::object owner = py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(type));
    const py::cpp_function made(std::forward<Function>(function), py::name(name), py::scope(owner),
                                extra...);
    py::setattr(owner, name, py::reinterpret_steal<py::object>(PyStaticMethod_New(made.ptr())));
}

/// Adds a property to a type, which can be set if there is a setter.
template<class Getter>
void property(PyTypeObject* type, const char* name, Getter&& getter, const char* help,
              const py::object& setter = py::none()) {
    const py::object owner = py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(type));
    const py::cpp_function get(std::forward<Getter>(getter), py::is_method(owner));
    const py::object made = py::reinterpret_steal<py::object>(
        PyObject_CallFunction(reinterpret_cast<PyObject*>(&PyProperty_Type), "OOOs", get.ptr(),
                              setter.ptr(), Py_None, help));
    if (!made) throw py::error_already_set();
    py::setattr(owner, name, made);
}

/// Makes a setter for `property`.
template<class Setter>
py::object setter(PyTypeObject* type, Setter&& set) {
    return py::cpp_function(std::forward<Setter>(set),
                            py::is_method(py::handle(reinterpret_cast<PyObject*>(type))));
}

} // namespace qv::python

namespace pybind11::detail {

// Converts between a handle of the library and its Python object; None is the empty handle.
template<class Handle, class Interface, PyTypeObject** Type>
struct HandleCaster {
    bool load(handle source, bool) {
        if (source.is_none()) return true;
        if (!PyObject_TypeCheck(source.ptr(), *Type)) return false;
        value =
            Handle(reinterpret_cast<qv::python::HandleObject<Interface>*>(source.ptr())->object);
        return true;
    }
    static handle cast(const Handle& from, return_value_policy, handle) {
        return qv::python::wrap(from).release();
    }
    template<class T>
    using cast_op_type = movable_cast_op_type<T>;
    operator Handle*() { return &value; }
    operator Handle&() { return value; }
    operator Handle&&() && { return std::move(value); }

    Handle value;
};

template<>
struct type_caster<qv::kelvo_sdk::Scene>
    : HandleCaster<qv::kelvo_sdk::Scene, qv::python::IScene, &qv::python::s_sceneType> {
    static constexpr auto name = const_name("Scene");
};
template<>
struct type_caster<qv::kelvo_sdk::Node>
    : HandleCaster<qv::kelvo_sdk::Node, qv::python::INode, &qv::python::s_nodeType> {
    static constexpr auto name = const_name("Node");
};
template<>
struct type_caster<qv::kelvo_sdk::Input>
    : HandleCaster<qv::kelvo_sdk::Input, qv::python::IInput, &qv::python::s_inputType> {
    static constexpr auto name = const_name("Input");
};
template<>
struct type_caster<qv::kelvo_sdk::Output>
    : HandleCaster<qv::kelvo_sdk::Output, qv::python::IOutput, &qv::python::s_outputType> {
    static constexpr auto name = const_name("Output");
};

template<>
struct type_caster<qv::python::LiveScene> {
    PYBIND11_TYPE_CASTER(qv::python::LiveScene, const_name("Scene"));
    bool load(handle source, bool) {
        if (!PyObject_TypeCheck(source.ptr(), qv::python::s_sceneType)) return false;
        auto* scene = reinterpret_cast<qv::python::SceneObject*>(source.ptr())->object;
        qv::python::checkReadable(scene);
        value = qv::python::LiveScene(scene);
        return true;
    }
};
template<>
struct type_caster<qv::python::LiveNode> {
    PYBIND11_TYPE_CASTER(qv::python::LiveNode, const_name("Node"));
    bool load(handle source, bool) {
        if (!PyObject_TypeCheck(source.ptr(), qv::python::s_nodeType)) return false;
        value = qv::python::LiveNode(&qv::python::liveNode(source.ptr()));
        return true;
    }
};
template<>
struct type_caster<qv::python::LiveInput> {
    PYBIND11_TYPE_CASTER(qv::python::LiveInput, const_name("Input"));
    bool load(handle source, bool) {
        if (!PyObject_TypeCheck(source.ptr(), qv::python::s_inputType)) return false;
        value = qv::python::LiveInput(&qv::python::liveInput(source.ptr()));
        return true;
    }
};
template<>
struct type_caster<qv::python::LiveOutput> {
    PYBIND11_TYPE_CASTER(qv::python::LiveOutput, const_name("Output"));
    bool load(handle source, bool) {
        if (!PyObject_TypeCheck(source.ptr(), qv::python::s_outputType)) return false;
        value = qv::python::LiveOutput(&qv::python::liveOutput(source.ptr()));
        return true;
    }
};

} // namespace pybind11::detail
