#pragma once

#include "render/finding.h"

#include <set>
#include <utility>
#include <vector>

namespace qv::render::impl {

/// Findings in the order in which they were made, each once.
class FindingList {
public:
    void add(const kelvo_sdk::SnapshotNode& node, const String& text) {
        add({node.number(), node.name(), text});
    }
    void add(const Finding& finding) {
        if (m_known.emplace(finding.number, finding.text.view()).second) m_list.push_back(finding);
    }
    void add(const std::vector<Finding>& findings) {
        for (const Finding& finding : findings)
            add(finding);
    }
    [[nodiscard]] const std::vector<Finding>& list() const noexcept { return m_list; }

private:
    std::vector<Finding> m_list;
    std::set<std::pair<kelvo_sdk::NodeNumber, std::string>> m_known;
};

} // namespace qv::render::impl
