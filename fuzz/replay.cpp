// Runs a target on the files of folders, its seeds and regressions: replay TARGET FOLDER...
#include "fuzz/targets.h"
#include "kelvo/base/log.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Files = std::vector<std::filesystem::path>;

Files filesOf(const char* folder) {
    Files files;
    if (!std::filesystem::is_directory(folder)) return files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

void play(const qv::fuzz::Target& target, const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(in), {}};
    // Prints the name first: a broken law ends the process.
    std::fprintf(stderr, "%s\n", file.c_str());
    target.run(input);
}

} // namespace

int main(int count, char** arguments) {
    const qv::fuzz::Target* target = count > 1 ? qv::fuzz::findTarget(arguments[1]) : nullptr;
    if (!target || count < 3) {
        std::fputs("usage: replay TARGET FOLDER...\n", stderr);
        return 2;
    }
    qv::setLogHandler([](qv::LogLevel, const char*, void*) {}, nullptr);
    std::size_t played = 0;
    for (int i = 2; i < count; ++i)
        for (const auto& file : filesOf(arguments[i])) {
            play(*target, file);
            ++played;
        }
    std::fprintf(stderr, "%zu inputs of %s\n", played, target->name);
    return played == 0 ? 1 : 0;
}
