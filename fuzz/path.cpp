// Paths of inputs, which grow arrays on the way, and paths of files.
#include "kelvo/base/path.h"
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"
#include "kelvo/sdk/path_parser.h"

#include <string>

namespace qv::fuzz {

namespace {

using kelvo_sdk::PathParser;
using Tokens = ds::Vector<PathParser::Token>;

String written(const Tokens& tokens) {
    std::string text;
    for (const PathParser::Token& token : tokens) {
        if (token.index == -1)
            text += (text.empty() ? "" : ".") + std::string(token.text.view());
        else if (token.index < 0)
            text += "[+]";
        else
            text += "[" + std::to_string(token.index) + "]";
    }
    return String(std::string_view(text));
}

void checkInputPath(const String& path) {
    const Tokens tokens = PathParser::parsePath(path);
    const Tokens again = PathParser::parsePath(written(tokens));
    require(again.size() == tokens.size(), "the steps of a path make the path");
    for (u64 i = 0; i < tokens.size(); ++i) {
        require(tokens[i].index >= -2 && tokens[i].index <= PathParser::maxIndex,
                "the number of an element is bounded");
        require(again[i].index == tokens[i].index && again[i].text == tokens[i].text,
                "a step reads back as it was");
    }
}

// Arrays grow on the way, so large indices would take long.
bool isSmall(const String& path) {
    for (const PathParser::Token& token : PathParser::parsePath(path))
        if (token.index > 1000) return false;
    return true;
}

void checkWalk(const String& path) {
    const auto scene = newScene(false);
    require(scene.read("node thing \"n\" {\n    Array<Node> list = [n]\n"
                       "    Object o {\n        Array<Object> a = [{\n            Real r = 1\n"
                       "        }]\n    }\n}\n",
                       "small"),
            "the small scene is read");
    const String before = scene.text();
    require(scene.setUndoEnabled(true), "undo is switched on");
    const kelvo_sdk::Input reached = scene["n"].inputAt(path);
    const bool isNumbered = path.view().find("[+]") != std::string_view::npos;
    if (reached && !isNumbered)
        require(scene["n"].inputAt(path).get() == reached.get(), "a path leads to the same again");
    requireSound(scene, false);
    while (scene.undo()) {
    }
    require(scene.text() == before, "undo takes back what a path made");
}

void checkFilePath(const String& text) {
    const Path clean(text, true);
    require(Path(clean.text(), true) == clean, "a clean path stays as it is");
    require(clean.file(true).isEmpty() || clean.text().endsWith(clean.file(true), false),
            "a path ends in its file");
    require(clean.text().startsWith(clean.dir(), false), "a path starts with its folder");
}

} // namespace

void runPath(std::string_view input) {
    const String path(input);
    checkInputPath(path);
    checkFilePath(path);
    if (isSmall(path)) checkWalk(path);
}

} // namespace qv::fuzz
