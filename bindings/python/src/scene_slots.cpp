#include "bindings/python/src/library.h"
#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

// A scene as a container of its nodes.
namespace qv::python {

namespace {

IScene& usableScene(PyObject* self) {
    IScene* scene = reinterpret_cast<SceneObject*>(self)->object;
    checkReadable(scene);
    return *scene;
}

PyObject* sceneNew(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"libraries", nullptr};
    PyObject* libraries = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "|$O:Scene", const_cast<char**>(names),
                                     &libraries))
        return nullptr;
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        const Scene scene = Scene::create();
        if (!libraries || libraries == Py_None)
            check(scene.addLibrary(LibInfo::standard()));
        else
            for (const py::handle library : py::reinterpret_borrow<py::iterable>(libraries))
                check(scene.addLibrary(libraryOf(library)));
        PyObject* made = type->tp_alloc(type, 0);
        if (!made) throw py::error_already_set();
        reinterpret_cast<SceneObject*>(made)->object = Scene(scene).detach();
        return made;
    });
}

PyObject* sceneGet(PyObject* self, PyObject* key) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        IScene& scene = usableScene(self);
        if (!PySlice_Check(key)) return wrap(&nodeOf(scene, key)).release().ptr();
        py::list nodes;
        for (const u64 index : picked(key, scene.nodeCount()))
            nodes.append(wrap(scene.node(index)));
        return nodes.release().ptr();
    });
}

int sceneRemove(PyObject* self, PyObject* key, PyObject* value) {
    return guarded<>(-1, [&] {
        if (value) raise(ErrorKind::Kind, "A node cannot be assigned: scene.create makes one.");
        const Scene scene(&usableScene(self));
        std::vector<Node> nodes;
        if (PySlice_Check(key))
            for (const u64 index : picked(key, scene.nodeCount()))
                nodes.push_back(scene.node(index));
        else
            nodes.emplace_back(&nodeOf(*scene.get(), key));
        const Edit edit(scene, nodes.size() > 1);
        for (const Node& node : nodes)
            check(scene.removeNode(node));
        return 0;
    });
}

Py_ssize_t sceneSize(PyObject* self) {
    return guarded<>(Py_ssize_t{-1},
                     [&] { return static_cast<Py_ssize_t>(usableScene(self).nodeCount()); });
}

// Even an empty scene is something.
int sceneBool(PyObject*) {
    return 1;
}

int sceneContains(PyObject* self, PyObject* item) {
    return guarded<>(-1, [&] {
        IScene& scene = usableScene(self);
        if (PyObject_TypeCheck(item, s_nodeType))
            return reinterpret_cast<NodeObject*>(item)->object->scene() == &scene ? 1 : 0;
        if (!PyUnicode_Check(item)) return 0;
        return Scene(&scene).findNode(NameView(textOf(item))) ? 1 : 0;
    });
}

PyObject* sceneRepr(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        const u64 count = usableScene(self).nodeCount();
        return PyUnicode_FromFormat("<kelvo.Scene of %llu %s>",
                                    static_cast<unsigned long long>(count),
                                    count == 1 ? "node" : "nodes");
    });
}

// Walks the nodes. It knows the node that it gave last: when that is no longer at its place, or
// the number of nodes is another, the scene was changed.
struct WalkObject {
    PyObject_HEAD IScene* scene;
    INode* last;
    u64 next;
    u64 count;
};

PyTypeObject* s_walkType = nullptr;

PyObject* sceneIter(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        IScene& scene = usableScene(self);
        auto* walk = reinterpret_cast<WalkObject*>(s_walkType->tp_alloc(s_walkType, 0));
        if (!walk) throw py::error_already_set();
        walk->scene = &scene;
        walk->count = scene.nodeCount();
        scene.incRef();
        return reinterpret_cast<PyObject*>(walk);
    });
}

PyObject* walkNext(PyObject* self) {
    auto* walk = reinterpret_cast<WalkObject*>(self);
    return guarded<>(static_cast<PyObject*>(nullptr), [&]() -> PyObject* {
        checkReadable(walk->scene);
        const bool isMoved = walk->next > 0 && walk->scene->node(walk->next - 1) != walk->last;
        if (walk->scene->nodeCount() != walk->count || isMoved)
            raise(ErrorKind::Busy, "The nodes of the scene changed during the iteration.");
        if (walk->next >= walk->count) return nullptr;
        // Only compared, so it needs no reference.
        walk->last = walk->scene->node(walk->next++);
        return wrap(walk->last).release().ptr();
    });
}

void walkDealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    reinterpret_cast<WalkObject*>(self)->scene->decRef();
    type->tp_free(self);
    Py_DECREF(type);
}

} // namespace

std::vector<PyType_Slot> sceneSlots() {
    return {{Py_tp_new, slot(&sceneNew)},
            {Py_mp_subscript, slot(&sceneGet)},
            {Py_mp_ass_subscript, slot(&sceneRemove)},
            {Py_mp_length, slot(&sceneSize)},
            {Py_sq_contains, slot(&sceneContains)},
            {Py_tp_iter, slot(&sceneIter)},
            {Py_nb_bool, slot(&sceneBool)},
            {Py_tp_repr, slot(&sceneRepr)}};
}

void addWalk() {
    static PyType_Slot slots[] = {{Py_tp_dealloc, slot(&walkDealloc)},
                                  {Py_tp_iter, slot(&PyObject_SelfIter)},
                                  {Py_tp_iternext, slot(&walkNext)},
                                  {0, nullptr}};
    static PyType_Spec layout{"kelvo._kelvo.NodeWalk", sizeof(WalkObject), 0,
                              Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots};
    s_walkType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&layout));
    if (!s_walkType) throw py::error_already_set();
}

} // namespace qv::python
