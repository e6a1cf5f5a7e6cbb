// ---- Presentation ----------------------------------------------------------------------
// The writers define the formats. A flag is set while text is written, and restored afterwards,
// not cleared.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/help/knd_html_writer.h"
#include "kelvo/sdk/impl/help/missing_icon.h"
#include "kelvo/sdk/impl/scene_text/serialize.h"
#include "kelvo/sdk/impl/validate/mesh_check.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/string_io.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace qv::kelvo_sdk::impl {

namespace {

struct Writers {
    u64 count = 0;
    bool flagBefore = false;
};

std::mutex s_writersMutex;
std::unordered_map<const Node*, Writers> s_writers;

// Sets the flag of a node with its first writer, and restores it with the last: writers nest, and
// several threads may write the same node.
class Writing {
public:
    Writing(const Node& node, bool& flag) : m_node(node), m_flag(flag) {
        const std::lock_guard lock(s_writersMutex);
        Writers& writers = s_writers[&m_node];
        if (writers.count++ == 0) writers.flagBefore = m_flag.exchange(true);
    }
    ~Writing() {
        const std::lock_guard lock(s_writersMutex);
        const auto found = s_writers.find(&m_node);
        if (--found->second.count != 0) return;
        m_flag = found->second.flagBefore;
        s_writers.erase(found);
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

private:
    const Node& m_node;
    std::atomic_ref<bool> m_flag;
};

} // namespace

const String Node::s_missingSvgIcon(missingIcon(), 0);

String Node::svgIcon(bool emptyIfMissing) const {
    if (!m_svgIcon.isEmpty()) return m_svgIcon;
    return emptyIfMissing ? String() : s_missingSvgIcon;
}

String Node::htmlHelp(bool page, String /*text*/) const {
    return KndHtmlWriter::nodeHtml(kelvo_sdk::Node(const_cast<Node*>(this)), page);
}

// The writer takes the two options in reverse order.
String Node::serialize(bool withDependencies, bool changedOnly) const {
    const Writing writing(*this, m_serializing);
    StringIO out;
    impl::serialize(this, out, changedOnly, withDependencies);
    return out.take();
}

bool Node::checkMesh() const {
    return meshBuffersAgree(*this);
}

} // namespace qv::kelvo_sdk::impl
