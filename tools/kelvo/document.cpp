#include "tools/kelvo/document.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/message.h"

namespace qv::kelvo_tool {

bool loadScene(const String& file, const kelvo_sdk::Scene& scene) {
    String text;
    String error;
    if (!readFile(file, text, error)) {
        complain(error);
        return false;
    }
    kelvo_sdk::Diagnostics found;
    if (scene.read(std::move(text), displayed(file), &found)) return true;
    for (const kelvo_sdk::Diagnostic& diagnostic : found)
        complain(diagnostic.text());
    return false;
}

bool saveScene(const kelvo_sdk::Scene& scene, const String& file, Terminal& out) {
    const String text = scene.text();
    if (isStream(file)) {
        out.write(text.view());
        return true;
    }
    String error;
    if (writeFile(file, text.view(), error)) return true;
    complain(error);
    return false;
}

} // namespace qv::kelvo_tool
