// Prints the definitions of a type's inputs, to build a form or to check a value before it is set.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

namespace {

void describe(const Input& input) {
    std::printf("%s (%s): %s\n", input.label("en").buf(), input.typeName().buf(),
                input.help("en").buf());
    std::printf("    default %s", input.defaultValue().asString().buf());
    if (const Input least = input.minimum()) std::printf(", at least %g", least.get<double>());
    if (const Input most = input.maximum()) std::printf(", at most %g", most.get<double>());
    for (qv::u64 i = 0; i < input.choiceCount(); ++i)
        std::printf("%s%s", i == 0 ? ", one of " : " ", input.choice(i).asString().buf());
    if (!input.unit().isEmpty()) std::printf(", in %s", input.unit().buf());
    std::printf("%s\n", input.isReadOnly() ? ", read-only" : "");
}

} // namespace

int main() {
    const Scene scene = Scene::create();
    expect(scene.addLibrary(LibInfo::standard()));
    const Node lamp = scene.createNode("light", "lamp");
    for (const char* name : {"intensity", "shape", "innerAngle"})
        describe(lamp[name]);

    // The definition allows no negative intensity: the write is refused and logged, and changes
    // nothing.
    qv::setLogHandler(
        [](qv::LogLevel, const char*, void*) { std::printf("A warning tells why.\n"); });
    const bool isSet = lamp["intensity"].set(-1);
    std::printf("Set: %s, the intensity is %g.\n", isSet ? "yes" : "no",
                lamp["intensity"].get<double>());
}
