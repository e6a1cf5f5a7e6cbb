#include "kelvo/plugins/definition_file.h"

#include "kelvo/files/text_file.h"

#include <string>
#include <system_error>

namespace qv::kelvo_plugins {

namespace fs = std::filesystem;
using kelvo_sdk::Result;

namespace {

Result fail(const fs::path& file, const std::string& reason) {
    const std::string name = file.string();
    return Result::failure(String("cannot read its definitions '") + std::string_view(name) +
                           "': " + std::string_view(reason));
}

} // namespace

Result readDefinitionFile(const fs::path& file, String& text) {
    std::error_code failure;
    // Reading any other file, such as a pipe, might block.
    const bool regular = fs::is_regular_file(file, failure);
    if (failure) return fail(file, failure.message());
    if (!regular) return fail(file, "not a regular file");
    const std::uintmax_t size = fs::file_size(file, failure);
    if (failure) return fail(file, failure.message());
    if (size > definitionFileLimit) return fail(file, "larger than 64 MiB");
    failure = kelvo_files::readText(file, text);
    return failure ? fail(file, failure.message()) : Result();
}

} // namespace qv::kelvo_plugins
