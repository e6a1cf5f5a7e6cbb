#include "kelvo/sdk/diagnostic.h"

namespace qv::kelvo_sdk {

String Diagnostic::text() const {
    const String place = line == 0 ? source + ": "
                                   : String::format("%s:%llu:%llu: ", source.buf(),
                                                    static_cast<unsigned long long>(line),
                                                    static_cast<unsigned long long>(column));
    if (!type.isEmpty()) return place + "type '" + type + "': " + message;
    if (node.isEmpty()) return place + message;
    return place + "node '" + node + "': " + message;
}

} // namespace qv::kelvo_sdk
