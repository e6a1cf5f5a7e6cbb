// Finds nodes and inputs by path, type and value, and renames what it finds.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

namespace {

void print(const char* what, const Matches& matches) {
    std::printf("%s:", what);
    for (const Match& match : matches)
        std::printf(" %s", match.path().buf());
    std::printf("\n");
}

} // namespace

int main() {
    const Scene scene = Scene::create();
    expect(scene.addLibrary(LibInfo::standard()));
    expect(scene.createNode("pointLight", "key")["intensity"].set(40.0));
    expect(scene.createNode("spotLight", "rim")["intensity"].set(8.0));
    const Node room = scene.createNode("xform", "room");
    expect(room.createInput("note", AttrType::String).set("work here"));

    print("lights", scene.find({.type = "emitter", .inputs = false}));
    print("bright", scene.find({.pattern = "*.intensity", .value = ">10"}));
    print("notes", scene.find({.pattern = "**", .type = "String", .value = "work*"}));

    if (const Matches wrong = scene.find({.value = ">bright"}); !wrong)
        std::printf("%s\n", wrong.fault().message.buf());

    for (const Match& match : scene.find("*.note"))
        expect(match.input.rename("remark"));
    print("remarks", scene.find("*.remark"));
}
