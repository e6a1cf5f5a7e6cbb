#include "tools/import/texture_paths.h"

#include "kelvo/base/path.h"
#include "tools/import/any_case_file.h"

#include <filesystem>
#include <utility>

namespace qv::model_import {

namespace {

namespace fs = std::filesystem;

fs::path fsPath(const String& path) {
    return {path.isEmpty() ? "." : path.buf()};
}

bool isFile(const String& path) {
    std::error_code error;
    return fs::is_regular_file(fsPath(path), error);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Decodes "%20" and the like; some formats write paths as URLs.
String decoded(std::string_view text) {
    std::string result;
    for (u64 i = 0; i < text.size(); ++i) {
        const bool isCode = text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
                            hexDigit(text[i + 2]) >= 0;
        if (!isCode) {
            result += text[i];
            continue;
        }
        result += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
        i += 2;
    }
    return String(std::string_view(result));
}

// Drops "file://", and a "//" in front, by which some programs mean the folder of the model.
String cleaned(std::string_view inModel) {
    if (inModel.starts_with("file://")) inModel.remove_prefix(7);
    if (inModel.starts_with("//")) inModel.remove_prefix(2);
    return Path(String(inModel), true).text();
}

// Tells whether the relative path works; symbolic links can make ".." lead elsewhere.
bool leadsTo(const fs::path& folder, const fs::path& relative, const fs::path& file) {
    std::error_code error;
    if (!fs::exists(file, error)) return true;
    return fs::equivalent(folder / relative, file, error) && !error;
}

} // namespace

String absolutePath(const String& file) {
    std::error_code error;
    const fs::path path = fs::absolute(fsPath(file), error).lexically_normal();
    return error ? file : String(path.generic_string().c_str());
}

String pathFrom(const String& folder, const String& file) {
    std::error_code error;
    const fs::path from = fs::absolute(fsPath(folder), error).lexically_normal();
    const fs::path to = fs::absolute(fsPath(file), error).lexically_normal();
    fs::path path = to.lexically_proximate(from);
    if (!leadsTo(from, path, to)) path = fs::relative(to, from, error);
    return error || path.empty() ? file : String(path.generic_string().c_str());
}

TextureFiles::TextureFiles(String modelFolder, const ImportOptions& options)
    : m_modelFolder(std::move(modelFolder)),
      m_sceneFolder(options.sceneFolder),
      m_kind(options.texturePaths) {}

String TextureFiles::inScene(const String& file, bool isRelative) const {
    if (!isRelative) return file;
    return m_kind == TexturePaths::Absolute ? absolutePath(file) : pathFrom(m_sceneFolder, file);
}

TextureFile TextureFiles::look(const String& path) const {
    const auto besideModel = [this](const String& name) { return Path::join(m_modelFolder, name); };
    const String code = decoded(path.view());
    const bool isRelative = !Path(path).isAbsolute();
    const std::pair<String, bool> places[] = {
        {isRelative ? besideModel(path) : path, isRelative},
        {isRelative ? besideModel(code) : code, isRelative},
        {besideModel(Path(path).file(true)), true},
        {besideModel(Path(code).file(true)), true},
    };
    for (const auto& [file, isBeside] : places) {
        if (isFile(file)) return {inScene(file, isBeside), true};
    }
    for (const auto& [file, isBeside] : places) {
        const String found = anyCaseFile(file);
        if (!found.isEmpty()) return {inScene(found, isBeside), true};
    }
    return {inScene(places[0].first, isRelative), false};
}

TextureFile TextureFiles::find(const String& inModel) {
    auto [entry, isNew] = m_found.try_emplace(inModel);
    if (isNew) {
        const String path = cleaned(inModel.view());
        entry->second = look(path);
        if (m_kind == TexturePaths::AsInModel) entry->second.path = path;
    }
    return entry->second;
}

} // namespace qv::model_import
