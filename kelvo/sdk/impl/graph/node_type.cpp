// ---- Type and naming -------------------------------------------------------------------
// The type, bases and names of a node. Only the bases listed here count; theirs are not looked
// up.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/localized.h"
#include "kelvo/base/path.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

// Const although it makes the input, because only its first reader needs it.
IInput* Node::meta() const {
    return const_cast<Node*>(this)->createInput(knownNames().meta, AttrType::Object);
}

String Node::type() const {
    return m_type;
}

StringVector Node::bases() const {
    return m_bases;
}

bool Node::isAbstract() const {
    return m_isAbstract;
}

bool Node::isInternal() const {
    return m_isInternal;
}

bool Node::isTypeOf(String type) const {
    return hasType(type);
}

bool Node::isTypeOf(StringVector types) const {
    return std::ranges::any_of(types, [this](const String& type) { return isTypeOf(type); });
}

bool Node::hasType(const String& type) const noexcept {
    return m_type.equals(type) || m_bases.indexOf(type, false) != noIndex;
}

bool Node::hasTypeIn(const StringVector& types) const noexcept {
    for (const String& type : types) {
        if (hasType(type)) return true;
    }
    return false;
}

String Node::typeDesc() const {
    return m_bases.empty() ? m_type : m_type + " [" + m_bases.join(", ") + "]";
}

String Node::name() const {
    return m_name;
}

namespace {

// Returns the text of the input "name", empty when there is none.
String nameFromInput(const Node& node) {
    if (!node.hasInput(knownNames().name, AttrType::String)) return {};
    const kelvo_sdk::Input input(node.lookUpInput(knownNames().name));
    String text;
    return input->readString(text, true, nullptr) ? text.trim(true, true) : String();
}

} // namespace

// Reading may run eval callbacks, which may drop the last reference to the node.
String Node::displayName() const {
    const kelvo_sdk::Node held(const_cast<Node*>(this));
    if (String text = nameFromInput(*this); !text.isEmpty()) return text;
    if (isTypeOf(knownNames().path)) {
        const Path path(asPath(), false);
        if (!path.file(false).isEmpty()) return path.file(true);
    }
    return m_name;
}

bool Node::setDisplayName(String name) {
    IInput* input = lookUpInput(knownNames().name);
    return input && input->setString(std::move(name));
}

String Node::label(String language) const {
    String text = os::localizedItem(m_labels, std::move(language));
    if (text.isEmpty()) text = displayName();
    return text.titleCased(true);
}

String Node::help(String language) const {
    return os::localizedItem(m_helps, std::move(language));
}

ILayout* Node::layout() const {
    return m_layout;
}

// Takes the new reference before dropping the old one, so that the same layout may be set again.
void Node::setLayout(ILayout* layout) {
    if (layout) layout->incRef();
    if (m_layout) m_layout->decRef();
    m_layout = layout;
}

String Node::nodeDefPath() const {
    return m_libInfo.kndPath();
}

void Node::setBases(StringVector bases, bool isAbstract, bool isInternal) {
    m_bases = std::move(bases);
    setMarks(isAbstract, isInternal);
    described();
    leadsChanged();
    evaluationChanged();
}

void Node::setMarks(bool isAbstract, bool isInternal) noexcept {
    m_isAbstract = isAbstract;
    m_isInternal = isInternal;
}

void Node::setLabel(String language, String text) {
    m_labels.set(std::move(language), std::move(text));
}

void Node::setHelp(String language, String text) {
    m_helps.set(std::move(language), std::move(text));
}

void Node::setSvgIcon(String svg) {
    m_svgIcon = std::move(svg);
}

void Node::setName(String name, Only<Scene, NodeChange, NodeCopies> /*key*/) {
    m_name = std::move(name);
}

} // namespace qv::kelvo_sdk::impl
