#include "kelvo/kelvo.h"
#include "render/picture_file.h"
#include "render/renderer.h"

#include <cstdio>

using namespace qv;

// Renders a sky of one colour and tells the colour.
int main(int, char** arguments) {
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    const kelvo_sdk::Node sky = scene.createNode("skyLight", "sky");
    const kelvo_sdk::Input color = sky.createInput("color", kelvo_sdk::AttrType::Rgba);
    if (!color.set(math::Rgbad{{0.25, 0.5, 0.75, 1}})) return 1;
    render::RenderSettings settings;
    settings.width = settings.height = 2;
    render::Renderer renderer(scene.snapshot(), settings);
    if (!renderer.render({})) return 2;
    const render::Picture picture = renderer.picture();
    std::printf("%g %g %g\n", static_cast<double>(picture.color[0]),
                static_cast<double>(picture.color[1]), static_cast<double>(picture.color[2]));
    return render::writePicture(picture, {arguments[1], {}, ""}) ? 0 : 3;
}
