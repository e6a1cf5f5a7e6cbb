#pragma once

#include "kelvo/base/data_type.h"
#include "kelvo/base/types.h"

// Declarations of the types that the interfaces name without needing their definitions.
namespace qv::ds {
template<typename T>
class Vector;
} // namespace qv::ds

namespace qv::kelvo_sdk {
enum class AttrType : i32;
class EvalCtx;
class Input;
class Node;
class NodePath;
class Output;

namespace impl {
struct AttrData;
class NodeIterator;
class PathIterator;
} // namespace impl

namespace interfaces {
class IInput;
class IInputContainer;
class ILayout;
class ILibInfo;
class INode;
class IOutput;
class IScene;
class BatchObserver;
class NodeObserver;
class SceneObserver;
} // namespace interfaces
} // namespace qv::kelvo_sdk
