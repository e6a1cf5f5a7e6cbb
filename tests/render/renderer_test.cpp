#include "render/renderer.h"

#include "kelvo/sdk/scene.h"
#include "tests/render/render_scene_text.h"

#include <chrono>
#include <numeric>
#include <thread>

namespace qv::render {
namespace {

using kelvo_sdk::Node;
using kelvo_sdk::Scene;
using tests::ball;
using tests::flatCamera;
using tests::snapshotOf;
using tests::square;
using tests::Texts;
using tests::textsOf;

RenderSettings small(u32 threads = 1) {
    RenderSettings settings;
    settings.width = 40;
    settings.height = 30;
    settings.threads = threads;
    return settings;
}
RenderLimit samples(u32 count) {
    RenderLimit limit;
    limit.samples = count;
    return limit;
}

// A shiny ball on a square, under a lamp and a sky.
std::string studio() {
    return ball("    Real metallic = 0.5\n    Real roughness = 0.3\n    Real clearcoat = 0.5\n") +
           square + flatCamera +
           "node skyLight \"sky\" {\n    Real intensity = 0.2\n}\n"
           "node light \"lamp\" {\n    Pos3 position = (2 3 4)\n    Real intensity = 30\n}\n";
}

Picture pictureOf(const kelvo_sdk::Snapshot& snapshot, u32 threads, u32 count = 4) {
    Renderer renderer(snapshot, small(threads));
    EXPECT_TRUE(renderer.render(samples(count)));
    return renderer.picture();
}

TEST(Renderer, Picture_IsTheSameForAnyNumberOfThreads) {
    const auto snapshot = snapshotOf(studio());
    const Picture one = pictureOf(snapshot, 1);
    for (const u32 threads : {1U, 2U, 3U, 8U})
        EXPECT_EQ(pictureOf(snapshot, threads), one) << threads;
}

TEST(Renderer, AdaptivePicture_IsTheSameForAnyNumberOfThreads) {
    const auto snapshot = snapshotOf(studio());
    RenderLimit limit = samples(64);
    limit.noise = 0.1;
    Picture pictures[2];
    for (const u32 i : {0U, 1U}) {
        Renderer renderer(snapshot, small(i * 2 + 1));
        EXPECT_TRUE(renderer.render(limit));
        pictures[i] = renderer.picture();
    }
    EXPECT_EQ(pictures[0], pictures[1]);
    // Some tiles were done early, others were not.
    const auto [least, most] =
        std::minmax_element(pictures[0].samples.begin(), pictures[0].samples.end());
    EXPECT_EQ(*least, 16U);
    EXPECT_GT(*most, 16U);
}

TEST(Renderer, RenderingInParts_GivesTheSamePicture) {
    const auto snapshot = snapshotOf(studio());
    Renderer renderer(snapshot, small());
    // Samples are summed in blocks of 32; some of these parts end within a block.
    for (const u32 count : {1U, 2U, 3U, 7U, 40U, 50U, 70U}) {
        EXPECT_TRUE(renderer.render(samples(count)));
        EXPECT_EQ(renderer.picture(), pictureOf(snapshot, 1, count)) << count;
    }
}

TEST(Renderer, Stop_EndsSoonAndLeavesAPictureThatCanGoOn) {
    const auto snapshot = snapshotOf(studio());
    RenderSettings settings = small(2);
    settings.width = settings.height = 256;
    Renderer renderer(snapshot, settings);
    std::stop_source stop;
    std::chrono::steady_clock::time_point asked;
    const std::jthread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        asked = std::chrono::steady_clock::now();
        stop.request_stop();
    });
    EXPECT_TRUE(renderer.render(samples(1000000), {}, stop.get_token()));
    const std::chrono::duration<double> delay = std::chrono::steady_clock::now() - asked;
    EXPECT_LT(delay.count(), 0.2); // 20 ms, on a machine that may be busy with other tests
    const Picture cut = renderer.picture();
    const u32 most = *std::max_element(cut.samples.begin(), cut.samples.end());
    ASSERT_LT(most, 10000U);
    EXPECT_TRUE(renderer.render(samples(most)));
    Renderer fresh(snapshot, settings);
    EXPECT_TRUE(fresh.render(samples(most)));
    EXPECT_EQ(renderer.picture(), fresh.picture());
}

std::stop_token stopped() {
    std::stop_source stop;
    stop.request_stop();
    return stop.get_token();
}

TEST(Renderer, Stop_AddsNoFurtherSample) {
    Renderer renderer(snapshotOf(studio()), small());
    std::stop_source stop;
    const auto stopAtOnce = [&](double) { stop.request_stop(); };
    EXPECT_TRUE(renderer.render(samples(64), stopAtOnce, stop.get_token()));
    // Progress is told after each tile of 16 x 16 pixels.
    const Picture picture = renderer.picture();
    EXPECT_EQ(std::reduce(picture.samples.begin(), picture.samples.end()), 256U);
}

TEST(Renderer, StopBeforeTheFirstSample_LeavesABlackPicture) {
    Renderer renderer(snapshotOf(studio()), small());
    EXPECT_TRUE(renderer.render(samples(64), {}, stopped()));
    const Picture picture = renderer.picture();
    EXPECT_EQ(picture.samples, std::vector<u32>(40 * 30));
    EXPECT_EQ(picture.color, std::vector<float>(40 * 30 * 4));
}

TEST(Renderer, StoppedPreparation_IsFinishedByTheRendering) {
    const auto snapshot = snapshotOf(studio() + "node mesh \"empty\" {\n}\n");
    Renderer renderer(snapshot, small(), stopped());
    EXPECT_TRUE(renderer.findings().empty());
    EXPECT_TRUE(renderer.render(samples(2), {}, stopped()));
    EXPECT_EQ(renderer.picture().samples, std::vector<u32>(40 * 30));
    EXPECT_TRUE(renderer.findings().empty());
    EXPECT_TRUE(renderer.render(samples(2)));
    EXPECT_EQ(renderer.findings().size(), 1U);
    EXPECT_EQ(renderer.picture(), pictureOf(snapshot, 1, 2));
}

TEST(Renderer, StoppedUpdate_IsFinishedByTheRendering) {
    const auto first = snapshotOf(square + flatCamera), next = snapshotOf(studio());
    Renderer renderer(first, small());
    renderer.update(next, stopped());
    EXPECT_EQ(renderer.picture().samples, std::vector<u32>(40 * 30));
    EXPECT_TRUE(renderer.render(samples(2)));
    EXPECT_EQ(renderer.picture(), pictureOf(next, 1, 2));
}

TEST(Renderer, StoppedPreparation_IsFinishedByAPart) {
    const auto snapshot = snapshotOf(studio());
    Renderer renderer(snapshot, small(), stopped());
    std::string bytes, expected;
    const auto isStopped = renderer.renderPart({0, 1, 0, 1}, bytes, stopped());
    EXPECT_EQ(isStopped.message(), "The rendering of the part was stopped.");
    EXPECT_TRUE(renderer.renderPart({0, 1, 0, 1}, bytes));
    EXPECT_TRUE(Renderer(snapshot, small()).renderPart({0, 1, 0, 1}, expected));
    EXPECT_EQ(bytes, expected);
}

TEST(Renderer, TimeLimit_EndsTheRenderingAfterTheFirstSamples) {
    Renderer renderer(snapshotOf(studio()), small());
    RenderLimit limit = samples(1000000);
    limit.seconds = 0.05;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(renderer.render(limit));
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 2.0);
    const Picture picture = renderer.picture();
    EXPECT_GE(*std::min_element(picture.samples.begin(), picture.samples.end()), 1U);
}

TEST(Renderer, Progress_GrowsToOne) {
    Renderer renderer(snapshotOf(square), small());
    double last = 0.0;
    EXPECT_TRUE(renderer.render(samples(3), [&](double done) {
        EXPECT_GE(done, last);
        last = done;
    }));
    EXPECT_EQ(last, 1.0);
}

TEST(Renderer, SceneWithoutCameraAndLight_GetsThemWithANote) {
    Renderer renderer(snapshotOf(square), small());
    EXPECT_TRUE(renderer.render(samples(8)));
    ASSERT_EQ(renderer.notes().size(), 2U);
    EXPECT_EQ(renderer.notes()[0], "The scene has no camera: one that shows everything is added.");
    EXPECT_EQ(renderer.notes()[1], "The scene has no light: a sun and a sky are added.");
    // The square is seen in the middle, and nothing at the border.
    const Picture picture = renderer.picture();
    EXPECT_GT(picture.color[(15 * 40 + 20) * 4], 0.1F);
    for (u32 x = 0; x < 40; ++x)
        EXPECT_EQ(picture.color[x * 4 + 3], 0.0F);
}

TEST(Renderer, UnknownCamera_IsAFailureThatNamesTheOthers) {
    RenderSettings settings = small();
    settings.camera = "nose";
    const auto result = Renderer(snapshotOf(studio()), settings).render(samples(1));
    EXPECT_FALSE(result);
    EXPECT_EQ(result.message(), "There is no camera \"nose\" in the scene; it has eye.");
    settings.camera = "EYE";
    EXPECT_TRUE(Renderer(snapshotOf(studio()), settings).render(samples(1)));
}

TEST(Renderer, ImpossibleSizes_AreFailures) {
    for (const auto& [width, height] :
         {std::pair{0U, 9U}, {9U, 0U}, {100000U, 100000U}, {65535U, 65535U}}) {
        RenderSettings settings;
        settings.width = width;
        settings.height = height;
        Renderer renderer(snapshotOf(square), settings);
        const auto result = renderer.render(samples(1));
        EXPECT_FALSE(result) << width;
        EXPECT_NE(result.message().view().find(std::to_string(width) + " x "), std::string::npos);
        EXPECT_TRUE(renderer.picture().color.empty());
    }
}

TEST(Renderer, VeryManyLights_DoNotHang) {
    for (const std::string type : {"light", "sunLight", "skyLight"}) {
        std::string text = tests::square + flatCamera;
        for (u32 i = 0; i < 100000; ++i)
            text += "node " + type + " \"l" + std::to_string(i) +
                    "\" {\n    Real intensity = 1e-4\n    Pos3 position = (0 0 3)\n}\n";
        RenderSettings settings = small();
        settings.width = settings.height = 4;
        const auto snapshot = snapshotOf(text);
        const auto start = std::chrono::steady_clock::now();
        Renderer renderer(snapshot, settings);
        EXPECT_TRUE(renderer.render(samples(2)));
        EXPECT_GT(renderer.picture().color[0], 0.01F) << type;
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        // A second; more under a sanitizer on a busy machine. Quadratic work would take hours.
        EXPECT_LT(spent.count(), 60.0) << type;
    }
}

TEST(Renderer, BadGeometry_IsRenderedWithoutIt) {
    const char* meshes[] = {
        "",
        "    Buffer<Pos3f> positions = [(nan 0 0) (1 0 0) (0 1 0)]\n"
        "    Buffer<UInt32> indices = [0 1 2]\n",
        "    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (2 0 0)]\n"
        "    Buffer<UInt32> indices = [0 1 2]\n",
        "    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]\n"
        "    Buffer<UInt32> indices = [0 1 4294967295]\n",
        "    Buffer<Pos3f> positions = [(0 0 0) (1e38 0 0) (0 1e38 0)]\n"
        "    Buffer<UInt32> indices = [0 1 2]\n",
        "    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]\n"
        "    Buffer<UInt32> indices = [0 1 2]\n    Buffer<UInt32> faceCounts = [4294967295]\n",
    };
    const Picture expected = pictureOf(snapshotOf(square + flatCamera), 1);
    for (const char* mesh : meshes) {
        const std::string bad = std::string("node mesh \"bad\" {\n") + mesh + "}\n";
        Renderer renderer(snapshotOf(square + flatCamera + bad), small());
        EXPECT_TRUE(renderer.render(samples(4)));
        EXPECT_EQ(renderer.picture().color, expected.color) << mesh;
        const Texts findings = textsOf(renderer.findings());
        ASSERT_FALSE(findings.empty()) << mesh;
        EXPECT_EQ(findings[0].substr(0, 5), "bad: ") << mesh;
    }
}

TEST(Renderer, EmptyScene_GivesAnEmptyPicture) {
    const Picture picture = pictureOf(snapshotOf(flatCamera), 1);
    for (const float value : picture.color)
        EXPECT_EQ(value, 0.0F);
}

/// Edits a scene and compares an updated renderer with a new one.
class RendererUpdateTest : public testing::Test {
protected:
    RendererUpdateTest() {
        const std::string text = studio() + R"(
node xform "outer" {
    Array<Node> children = [place, lamp]
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)
}
node xform "place" {
    Array<Node> children = [square, ball]
}
node material "red" {
    Rgba baseColor = (1 0 0 1)
    Node baseColorTexture = picture
}
node texture "picture" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(200 100 50 255)]
    String colorSpace = "srgb"
}
)";
        EXPECT_TRUE(m_scene.read(text.c_str(), "scene.kns"));
        m_renderer.emplace(m_scene.snapshot(), small(2));
    }
    void expectFresh(const char* note) {
        const auto snapshot = m_scene.snapshot();
        m_renderer->update(snapshot);
        Renderer fresh(snapshot, small(1));
        EXPECT_TRUE(m_renderer->render(samples(2))) << note;
        EXPECT_TRUE(fresh.render(samples(2)));
        EXPECT_EQ(m_renderer->picture(), fresh.picture()) << note;
        EXPECT_EQ(textsOf(m_renderer->findings()), textsOf(fresh.findings())) << note;
    }
    static math::Mat4d moved(double x) { return math::Mat4d::translation({{x, 0.3 * x, 0}}); }

    // One of several edits; each leaves a scene that can be edited again.
    void edit(u32 kind, double amount) {
        const Node place = m_scene["place"];
        if (kind == 0)
            (void)place.createInput("matrix", kelvo_sdk::AttrType::Mat4).set(moved(amount));
        if (kind == 1) (void)m_scene["red"]["baseColor"].set(math::Rgbad{{amount, 0.5, 1, 1}});
        if (kind == 2) (void)m_scene["lamp"]["intensity"].set(40.0 * amount);
        if (kind == 3) (void)m_scene["picture"]["colorSpace"].set(amount > 0.5 ? "linear" : "srgb");
        if (kind == 4) (void)place["children"].append().set(m_scene["square"]);
        if (kind == 5) (void)m_scene["ball"]["material"].set(m_scene[amount > 0.5 ? "red" : "m"]);
        if (kind == 6)
            (void)m_scene["ball"]
                .createInput("visible", kelvo_sdk::AttrType::Bool)
                .set(amount > 0.5);
        if (kind == 7) (void)m_scene["m"]["roughness"].set(amount);
        if (kind == 8 && m_scene["square"]) (void)m_scene.removeNode(m_scene["square"]);
        if (kind == 9) (void)m_scene.undo();
        if (kind == 10) (void)m_scene["lamp"]["position"].set(math::Pos3d{{2 * amount, 3, 4}});
        if (kind == 11) (void)m_scene["outer"]["matrix"].set(moved(amount));
    }
    Scene m_scene = Scene::create();
    std::optional<Renderer> m_renderer;
};

TEST_F(RendererUpdateTest, RandomEdits_GiveThePictureOfAFreshStart) {
    EXPECT_TRUE(m_scene.setUndoEnabled(true));
    u64 state = 5;
    for (u32 round = 0; round < 60; ++round) {
        state = state * 6364136223846793005 + 1442695040888963407;
        const u32 kind = static_cast<u32>(state >> 33) % 12;
        edit(kind, static_cast<double>(state >> 40) * 0x1p-24);
        expectFresh(("round " + std::to_string(round) + ", edit " + std::to_string(kind)).c_str());
    }
}

TEST_F(RendererUpdateTest, MovedNode_ChangesThePicture) {
    EXPECT_TRUE(m_renderer->render(samples(1)));
    const Picture before = m_renderer->picture();
    edit(0, 0.5);
    expectFresh("moved");
    EXPECT_NE(m_renderer->picture(), before);
}

TEST_F(RendererUpdateTest, AnotherScene_IsRenderedFromScratch) {
    const auto other = snapshotOf(studio());
    m_renderer->update(other);
    EXPECT_TRUE(m_renderer->render(samples(2)));
    EXPECT_EQ(m_renderer->picture(), pictureOf(other, 1, 2));
}

} // namespace
} // namespace qv::render
