#pragma once

#include "kelvo/base/string.h"

namespace qv::kelvo_sdk::impl {

/// Names that nodes look up in inputs and types, made once: look-ups compare their cached hashes.
struct KnownNames {
    const String meta{"_meta"};
    const String name{"name"};
    const String dir{"dir"};
    const String file{"file"};
    const String ext{"ext"};
    const String children{"children"};
    const String modifiers{"modifiers"};
    const String modifies{"modifies"};
    // Types.
    const String path{"path"};
    const String xform{"xform"};
    const String modifier{"modifier"};
    /// The key that makes a node's hash independent of its name.
    const String nodeName{"__node_name__"};
};

/// Never destroyed, because nodes may outlive all other objects.
[[nodiscard]] const KnownNames& knownNames();

} // namespace qv::kelvo_sdk::impl
