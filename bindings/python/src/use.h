#pragma once

#include "bindings/python/src/errors.h"

#include <initializer_list>
#include <optional>
#include <vector>

namespace qv::python {

/// An edit of a scene by Python. Refuses an edit beside a long call or an edit scope of another
/// thread. An exception that leaves it, such as one of an observer, takes the edit back.
class Edit {
public:
    /// The scene may be empty, as for a node without a scene.
    explicit Edit(const Scene& scene, bool isComposed = false);

    /// Takes the edit back.
    void cancel();

private:
    LogScope m_log;
    std::optional<Scene::UndoScope> m_scope;
};

/// Throws when the scene is in use in a way that excludes edits.
void checkEditable(const IScene* scene);

/// A call that may take long: registers its use of scenes, then releases the interpreter lock, so
/// that other Python threads run. A long edit or a step of the history refuses all other uses of
/// the scene by Python, a long reading all edits.
class LongUse {
public:
    enum class Way { Read, Edit, Step };

    /// Empty handles among the scenes are ignored.
    LongUse(std::initializer_list<Scene> scenes, Way way);
    ~LongUse();
    LongUse(const LongUse&) = delete;
    LongUse& operator=(const LongUse&) = delete;

private:
    LogScope m_log;
    std::vector<Scene> m_scenes;
    Way m_way;
    std::optional<Scene::UndoScope> m_scope;
    std::optional<py::gil_scoped_release> m_unlocked;
};

struct LongRead : LongUse {
    template<class... Scenes>
    explicit LongRead(const Scenes&... scenes) : LongUse({Scene(scenes)...}, Way::Read) {}
};
struct LongEdit : LongUse {
    explicit LongEdit(const Scene& scene) : LongUse({scene}, Way::Edit) {}
};
/// Undo or redo, which an open edit would refuse.
struct LongStep : LongUse {
    explicit LongStep(const Scene& scene) : LongUse({scene}, Way::Step) {}
};

/// Marks a scene as edited by this thread, for the lifetime of a `with scene.edit(...)`: other
/// threads may read it, but not edit.
void beginScope(const Scene& scene);
void endScope(const Scene& scene);

/// Counts the observers in Python: only with some of them can an edit fail half-way.
void countObservers(int change) noexcept;

} // namespace qv::python
