#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/impl/value/attr_data.h"
#include "kelvo/sdk/interfaces/i_layout.h"

#include <atomic>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Arrangement of the inputs of a node type: pages of groups of inputs, by name. Shared by all
/// nodes of the type, which must not change it.
class Layout final : public interfaces::ILayout {
public:
    using Texts = AttrDetails::Texts;

    struct Group {
        /// Empty for inputs that stand in the page itself.
        String name;
        /// By language.
        Texts labels;
        std::vector<String> inputs;
    };
    struct Page {
        String name;
        Texts labels;
        /// In order; groups of a page have different names, but for those without a name.
        std::vector<Group> groups;
    };

    Layout() = default;
    explicit Layout(std::vector<Page> pages) : m_pages(std::move(pages)) {}
    /// A copy with a reference of its own.
    Layout(const Layout& other) : m_pages(other.m_pages) {}
    Layout& operator=(const Layout&) = delete;

    void incRef() override { m_refCount.fetch_add(1); }
    void decRef() override {
        if (m_refCount.fetch_sub(1) == 1) delete this;
    }

    [[nodiscard]] const std::vector<Page>& pages() const noexcept { return m_pages; }
    /// Adds pages behind those there are: pages and groups of a known name go on with what is new,
    /// and inputs that stood elsewhere move.
    void merge(const Layout& added);

    /// Returns the same with another name for an input; null when the input stands nowhere in it.
    [[nodiscard]] RefersTo<Layout> withRenamed(const String& input, const String& name) const;

    /// Returns the label in a language ("auto": the current one), else the name, in title case.
    [[nodiscard]] static String label(const Page& page, String language);
    [[nodiscard]] static String label(const Group& group, String language);

private:
    ~Layout() override = default;

    void removeInputs(const Layout& moved);
    void dropEmpty();

    std::atomic<i32> m_refCount = 1;
    std::vector<Page> m_pages;
};

} // namespace qv::kelvo_sdk::impl
