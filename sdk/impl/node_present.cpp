// ---- Presentation ----------------------------------------------------------------------
// The formats are the writers'. A flag is up while text is written, and restored, not cleared.

#include "sdk/impl/node.h"

#include "sdk/impl/knd_html_writer.h"
#include "sdk/impl/mesh_check.h"
#include "sdk/impl/serialize.h"
#include "sdk/node.h"

#include "base/string_io.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Raises a flag and brings its old state back, so that nested writers leave it up.
class Raised {
public:
    explicit Raised(bool& flag) noexcept : m_flag(flag), m_before(std::exchange(flag, true)) {}
    ~Raised() { m_flag = m_before; }
    Raised(const Raised&) = delete;
    Raised& operator=(const Raised&) = delete;

private:
    bool& m_flag;
    bool m_before;
};

} // namespace

String Node::svgIcon(bool emptyIfMissing) const {
    if (!m_svgIcon.isEmpty()) return m_svgIcon;
    return emptyIfMissing ? String() : s_missingSvgIcon;
}

String Node::htmlHelp(bool page, String /*text*/) const {
    return KndHtmlWriter::nodeHtml(kelvo_sdk::Node(const_cast<Node*>(this)), page);
}

// The writer takes the two options in the other order.
String Node::serialize(bool withDependencies, bool changedOnly) const {
    const Raised serializing(m_serializing);
    StringIO out;
    impl::serialize(this, out, changedOnly, withDependencies);
    return out.take();
}

bool Node::checkMesh() const {
    return meshBuffersAgree(*this);
}

} // namespace qv::kelvo_sdk::impl
