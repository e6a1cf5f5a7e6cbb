#include "kelvo/sdk/impl/scene_text/scene_lines.h"

namespace qv::kelvo_sdk::impl {

void SceneLines::indentAll(std::string_view lines, u32 depth) {
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n') + 1);
        if (line.size() > 1) indent(depth);
        m_out.append(line);
        lines.remove_prefix(line.size());
    }
}

} // namespace qv::kelvo_sdk::impl
