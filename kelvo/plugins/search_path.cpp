#include "kelvo/plugins/search_path.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

namespace qv::kelvo_plugins {

namespace fs = std::filesystem;

SearchPath directoriesOf(std::string_view text) {
    SearchPath found;
    while (!text.empty()) {
        const std::string_view entry = text.substr(0, text.find(':'));
        text.remove_prefix(std::min(text.size(), entry.size() + 1));
        if (!entry.empty()) found.emplace_back(entry);
    }
    return found;
}

SearchPath directoriesOfEnvironment() {
    const char* text = std::getenv(pathVariable);
    return directoriesOf(text ? text : "");
}

std::string pluginName(const fs::path& file) {
    std::string name = file.filename().string();
    name.resize(std::min(name.size(), name.find(".so")));
    if (name.starts_with("lib") && name.size() > 3) name.erase(0, 3);
    return name;
}

fs::path findFile(const SearchPath& path, const std::string& name) {
    for (const fs::path& directory : path) {
        std::error_code failure;
        fs::path file = directory / name;
        if (fs::is_regular_file(file, failure)) return file;
    }
    return {};
}

fs::path findPlugin(const SearchPath& path, const std::string& name) {
    for (const fs::path& directory : path) {
        for (const std::string& file : {name + ".so", "lib" + name + ".so"}) {
            if (fs::path found = findFile({directory}, file); !found.empty()) return found;
        }
    }
    return {};
}

std::vector<fs::path> pluginsIn(const fs::path& directory) {
    std::vector<fs::path> found;
    std::error_code failure;
    const fs::directory_iterator end;
    for (fs::directory_iterator entry(directory, failure); !failure && entry != end;
         entry.increment(failure)) {
        const fs::path& file = entry->path();
        if (file.extension() != ".so") continue;
        if (!findFile({directory}, pluginName(file) + ".knd").empty()) found.push_back(file);
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace qv::kelvo_plugins
