#include "tools/import/any_case_file.h"

#include <filesystem>
#include <string>

namespace qv::model_import {

namespace {

namespace fs = std::filesystem;

// Returns the entry of a folder with that name, exactly or ignoring case; empty when there is none.
fs::path entryOf(const fs::path& folder, const fs::path& name) {
    std::error_code error;
    if (fs::exists(folder / name, error)) return folder / name;
    const String wanted = String(name.string().c_str()).toLower();
    fs::path found;
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
        const fs::path& entry = i->path();
        if (String(entry.filename().string().c_str()).toLower() != wanted) continue;
        if (found.empty() || entry < found) found = entry;
    }
    return found;
}

} // namespace

String anyCaseFile(const String& path) {
    std::error_code error;
    const fs::path whole = fs::absolute(path.buf(), error).lexically_normal();
    fs::path found = whole.root_path();
    for (const fs::path& name : whole.relative_path()) {
        found = entryOf(found, name);
        if (found.empty()) return {};
    }
    return fs::is_regular_file(found, error) ? String(found.generic_string().c_str()) : String();
}

} // namespace qv::model_import
