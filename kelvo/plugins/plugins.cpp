#include "kelvo/plugins/plugins.h"

#include <algorithm>
#include <system_error>

namespace qv::kelvo_plugins {

namespace {

namespace fs = std::filesystem;

bool isDirectory(const fs::path& path) {
    std::error_code failure;
    return fs::is_directory(path, failure);
}

// State of one call of `loadPlugins`.
class Run {
public:
    Run(const std::vector<String>& paths, const Complain& complain) : m_complain(complain) {
        for (const String& path : paths)
            m_listed.emplace_back(path.view());
        const SearchPath environment = directoriesOfEnvironment();
        std::copy_if(m_listed.begin(), m_listed.end(), std::back_inserter(m_path), &isDirectory);
        m_path.insert(m_path.end(), environment.begin(), environment.end());
    }

    std::vector<Plugin> load() {
        for (const Registered& registered : registeredLibraries()) {
            Plugin plugin;
            take(loadRegistered(registered, m_path, plugin), plugin);
        }
        for (const fs::path& path : m_listed)
            loadListed(path);
        m_origin = Origin::Environment;
        for (const fs::path& directory : m_path)
            loadDirectory(directory);
        return std::move(m_plugins);
    }

private:
    void loadListed(const fs::path& path) {
        std::error_code failure;
        if (isDirectory(path)) return loadDirectory(path);
        const bool isName = !path.has_parent_path() && !fs::exists(path, failure);
        const fs::path found = isName ? findPlugin(m_path, path.string()) : fs::path();
        loadFile(found.empty() ? path : found);
    }

    void loadDirectory(const fs::path& directory) {
        for (const fs::path& file : pluginsIn(directory))
            loadFile(file);
    }

    void loadFile(const fs::path& file) {
        std::error_code failure;
        const fs::path real = fs::canonical(file, failure);
        if (!failure && std::find(m_seen.begin(), m_seen.end(), real) != m_seen.end()) return;
        if (!failure) m_seen.push_back(real);
        Plugin plugin;
        take(loadPlugin(file, plugin), plugin);
    }

    void take(const kelvo_sdk::Result& loaded, Plugin& plugin) {
        if (loaded)
            m_plugins.push_back(std::move(plugin));
        else if (m_complain)
            m_complain(loaded.message(), m_origin);
    }

    const Complain& m_complain;
    Origin m_origin = Origin::Program;
    std::vector<fs::path> m_listed;
    // The given directories, then those of the environment.
    SearchPath m_path;
    std::vector<fs::path> m_seen;
    std::vector<Plugin> m_plugins;
};

} // namespace

std::vector<Plugin> loadPlugins(const std::vector<String>& paths, const Complain& complain) {
    return Run(paths, complain).load();
}

} // namespace qv::kelvo_plugins
