#include "kelvo/sdk/impl/graph/layout.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/layout.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/localized.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace qv::kelvo_sdk::impl {

namespace {

String labelOf(const String& name, const Layout::Texts& labels, String language) {
    ds::HashMap<String, String> table;
    for (const auto& [key, text] : labels)
        table.set(key, text);
    String text = os::localizedItem(table, std::move(language));
    if (text.isEmpty()) text = name;
    return text.titleCased(true);
}

// The parts of a list by name; those without a name are none of them.
template<typename Part>
class ByName {
public:
    explicit ByName(const std::vector<Part>& parts) {
        for (u64 i = 0; i < parts.size(); ++i)
            add(parts[i].name, i);
    }
    void add(const String& name, u64 index) {
        if (!name.isEmpty()) m_places.emplace(name, index);
    }
    [[nodiscard]] u64 find(const String& name) const {
        const auto found = m_places.find(name);
        return found == m_places.end() ? noIndex : found->second;
    }

private:
    std::unordered_map<String, u64> m_places;
};

// Languages that are there already keep their text.
void addLabels(Layout::Texts& labels, const Layout::Texts& added) {
    if (added.empty()) return;
    std::unordered_set<String> known;
    for (const auto& label : labels)
        known.insert(label.first);
    for (const auto& label : added)
        if (known.insert(label.first).second) labels.push_back(label);
}

// Inputs without a group go on with such that stand last.
void addGroup(std::vector<Layout::Group>& groups, ByName<Layout::Group>& byName,
              const Layout::Group& added) {
    const bool isOnWith = added.name.isEmpty() && !groups.empty() && groups.back().name.isEmpty();
    const u64 place = isOnWith ? groups.size() - 1 : byName.find(added.name);
    if (place == noIndex) {
        byName.add(added.name, groups.size());
        groups.push_back(added);
        return;
    }
    Layout::Group& group = groups[place];
    addLabels(group.labels, added.labels);
    group.inputs.insert(group.inputs.end(), added.inputs.begin(), added.inputs.end());
}

} // namespace

void Layout::merge(const Layout& added) {
    removeInputs(added);
    ByName<Page> pages(m_pages);
    for (const Page& next : added.m_pages) {
        const u64 place = pages.find(next.name);
        if (place == noIndex) {
            pages.add(next.name, m_pages.size());
            m_pages.push_back(next);
            continue;
        }
        Page& page = m_pages[place];
        addLabels(page.labels, next.labels);
        ByName<Group> groups(page.groups);
        for (const Group& group : next.groups)
            addGroup(page.groups, groups, group);
    }
    dropEmpty();
}

// Names are told apart without regard to case.
void Layout::removeInputs(const Layout& moved) {
    std::unordered_set<u64> names;
    for (const Page& page : moved.m_pages)
        for (const Group& group : page.groups)
            for (const String& input : group.inputs)
                names.insert(input.foldedHash());
    for (Page& page : m_pages)
        for (Group& group : page.groups)
            std::erase_if(group.inputs,
                          [&](const String& input) { return names.contains(input.foldedHash()); });
}

// Groups and pages without inputs left are removed.
void Layout::dropEmpty() {
    for (Page& page : m_pages)
        std::erase_if(page.groups, [](const Group& group) {
            return group.name.isEmpty() && group.inputs.empty();
        });
}

RefersTo<Layout> Layout::withRenamed(const String& input, const String& name) const {
    auto made = RefersTo<Layout>::adopt(new Layout(*this));
    bool isFound = false;
    for (Page& page : made->m_pages)
        for (Group& group : page.groups)
            for (String& shown : group.inputs) {
                if (!shown.equalsNoCase(input)) continue;
                shown = name;
                isFound = true;
            }
    return isFound ? made : RefersTo<Layout>();
}

String Layout::label(const Page& page, String language) {
    return labelOf(page.name, page.labels, std::move(language));
}

String Layout::label(const Group& group, String language) {
    return labelOf(group.name, group.labels, std::move(language));
}

} // namespace qv::kelvo_sdk::impl

// ---- For clients ---------------------------------------------------------------------------

namespace qv::kelvo_sdk {

namespace {

LayoutGroup groupOf(const impl::Node& node, const impl::Layout::Group& group,
                    const String& language) {
    LayoutGroup shown{group.name, impl::Layout::label(group, language), {}};
    for (const String& name : group.inputs)
        if (interfaces::IInput* input = node.lookUpInput(name))
            shown.inputs.push_back(Input(input));
    return shown;
}

} // namespace

ds::Vector<LayoutPage> Node::layoutPages(String language) const {
    ds::Vector<LayoutPage> pages;
    const auto* node = impl::implOf(get());
    const auto* layout = node ? dynamic_cast<const impl::Layout*>(node->layout()) : nullptr;
    if (!layout) return pages;
    for (const impl::Layout::Page& page : layout->pages()) {
        LayoutPage shown{page.name, impl::Layout::label(page, language), {}};
        for (const impl::Layout::Group& group : page.groups)
            shown.groups.push_back(groupOf(*node, group, language));
        pages.push_back(std::move(shown));
    }
    return pages;
}

} // namespace qv::kelvo_sdk
