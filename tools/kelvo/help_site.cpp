#include "tools/kelvo/help_site.h"

#include "kelvo/base/string_io.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/help.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/help_index.h"

#include <filesystem>
#include <system_error>
#include <unordered_map>
#include <unordered_set>

namespace qv::kelvo_tool {

using kelvo_sdk::interfaces::INode;

namespace {

constexpr std::string_view folderOfTypes = "types/";
constexpr u64 longestName = 100;

/// The types of a site, each with the file of its page.
class Pages {
public:
    explicit Pages(const std::vector<const INode*>& types) {
        for (const INode* type : types)
            if (type && !m_files.contains(type->type())) add(*type);
    }

    [[nodiscard]] const std::vector<const INode*>& types() const noexcept { return m_types; }
    /// Returns the file of a type; empty for a type that is not on the site.
    [[nodiscard]] String fileOf(const String& type) const {
        const auto found = m_files.find(type);
        return found != m_files.end() ? found->second : String();
    }
    [[nodiscard]] std::vector<String> derivedFrom(const String& type) const {
        const auto found = m_derived.find(type);
        return found != m_derived.end() ? found->second : std::vector<String>();
    }

private:
    void add(const INode& type) {
        m_types.push_back(&type);
        m_files.emplace(type.type(), newFile(type.type()));
        for (const String& base : type.bases())
            m_derived[base].push_back(type.type());
    }

    // Uses only letters that any file system accepts; names differ even without regard to case.
    String newFile(const String& type) {
        StringIO stem;
        for (const char c : type.substr(0, longestName))
            stem.append(String(c).isSimpleCID() || (c >= '0' && c <= '9') ? c : '_');
        String name = stem.isEmpty() ? String("_") : stem.take();
        const String first = name;
        for (u64 i = 2; !m_taken.insert(name.toLower()).second; ++i)
            name = first + "-" + std::to_string(i);
        return name + ".html";
    }

    std::vector<const INode*> m_types;
    std::unordered_map<String, String> m_files;
    std::unordered_map<String, std::vector<String>> m_derived;
    std::unordered_set<String> m_taken;
};

bool makeFolder(const String& folder, String& error) {
    std::error_code reason;
    std::filesystem::create_directories(folder.buf(), reason);
    if (reason) error = "cannot make the folder '" + folder + "': " + reason.message().c_str();
    return !reason;
}

} // namespace

std::vector<SiteFile> helpSite(const std::vector<const INode*>& types) {
    const Pages pages(types);
    kelvo_sdk::HelpLinks links;
    links.index = "../index.html";
    links.indexText = "All types";
    links.pageOf = [&](const String& type) { return pages.fileOf(type); };
    std::vector<SiteFile> site;
    std::vector<IndexEntry> entries;
    for (const INode* type : pages.types()) {
        const String path = folderOfTypes + pages.fileOf(type->type());
        links.derived = pages.derivedFrom(type->type());
        site.push_back({path, kelvo_sdk::helpSitePage(handleOn(*type), links)});
        entries.push_back({type, path});
    }
    site.push_back({"index.html", helpIndex(std::move(entries))});
    return site;
}

bool writeSite(const std::vector<SiteFile>& site, const String& folder, String& error) {
    const String base = folder + "/";
    if (!makeFolder(base + folderOfTypes, error)) return false;
    for (const SiteFile& file : site)
        if (!writeFile(base + file.path, file.text.view(), error)) return false;
    return true;
}

} // namespace qv::kelvo_tool
