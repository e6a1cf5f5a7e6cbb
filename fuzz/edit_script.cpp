// Scripts of `kelvo edit` on a small scene: each command is carried out or leaves the scene
// unchanged, and undo takes back all commands.
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"
#include "tools/kelvo/edit_session.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace qv::fuzz {

namespace {

using kelvo_tool::Edit;
using kelvo_tool::EditError;
using kelvo_tool::EditSession;

// The edit session needs its scene in a file.
class SceneFile {
public:
    SceneFile() {
        std::string folder = (std::filesystem::temp_directory_path() / "kelvoXXXXXX").string();
        require(mkdtemp(folder.data()) != nullptr, "there is a temporary folder");
        m_folder = folder;
        std::ofstream(path()) << "kelvo scene 1\n\nnode light \"lamp\" {\n    Real radius = 0.5\n"
                                 "    Array<Node> list = [wood, lamp]\n    Node target = wood\n"
                                 "    Rgba color = (1 1 1 1) <- wood.tint\n}\n"
                                 "node wood \"wood\" {\n    String grain = \"fine\"\n"
                                 "    Object shade {\n        Real depth = 1\n    }\n"
                                 "    output Rgba tint\n}\n";
    }
    ~SceneFile() { std::filesystem::remove_all(m_folder); }
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;

    [[nodiscard]] std::string path() const { return m_folder / "small.kns"; }

private:
    std::filesystem::path m_folder;
};

const SceneFile& sceneFile() {
    static const SceneFile file;
    return file;
}

void requirePlace(const EditError& error, std::string_view script) {
    std::size_t lines = 1;
    for (const char c : script)
        lines += c == '\n' ? 1 : 0;
    require(error.line >= 1 && error.line <= lines, "an error is on a line of the script");
    require(error.column >= 1 && error.column <= script.size() + 1, "an error has a column");
    require(!error.message.isEmpty(), "an error says something");
}

} // namespace

void runEditScript(std::string_view input) {
    std::vector<Edit> edits;
    EditError error;
    if (!kelvo_tool::parseEdits(String(input), edits, error)) return requirePlace(error, input);
    kelvo_tool::Terminal out;
    EditSession session(String(std::string_view(sceneFile().path())), String(), out);
    require(session.open(kelvo_tool::WithTypes::WhereNeeded), "the small scene is opened");
    const String first = session.scene().text();
    constexpr std::size_t most = 50;
    for (std::size_t i = 0; i < edits.size() && i < most; ++i) {
        const String before = session.scene().text();
        if (session.run(edits[i], error)) continue;
        requirePlace(error, input);
        require(session.scene().text() == before, "a command that fails changes nothing");
    }
    requireSound(session.scene(), session.hasTypes());
    while (session.scene().undo()) {
    }
    require(session.scene().text() == first, "undo takes all commands back");
}

} // namespace qv::fuzz
