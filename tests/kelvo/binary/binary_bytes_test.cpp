#include "kelvo/base/hash.h"
#include "kelvo/binary/binary_scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

// Machines of either byte order write and read these bytes.
TEST(BinaryBytes, OfEveryKindOfValue_AreTheSameOnEveryMachine) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.read(
        "# All.\nnode thing : base \"n\" {\n    Bool b = true\n    Int i = -3\n    UInt u = 7\n"
        "    Real r = 0.1 @min -1 @unit \"m\" @stashed 2\n    Vec3 v = (1 2 3)\n"
        "    Quat q = (0 0 1 1)\n    Rgba c = (1 0.5 0 1)\n    String s = \"text\" @silent\n"
        "    Mat3 m = (1 0 0  0 2 0  0 0 3)\n    Node l = n\n    Array<Int> a = [1, 2, 3]\n"
        "    Object o {\n        Real x = 1 <- p.out\n    }\n    Buffer<Byte> b1 = [1 2 3]\n"
        "    Buffer<UInt16> b2 = [1]\n    Buffer<Int16> b3 = [1 2 3 4 5 6 7 8 9 10 11 -12]\n"
        "    Buffer<Float> b4 = [0.5 1.5]\n    Buffer<Vec3d> b8 = [(1 2 3) (4 5 6) (7 8 9)]\n"
        "}\nnode thing \"p\" {\n    output Real out\n}\n",
        "text"));
    const Node many = scene.createNode("thing", "many");
    std::vector<i32> numbers(10'000);
    std::iota(numbers.begin(), numbers.end(), -100);
    ASSERT_TRUE(many.createInput("numbers", AttrType::Buffer).setBuffer(numbers));
    std::string bytes;
    ASSERT_TRUE(appendBinary(scene.snapshot(), bytes));
    EXPECT_EQ(hashBytes(bytes.data(), bytes.size()), 11535803686903496633u);

    const Made<Snapshot> opened = openBinaryBytes(bytes, "bytes");
    EXPECT_EQ(opened.text(), scene.text());
    EXPECT_EQ(opened.hash(), scene.snapshot().hash());
    EXPECT_EQ(opened.hash(), 9228633890481847871u);
    EXPECT_EQ(opened["n"].hash(), 7359226907764447407u);
    const auto back = opened["many"]["numbers"].buffer<i32>();
    EXPECT_EQ(std::vector<i32>(back.begin(), back.end()), numbers);
}

} // namespace
} // namespace qv::kelvo_sdk
