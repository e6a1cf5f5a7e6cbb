// Lists the pages and rows of inputs that the help of a node type shows.

#include "kelvo/sdk/help.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/layout.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/help/help_value.h"

#include <algorithm>
#include <unordered_set>

namespace qv::kelvo_sdk::impl {

using interfaces::IInputContainer;

namespace {

constexpr u64 mostElements = 3;

// Elements with plain values need no rows: the default of their array shows them.
bool hasElementRows(const IInput& array) {
    return array.inputCount() != 0 && (array.input(u64{0})->type() == AttrType::Object ||
                                       array.input(u64{0})->type() == AttrType::Array);
}

u64 memberRows(const IInput& input) {
    if (input.type() == AttrType::Object) return input.inputCount();
    if (input.type() != AttrType::Array || !hasElementRows(input)) return 0;
    return std::min(input.inputCount(), mostElements);
}

// A label taken from the name alone is spelled as words.
String labelOf(const IInput& input) {
    const String label = input.label("auto");
    return label.equalsNoCase(input.name()) ? label.replace("_", " ", true, false) : label;
}

HelpRow rowOf(const IInput& input, u32 depth) {
    HelpRow row;
    row.depth = depth;
    const bool isElement = input.parent() && input.parent()->type() == AttrType::Array;
    row.name = isElement ? "[" + input.name() + "]" : input.name();
    row.label = isElement ? String() : labelOf(input);
    row.kind = helpKind(input.typeName());
    row.unit = input.unit();
    row.help = input.help("auto");
    row.isReadOnly = input.isReadOnly();
    row.defaultText = helpDefault(input);
    if (const AttrDetails* details = implOf(input).details()) {
        row.range = helpRange(*details);
        for (const Value& choice : details->choices)
            row.choices.push_back(helpValue(choice));
    }
    return row;
}

// Appends an input and all inputs below it, without recursion.
void addRows(const IInput& top, std::vector<HelpRow>& rows) {
    struct Step {
        const IInput* input;
        u64 next = 0;
    };
    std::vector<Step> chain;
    const auto open = [&](const IInput& input) {
        rows.push_back(rowOf(input, static_cast<u32>(chain.size())));
        chain.push_back({&input});
    };
    open(top);
    while (!chain.empty()) {
        Step& step = chain.back();
        if (step.next < memberRows(*step.input))
            open(*step.input->input(step.next++));
        else
            chain.pop_back();
    }
}

void addPage(const Node& node, const Layout::Page& page, std::unordered_set<const IInput*>& told,
             std::vector<HelpPage>& pages) {
    HelpPage result{Layout::label(page, "auto"), {}};
    for (const Layout::Group& group : page.groups) {
        HelpGroup rows;
        if (!group.name.isEmpty()) rows.label = Layout::label(group, "auto");
        for (const String& name : group.inputs)
            if (const IInput* input = node.lookUpInput(name); input && told.insert(input).second)
                addRows(*input, rows.rows);
        if (!rows.rows.empty()) result.groups.push_back(std::move(rows));
    }
    if (!result.groups.empty()) pages.push_back(std::move(result));
}

std::vector<HelpPage> pagesOf(const interfaces::INode& node) {
    std::vector<HelpPage> pages;
    std::unordered_set<const IInput*> told;
    const auto* layout = dynamic_cast<const Layout*>(node.layout());
    const auto* own = dynamic_cast<const Node*>(&node);
    if (layout && own)
        for (const Layout::Page& page : layout->pages())
            addPage(*own, page, told, pages);
    HelpPage rest;
    if (!pages.empty()) rest.label = "Other";
    rest.groups.emplace_back();
    for (u64 i = 0; i < node.inputCount(); ++i)
        if (!told.contains(node.input(i))) addRows(*node.input(i), rest.groups[0].rows);
    if (!rest.groups[0].rows.empty()) pages.push_back(std::move(rest));
    return pages;
}

} // namespace
} // namespace qv::kelvo_sdk::impl

namespace qv::kelvo_sdk {

String helpTitle(const Node& type) {
    const String label = type.label();
    return label.isEmpty() ? type.type().replace("_", " ", true, false).titleCased(true) : label;
}

String helpKind(const String& typeName) {
    return typeName.replace("<Null>", "", true, false);
}

std::vector<HelpPage> helpPages(const Node& type) {
    return type ? impl::pagesOf(*type) : std::vector<HelpPage>();
}

} // namespace qv::kelvo_sdk
