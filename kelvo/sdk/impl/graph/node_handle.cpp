// Functions of the handle of nodes that change something. They find the reason after a failure;
// those that may fail after a notification hold the node, because observers may drop the last
// reference.

#include "kelvo/sdk/node.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include "kelvo/base/path.h"
#include "kelvo/base/spelling_suggestion.h"

namespace qv::kelvo_sdk {

namespace {

using impl::emptyHandle;
using impl::failureOf;
using impl::implOf;
using interfaces::INode;

// An attribute fails because of its name, or because an observer removed it.
Result attributeFailure(const String& node, const char* word, const String& name) {
    const bool isNamed = name.isSimpleCID();
    return Result::failure(
        String::format("Cannot create %s '%s' on node '%s': %s.", word, name.buf(), node.buf(),
                       isNamed ? "an observer removed it" : "the name is no simple identifier"));
}

// Makes an attribute by `create(INode&)`.
template<typename Attribute, typename Create>
Made<Attribute> make(const Node& node, const char* word, const String& name, const Create& create) {
    if (!node) return emptyHandle("node");
    Node held(node);
    Attribute made(create(*held));
    if (!made) return attributeFailure(held.name(), word, name);
    // Drops the extra reference, so that a node that observers abandoned is destroyed now.
    held.reset();
    if (made.node()) return made;
    return Result::failure(
        String::format("Cannot create %s '%s': an observer ended its node.", word, name.buf()));
}

// Returns the reason why the list of children refuses a child; empty when it should accept one.
String childrenRefusal(const INode& parent) {
    const String& children = impl::knownNames().children;
    const String path = parent.name() + "." + children;
    if (!parent.hasInput(children, AttrType::Null))
        return "Node '" + parent.name() + "' has no input '" + children + "'.";
    const impl::Input& list = *implOf(parent.input(children));
    if (!list.hasElementType(AttrType::Node))
        return "'" + path + "' takes no children: expected Array<Node>, not " + list.typeName() +
               ".";
    return list.isReadOnly() ? impl::changeRefusal(list) : String();
}

bool isInScene(const INode& node) {
    const auto* scene = implOf(node.scene());
    return scene && scene->contains(node);
}

// A conversion that is refused leaves the node in its scene.
String conversionRefusal(const INode& node, const String& type) {
    if (!isInScene(node)) return {};
    if (!type.isSimpleCID()) return impl::nameRefusal(type, "type");
    const impl::Node* definition = implOf(*node.scene()).findType(type);
    return definition && definition->isAbstract() ? impl::abstractConversion(node, type) : String();
}

// Tells which of the three inputs refuses its part of a path; empty when none does.
String pathRefusal(const Node& node, const String& path) {
    const impl::KnownNames& known = impl::knownNames();
    const Path parts(path, true);
    const std::pair<const String&, String> texts[] = {
        {known.ext, parts.ext(true)}, {known.file, parts.file(false)}, {known.dir, parts.dir()}};
    for (const auto& [name, text] : texts) {
        const String reason = impl::valueRefusal(*implOf(node[name].get()), impl::Value(text));
        if (!reason.isEmpty()) return reason;
    }
    return {};
}

} // namespace

Made<Input> Node::createInput(String name, AttrType type) const {
    return make<Input>(*this, "input", name,
                       [&](INode& node) { return node.createInput(name, type); });
}

Made<Input> Node::createArray(String name, AttrType elementType) const {
    return make<Input>(*this, "input", name,
                       [&](INode& node) { return node.createArray(name, elementType); });
}

Made<Input> Node::createBuffer(String name, DataType elementType) const {
    return make<Input>(*this, "input", name,
                       [&](INode& node) { return implOf(node).createBuffer(name, elementType); });
}

Made<Input> Node::createInput(String name, const Input& like) const {
    if (!like) return Result::failure("There is no input to follow: the handle is empty.");
    impl::AttrData data(like.type());
    data.elementType = like.elementType();
    data.dataType = like->dataType();
    data.value = implOf(*like).value();
    return make<Input>(*this, "input", name, [&](INode& node) {
        return implOf(node).createInput(name, std::move(data));
    });
}

Result Node::removeInput(const String& name) const {
    if (!get()) return emptyHandle("node");
    if (get()->removeInput(name)) return {};
    SpellingSuggestion near(name.view());
    for (u64 i = 0; i < inputCount(); ++i)
        near.offer(implOf(input(i).get())->ownName().view());
    return Result::failure("Node '" + this->name() + "' has no input '" + name + "'" +
                           near.question());
}

Result Node::removeInput(u64 index) const {
    if (!get()) return emptyHandle("node");
    if (get()->removeInput(index)) return {};
    return Result::failure(String::format("Node '%s' has no input %llu: it has %llu.", name().buf(),
                                          static_cast<unsigned long long>(index),
                                          static_cast<unsigned long long>(inputCount())));
}

Result Node::removeOutput(const String& name) const {
    if (!get()) return emptyHandle("node");
    if (get()->removeOutput(name)) return {};
    SpellingSuggestion near(name.view());
    ds::Vector<String> known;
    for (const Output& output : outputs())
        known.push_back(output.name());
    for (const String& candidate : known)
        near.offer(candidate.view());
    return Result::failure("Node '" + this->name() + "' has no output '" + name + "'" +
                           near.question());
}

Result Node::rename(const String& name) const {
    if (!get()) return emptyHandle("node");
    if (!get()->scene())
        return Result::failure("Cannot rename node '" + this->name() + "': it is in no scene.");
    return scene().renameNode(*this, name);
}

Made<Output> Node::createOutput(String name, AttrType type) const {
    auto made = make<Output>(*this, "output", name,
                             [&](INode& node) { return node.createOutput(name, type); });
    const bool isRefused = get() && !made && type >= AttrType::Node && type <= AttrType::Object;
    if (!isRefused || !name.isSimpleCID()) return made;
    return Result::failure("Cannot create output '" + name + "' on node '" + this->name() +
                           "': no output is of kind " + attrTypeName(type) + ".");
}

Made<Output> Node::createOutput(String name, DataType elementType) const {
    return make<Output>(*this, "output", name,
                        [&](INode& node) { return implOf(node).createOutput(name, elementType); });
}

Result Node::parentTo(const Node& to) const {
    if (!get()) return emptyHandle("node");
    if (!to) return emptyHandle("parent");
    const Node held(*this), parent(to);
    if (held->parentTo(parent.get())) return {};
    if (held->indexIn(parent.get()) >= 0)
        return Result::failure("Node '" + held.name() + "' is a child of node '" + parent.name() +
                               "' already.");
    String reason = childrenRefusal(*parent);
    const char* bar = impl::barBetween(parent.get(), held.get());
    if (reason.isEmpty() && bar) reason = impl::parentRefusal(*held, *parent, bar);
    return failureOf(reason, "An observer took node '" + held.name() +
                                 "' out of the children of node '" + parent.name() + "'.");
}

Result Node::unparentFrom(const Node& from) const {
    if (!get()) return emptyHandle("node");
    if (!from) return emptyHandle("parent");
    const Node held(*this), parent(from);
    if (held->unparentFrom(parent.get())) return {};
    String reason;
    if (held->indexIn(parent.get()) >= 0) reason = childrenRefusal(*parent);
    return failureOf(reason,
                     "Node '" + held.name() + "' is no child of node '" + parent.name() + "'.");
}

Result Node::setDirty(bool dirty) const {
    if (!get()) return emptyHandle("node");
    get()->setDirty(dirty);
    return {};
}

Made<Node> Node::clone(bool deep) const {
    if (!get()) return emptyHandle("node");
    if (!get()->scene())
        return Result::failure("Cannot copy node '" + name() + "': it is in no scene.");
    const Node held(*this);
    INode* made = held->clone(deep);
    if (made) return Node(made);
    const String name = held.name();
    if (!name.isSimpleCID()) return Result::failure(impl::nameRefusal(name, "name"));
    return Result::failure("Cannot copy node '" + name + "': an observer removed it.");
}

Made<Node> Node::copyByItself(String name) const {
    if (!get()) return emptyHandle("node");
    return Node(adoptRef, implOf(get())->clone(nullptr, std::move(name)));
}

Made<Node> Node::convertTo(String type, ConversionLosses* losses) const {
    if (!get()) return emptyHandle("node");
    const Node held(*this);
    const String start = "Cannot convert node '" + held.name() + "': ";
    if (!isInScene(*held)) return Result::failure(start + "it is in no scene.");
    if (INode* made = held->scene()->convertNoting(held.get(), type, losses)) return Node(made);
    return failureOf(conversionRefusal(*held, type),
                     start + "it or its replacement was removed meanwhile.");
}

Result Node::setPath(const String& path) const {
    if (!get()) return emptyHandle("node");
    const Node held(*this);
    if (held->setPath(path)) return {};
    if (!held.isPath())
        return Result::failure("Node '" + held.name() +
                               "' stands for no file: expected String inputs \"dir\", \"file\" "
                               "and \"ext\".");
    return failureOf(pathRefusal(held, path),
                     "An observer changed the path of node '" + held.name() + "' meanwhile.");
}

Result Node::subscribe(NodeObserver* observer) const {
    if (!get()) return emptyHandle("node");
    return impl::subscribed(observer, observer && get()->subscribe(observer), true);
}

Result Node::unsubscribe(NodeObserver* observer) const {
    if (!get()) return emptyHandle("node");
    return impl::subscribed(observer, get()->unsubscribe(observer), false);
}

} // namespace qv::kelvo_sdk
