#pragma once

#include "kelvo/base/string.h"

namespace qv::kelvo_sdk::impl {

/// Names by which nodes know inputs and types, made once: a look-up compares their kept hashes.
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

/// Never destroyed, as nodes may outlive all that is.
[[nodiscard]] const KnownNames& knownNames();

} // namespace qv::kelvo_sdk::impl
