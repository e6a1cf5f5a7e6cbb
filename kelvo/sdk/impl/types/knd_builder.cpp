#include "kelvo/sdk/impl/types/knd_builder.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

#include <set>
#include <utility>

namespace qv::kelvo_sdk::impl {

KndBuilder::KndBuilder(KndTree& tree, KndChecker& checker, std::string_view text,
                       const String& source)
    : m_tree(tree),
      m_checker(checker),
      m_source(source),
      m_text(text),
      m_typeLines(linesOf(tree.nodes)),
      m_inputLines(linesOf(tree.inputs)),
      m_outputLines(linesOf(tree.outputs)),
      m_nodes(tree),
      m_types(tree.types.size()),
      m_definitions(tree.types.size()) {}

std::vector<std::unique_ptr<KndDefinition>> KndBuilder::build() {
    makeDefaults();
    for (const u32 type : m_checker.order())
        build(type);
    return std::move(m_types);
}

// Linear, because the attributes come in the order of the text.
template<typename Attributes>
std::vector<u32> KndBuilder::linesOf(const Attributes& attributes) const {
    LineCounter counter(m_text);
    std::vector<u32> lines;
    lines.reserve(attributes.size());
    for (u64 i = 0; i < attributes.size(); ++i)
        lines.push_back(static_cast<u32>(counter.placeOf(attributes[i].offset).line));
    return lines;
}

// The value in the text is also the default, unless the text gives one. Elements have no default,
// as `reset` does not reach them.
void KndBuilder::makeDefaults() {
    std::vector<bool> isElement(m_tree.inputs.size());
    for (u64 parent = 0; parent < m_tree.inputs.size(); ++parent)
        if (m_tree.inputs[parent].type == AttrType::Array)
            for (u32 i = m_tree.inputs[parent].firstMember; i != noTreeIndex;
                 i = m_tree.inputs[i].nextSibling)
                isElement[i] = true;
    for (u64 i = 0; i < m_tree.inputs.size(); ++i) {
        TreeInput& input = m_tree.inputs[i];
        if (isElement[i]) continue;
        if (input.value.isNull() || input.value == Value::zero(input.type)) {
            dropZeroDefault(input);
            continue;
        }
        if (input.extras == noTreeIndex) {
            input.extras = static_cast<u32>(m_tree.extras.size());
            m_tree.extras.emplace_back();
        }
        TreeExtras& extras = m_tree.extras[input.extras];
        if (!extras.details) extras.details = RefersTo<AttrDetails>::adopt(new AttrDetails);
        if (extras.details->defaultValue.isNull()) extras.details->defaultValue = input.value;
    }
}

// Drops a default that equals the zero value of its kind; the written text leaves such a default
// out, too.
void KndBuilder::dropZeroDefault(const TreeInput& input) {
    if (input.extras == noTreeIndex) return;
    AttrDetails* details = m_tree.extras[input.extras].details.get();
    if (details && details->defaultValue == Value::zero(input.type)) details->defaultValue = {};
}

void KndBuilder::build(u32 type) {
    const TreeNode& from = m_tree.nodes[type];
    auto made = std::make_unique<KndDefinition>();
    made->source = m_source;
    made->line = m_typeLines[type];
    made->prototype = m_nodes.makeEmptyNode(from);
    addBases(type, *made);
    m_nodes.makeAttributes(from, *made->prototype);
    addPlaces(type, *made);
    addTexts(type, *made);
    addLayout(type, *made);
    m_definitions[type] = made.get();
    m_types[type] = std::move(made);
}

const KndDefinition* KndBuilder::definitionOf(const KndChecker::Type& type) const {
    return type.known ? type.known : m_definitions[type.tree];
}

void KndBuilder::addBases(u32 type, KndDefinition& to) {
    const TreeNode& from = m_tree.nodes[type];
    StringVector names;
    bool hasIcon = false;
    for (const KndChecker::Type& base : m_checker.allBases(type)) {
        const KndDefinition& definition = *definitionOf(base);
        names.push_back(definition.name());
        if (!hasIcon && definition.hasIcon) to.prototype->setSvgIcon(definition.icon.text);
        hasIcon = hasIcon || definition.hasIcon;
    }
    to.prototype->setBases(std::move(names), from.isAbstract, from.isInternal);
    for (const KndChecker::Type& base : m_checker.bases(type))
        to.bases.push_back(definitionOf(base));
    inherit(to);
    to.inheritedInputs = to.inputs.size();
    to.inheritedOutputs = to.outputs.size();
}

// Counts an attribute once that two bases inherit from a common base. The checker has refused all
// other collisions of names.
void KndBuilder::inherit(KndDefinition& to) {
    std::set<std::pair<const KndDefinition*, u64>> met;
    const auto isNew = [&](const KndDefinition::Place& place) {
        return to.bases.size() < 2 || met.insert({place.owner, place.line}).second;
    };
    for (const KndDefinition* base : to.bases) {
        const Node& from = *base->prototype;
        for (u64 i = 0; i < base->inputs.size(); ++i) {
            if (!isNew(base->inputs[i])) continue;
            SceneBuilder::addCopy(*from.inputs()[i], *to.prototype);
            to.inputs.push_back(base->inputs[i]);
        }
        for (u64 i = 0; i < base->outputs.size(); ++i) {
            if (!isNew(base->outputs[i])) continue;
            SceneBuilder::addCopy(*from.outputs()[i], *to.prototype);
            to.outputs.push_back(base->outputs[i]);
        }
    }
}

void KndBuilder::addPlaces(u32 type, KndDefinition& to) {
    const TreeNode& from = m_tree.nodes[type];
    for (u32 i = from.firstInput; i != noTreeIndex; i = m_tree.inputs[i].nextSibling)
        to.inputs.push_back({&to, m_inputLines[i]});
    for (u32 i = from.firstOutput; i < from.firstOutput + from.outputCount; ++i)
        to.outputs.push_back({&to, m_outputLines[i]});
}

void KndBuilder::addTexts(u32 type, KndDefinition& to) {
    KndTreeType& from = m_tree.types[type];
    to.labels = std::move(from.labels);
    to.helps = std::move(from.helps);
    for (const KndText& label : to.labels)
        to.prototype->setLabel(label.language, label.text);
    for (const KndText& help : to.helps)
        to.prototype->setHelp(help.language, help.text);
    if (!from.hasIcon) return;
    to.icon = std::move(from.icon);
    to.hasIcon = true;
    to.prototype->setSvgIcon(to.icon.text);
}

// A type without own pages and with pages from one base alone shares the layout of that base.
void KndBuilder::addLayout(u32 type, KndDefinition& to) {
    KndTreeType& from = m_tree.types[type];
    RefersTo<Layout> layout;
    const auto add = [&](const Layout* pages) {
        if (!pages) return;
        if (!layout) {
            layout = RefersTo<Layout>(const_cast<Layout*>(pages));
            return;
        }
        layout = RefersTo<Layout>::adopt(new Layout(*layout));
        layout->merge(*pages);
    };
    for (const KndDefinition* base : to.bases)
        add(static_cast<const Layout*>(base->prototype->layout()));
    if (!from.pages.empty()) {
        to.pages = RefersTo<Layout>::adopt(new Layout(pagesOf(from)));
        add(to.pages.get());
    }
    for (KndPage& page : from.pages)
        to.pageComments.push_back(std::move(page.comments));
    to.prototype->setLayout(layout.get());
}

std::vector<Layout::Page> KndBuilder::pagesOf(const KndTreeType& from) const {
    std::vector<Layout::Page> pages;
    for (const KndPage& page : from.pages) {
        Layout::Page& to = pages.emplace_back(Layout::Page{page.name, page.labels, {}});
        for (const KndGroup& group : page.groups) {
            Layout::Group& added =
                to.groups.emplace_back(Layout::Group{group.name, group.labels, {}});
            for (const KndGroup::Item& item : group.inputs)
                added.inputs.push_back(m_tree.names.text(item.name));
        }
    }
    return pages;
}

void KndBuilder::addComments(SceneComments& comments) const {
    for (u64 i = 0; i < m_tree.nodes.size(); ++i)
        if (const TreeExtras* extras = m_tree.extrasOf(m_tree.nodes[i].extras))
            comments.set(m_definitions[i]->prototype.get(), extras->comments);
    for (u32 i = 0; i < m_tree.inputs.size(); ++i)
        if (const TreeExtras* extras = m_tree.extrasOf(m_tree.inputs[i].extras))
            comments.set(m_nodes.input(i), extras->comments);
    for (u32 i = 0; i < m_tree.outputs.size(); ++i)
        if (const TreeExtras* extras = m_tree.extrasOf(m_tree.outputs[i].extras))
            comments.set(m_nodes.output(i), extras->comments);
    Comments file = comments.file();
    file.leading += m_tree.file.leading.view();
    file.inner += m_tree.file.inner.view();
    if (file.opening.isEmpty()) file.opening = m_tree.file.opening;
    comments.setFile(std::move(file));
}

} // namespace qv::kelvo_sdk::impl
