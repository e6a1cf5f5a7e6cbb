#include "sdk/impl/layout.h"

#include "base/localized.h"

#include <algorithm>
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

template<typename Part>
Part* findNamed(std::vector<Part>& parts, const String& name) {
    const auto found =
        std::ranges::find_if(parts, [&](const Part& part) { return part.name.equals(name); });
    return found == parts.end() ? nullptr : &*found;
}

// Languages that are there already keep their text.
void addLabels(Layout::Texts& labels, const Layout::Texts& added) {
    for (const auto& label : added) {
        const bool isKnown = std::ranges::any_of(
            labels, [&](const auto& known) { return known.first.equals(label.first); });
        if (!isKnown) labels.push_back(label);
    }
}

// Inputs without a group go on with such that stand last.
void addGroup(std::vector<Layout::Group>& groups, const Layout::Group& added) {
    Layout::Group* group = nullptr;
    if (!added.name.isEmpty())
        group = findNamed(groups, added.name);
    else if (!groups.empty() && groups.back().name.isEmpty())
        group = &groups.back();
    if (!group) {
        groups.push_back(added);
        return;
    }
    addLabels(group->labels, added.labels);
    group->inputs.insert(group->inputs.end(), added.inputs.begin(), added.inputs.end());
}

} // namespace

void Layout::merge(const Layout& added) {
    removeInputs(added);
    for (const Page& next : added.m_pages) {
        Page* page = findNamed(m_pages, next.name);
        if (!page) {
            m_pages.push_back(next);
            continue;
        }
        addLabels(page->labels, next.labels);
        for (const Group& group : next.groups)
            addGroup(page->groups, group);
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

// What all inputs moved out of is no place any more.
void Layout::dropEmpty() {
    for (Page& page : m_pages)
        std::erase_if(page.groups, [](const Group& group) {
            return group.name.isEmpty() && group.inputs.empty();
        });
}

String Layout::label(const Page& page, String language) {
    return labelOf(page.name, page.labels, std::move(language));
}

String Layout::label(const Group& group, String language) {
    return labelOf(group.name, group.labels, std::move(language));
}

} // namespace qv::kelvo_sdk::impl
