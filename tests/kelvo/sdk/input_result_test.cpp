#include "kelvo/kelvo.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* sceneText = "kelvo scene 1\n"
                                  "\n"
                                  "node light \"lamp\" {\n"
                                  "    Real radius = 2 @min 0 @max 10\n"
                                  "    Int count = 3\n"
                                  "    String mode = \"spot\" @choices [\"spot\", \"flood\"]\n"
                                  "    Real fixed = 1 @readonly\n"
                                  "    Node target = desk\n"
                                  "    Array<Real> weights = [1, 2]\n"
                                  "    Array<Real> frozen = [1, 2] @readonly\n"
                                  "    Object shade {\n"
                                  "        Real size = 1\n"
                                  "    }\n"
                                  "}\n"
                                  "node mesh \"desk\" {\n"
                                  "}\n";

class InputResult : public testing::Test {
protected:
    InputResult() {
        const Result isRead = m_scene.read(sceneText, "lamp.kns");
        EXPECT_TRUE(isRead) << isRead.message().buf();
    }
    [[nodiscard]] Input input(const char* path) const { return lamp().inputAt(path); }
    [[nodiscard]] Node lamp() const { return m_scene["lamp"]; }

    // Warnings are held by other tests.
    const tests::LogCapture m_log;
    Scene m_scene = Scene::create();
};

TEST_F(InputResult, Texts_ThatAreRefused_SayWhy) {
    const struct {
        const char* path;
        const char* text;
        const char* message;
    } cases[] = {
        {"radius", "11",
         "Cannot set input 'lamp.radius' to '11': the value is above the maximum 10 (the range is "
         "0 to 10)."},
        {"radius", "wide",
         "Cannot set 'lamp.radius': 'wide' is no value of kind Real: expected a number, such as "
         "0.5."},
        {"mode", "spt",
         "Cannot set input 'lamp.mode' to 'spt': the value is not among the choices \"spot\", "
         "\"flood\": did you mean 'spot'?"},
        {"fixed", "2", "Cannot set input 'lamp.fixed': it is read-only."},
        {"target", "dsk", "Cannot link 'lamp.target': no node 'dsk': did you mean 'desk'?"},
        {"weights", "1",
         "'lamp.weights' is of kind Array<Real>, which takes no value: set what it holds."},
        {"shade", "1", "'lamp.shade' is of kind Object, which takes no value: set what it holds."},
        {"frozen[1]", "3", "Cannot set input 'lamp.frozen[1]': it is read-only."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(input(c.path).setString(c.text).message(), c.message);
        EXPECT_EQ(input(c.path).set(String(c.text)).message(), c.message);
        EXPECT_EQ(input(c.path).set(c.text).message(), c.message);
    }
}

TEST_F(InputResult, Values_ThatAreRefused_SayWhy) {
    EXPECT_EQ(input("count").set(2.5).message(),
              "Cannot set 'lamp.count': 2.5 is no value of kind Int: expected a whole number from "
              "-9223372036854775808 to 9223372036854775807.");
    EXPECT_EQ(input("radius").set(-1).message(),
              "Cannot set input 'lamp.radius' to '-1': the value is below the minimum 0 (the range "
              "is 0 to 10).");
    EXPECT_EQ(input("radius").set(math::Vec3d{1, 2, 3}).message(),
              "Cannot set 'lamp.radius': (1 2 3) is no value of kind Real: expected a number, such "
              "as 0.5.");
    EXPECT_EQ(input("count").set(std::numeric_limits<u64>::max()).message(),
              "Cannot set 'lamp.count': 18446744073709551615 is no value of kind Int: expected a "
              "whole number from -9223372036854775808 to 9223372036854775807.");
    EXPECT_EQ(input("target").set(true).message(),
              "Cannot set 'lamp.target': true is no value of kind Node: expected the name of a "
              "node.");
    EXPECT_EQ(input("radius").set(lamp()).message(),
              "Cannot set 'lamp.radius': a node is no value of kind Real: expected a number, such "
              "as 0.5.");
}

TEST_F(InputResult, Buffers_ThatAreRefused_SayWhy) {
    const Input points = lamp().createBuffer("points", DataType::Pos3f);
    EXPECT_EQ(points.setBuffer(std::vector<float>{1, 2}).message(),
              "Cannot set 'lamp.points': a buffer of Float is no value of kind Buffer<Pos3f>: "
              "expected a list such as [1 2 3] or [(0 0 0) (1 0 0)], each element of the buffer's "
              "type.");
    EXPECT_EQ(points.set(interfaces::BufferView{DataType::Pos3f, nullptr, 3}).message(),
              "Cannot set 'lamp.points': the elements of the buffer have no address or no type.");
    EXPECT_EQ(points.set(interfaces::BufferView{DataType::Pos3f, nullptr, 1}).message(),
              "Cannot set 'lamp.points': the elements of the buffer have no address or no type.");
    EXPECT_EQ(input("count").set(interfaces::BufferView{DataType::Float, nullptr, 0}).message(),
              "Cannot set 'lamp.count': a buffer of Float is no value of kind Int: expected a "
              "whole number from -9223372036854775808 to 9223372036854775807.");
}

TEST_F(InputResult, LinkToAnotherScene_SaysSo) {
    const Scene far = Scene::create();
    const Node moon = far.createNode("mesh", "moon");
    const String refused = "Cannot link input 'lamp.target' to node 'moon': the two nodes belong "
                           "to different scenes.";
    EXPECT_EQ(input("target").set(moon).message(), refused);
    EXPECT_EQ(input("target").set(moon.get()).message(), refused);
}

// The reason is looked for afterwards.
TEST_F(InputResult, RefusalWhoseReasonALogHandlerEnds_IsToldWithoutIt) {
    EXPECT_TRUE(m_scene.setUndoEnabled(true));
    const Node desk = m_scene["desk"];
    EXPECT_TRUE(m_scene.removeNode(desk));
    const auto takeBack = [](LogLevel, const char*, void* scene) {
        EXPECT_TRUE(static_cast<Scene*>(scene)->undo());
    };
    const LogSink previous = setLogHandler(takeBack, &m_scene);
    const Result isSet = input("target").set(desk);
    setLogHandler(previous.handler, previous.user);
    EXPECT_EQ(isSet.message(), "Cannot set 'lamp.target': the value is refused.");
}

TEST_F(InputResult, EverythingThatIsDone_IsTrueWithoutAMessage) {
    EXPECT_TRUE(input("radius").set(10).message().isEmpty());
    EXPECT_TRUE(input("mode").set("flood"));
    EXPECT_TRUE(input("target").set(lamp()));
    EXPECT_TRUE(input("radius").reset());
    EXPECT_TRUE(input("count").copyValue(input("radius")));
    EXPECT_TRUE(input("weights").append());
    double radius = 0;
    EXPECT_TRUE(input("radius").read(radius));
}

TEST_F(InputResult, Refused_IsReportedAgainWithoutTheFailureBefore) {
    EXPECT_FALSE(input("radius").set(11));
    EXPECT_TRUE(input("radius").set(9).message().isEmpty());
    EXPECT_EQ(input("fixed").set(9).message(), "Cannot set input 'lamp.fixed': it is read-only.");
}

TEST_F(InputResult, ObserverThatFailsInside_LeavesTheResultAlone) {
    struct Failing : SceneListener {
        void inputChanged(Input input, Input) override {
            isRefused = !Node(input.node())["fixed"].set(7);
        }
        bool isRefused = false;
    } observer;
    EXPECT_TRUE(m_scene.subscribe(&observer));
    const Result isSet = input("radius").set(3);
    EXPECT_TRUE(isSet);
    EXPECT_TRUE(isSet.message().isEmpty());
    EXPECT_TRUE(observer.isRefused);
    EXPECT_TRUE(m_scene.unsubscribe(&observer));
}

TEST_F(InputResult, Reads_ThatFail_SayWhy) {
    double number = 7;
    u8 byte = 7;
    EXPECT_EQ(input("mode").read(number).message(),
              "Cannot read 'lamp.mode' as Real: the value does not convert.");
    EXPECT_TRUE(input("radius").set(3));
    EXPECT_TRUE(input("count").set(300));
    EXPECT_EQ(input("count").read(byte).message(),
              "Cannot read 'lamp.count' as UInt: the value does not fit the variable.");
    EXPECT_EQ(input("weights").read(number).message(),
              "Cannot read 'lamp.weights' as Real: Array<Real> has no value of its own.");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(byte, 7);
}

TEST_F(InputResult, ReadOfAConnection_NamesTheOutput) {
    const Output power = m_scene.createNode("clock", "clock").createOutput("power", AttrType::Real);
    EXPECT_TRUE(input("radius").connect(power));
    double number = 7;
    EXPECT_EQ(input("radius").read(number).message(),
              "Cannot read 'lamp.radius' as Real: output 'clock.power' gives no value that "
              "converts.");
    EXPECT_EQ(power.read(number).message(),
              "Output 'clock.power' gives no value that converts to Real.");
    EXPECT_TRUE(input("radius").read(number, false));
    EXPECT_EQ(number, 2);
}

TEST_F(InputResult, Connections_ThatAreRefused_SayWhy) {
    const Output name = lamp().createOutput("name", AttrType::String);
    EXPECT_TRUE(lamp().createInput("matrix", AttrType::Mat4));
    const Output matrix = m_scene["desk"].createOutput("matrix", AttrType::Mat4);
    EXPECT_EQ(input("radius").connect(matrix).message(),
              "Cannot connect input 'lamp.radius' (Real) to output 'desk.matrix' (Mat4): the kinds "
              "do not convert.");
    EXPECT_EQ(input("mode").connect(name).message(),
              "Cannot connect input 'lamp.mode' to output 'lamp.name': this closes the loop "
              "lamp.name -> lamp.mode.");
    EXPECT_EQ(input("radius").disconnect().message(), "Input 'lamp.radius' has no connection.");
}

TEST_F(InputResult, Creations_ThatAreRefused_SayWhy) {
    EXPECT_EQ(input("radius").append().message(),
              "Cannot append to 'lamp.radius': its kind Real has no elements.");
    EXPECT_EQ(input("frozen").append().message(),
              "Cannot change input 'lamp.frozen': it is read-only.");
    EXPECT_EQ(input("frozen").createInput("2", AttrType::Real).message(),
              "Cannot change input 'lamp.frozen': it is read-only.");
    EXPECT_EQ(input("shade").createInput("my size", AttrType::Real).message(),
              "Cannot create input 'my size' in input 'lamp.shade': the name is no simple "
              "identifier.");
    EXPECT_EQ(input("radius").createInput("x", AttrType::Real).message(),
              "Cannot create input 'x' in input 'lamp.radius': its kind Real holds no inputs.");
    EXPECT_EQ(input("weights").createInput("5", AttrType::Int).message(),
              "Cannot create input '5' in input 'lamp.weights': its next element is '2', of kind "
              "Real, not Int.");
}

TEST_F(InputResult, ChangesOfLists_ThatAreRefused_SayWhy) {
    EXPECT_EQ(input("weights").insert(3).message(),
              "Input 'lamp.weights' has no place 3: it holds 2.");
    EXPECT_EQ(input("weights").moveElement(0, 2).message(),
              "Input 'lamp.weights' has no place 2: it holds 2.");
    EXPECT_EQ(input("weights").removeInput(2).message(),
              "Input 'lamp.weights' has no place 2: it holds 2.");
    EXPECT_EQ(input("shade").removeInput("sizes").message(),
              "Input 'lamp.shade' holds no 'sizes'.");
    EXPECT_EQ(input("shade").moveElement(0, 0).message(),
              "The members of 'lamp.shade' have no order to change.");
    EXPECT_EQ(input("radius").insert(0).message(),
              "Cannot append to 'lamp.radius': its kind Real has no elements.");
    EXPECT_EQ(input("frozen").removeInput(2).message(),
              "Input 'lamp.frozen' has no place 2: it holds 2.");
    const char* fixed = "Cannot change input 'lamp.frozen': it is read-only.";
    EXPECT_EQ(input("frozen").insert(0).message(), fixed);
    EXPECT_EQ(input("frozen").insert(2).message(), fixed);
    EXPECT_EQ(input("frozen").moveElement(0, 1).message(), fixed);
    EXPECT_EQ(input("frozen").removeInput(0).message(), fixed);
    EXPECT_EQ(input("frozen").removeInput("0").message(), fixed);
    EXPECT_EQ(input("frozen").clearInputs().message(), fixed);
}

TEST_F(InputResult, ElementThatIsTakenAway_SaysSo) {
    struct Remover : SceneListener {
        void inputAdded(Input) override { EXPECT_TRUE(weights.removeInput(place)); }
        Input weights;
        u64 place = 0;
    } remover;
    remover.weights = input("weights");
    EXPECT_TRUE(m_scene.subscribe(&remover));
    for (const u64 place : {0u, 1u, 2u}) {
        remover.place = place;
        EXPECT_EQ(input("weights").insert(place).message(),
                  "An observer removed the new element of 'lamp.weights'.");
        EXPECT_EQ(input("weights").inputCount(), 2u);
    }
    EXPECT_TRUE(m_scene.unsubscribe(&remover));
}

TEST_F(InputResult, ChangesOfLists_ThatAreDone_AreTrue) {
    EXPECT_TRUE(input("weights").insert(2));
    EXPECT_TRUE(input("weights").insert(0));
    EXPECT_TRUE(input("weights").moveElement(0, 3));
    EXPECT_TRUE(input("weights").removeInput(3));
    EXPECT_TRUE(input("weights").clearInputs());
    EXPECT_TRUE(input("shade").removeInput("size"));
}

TEST_F(InputResult, NewName_ThatIsRefused_SaysWhy) {
    EXPECT_EQ(input("radius").rename("my radius").message(),
              "Cannot rename input 'lamp.radius' to 'my radius': that is no simple identifier.");
    EXPECT_EQ(input("radius").rename("count").message(),
              "Cannot rename input 'lamp.radius' to 'count': there is an input 'lamp.count' "
              "already.");
    EXPECT_EQ(input("weights[0]").rename("first").message(),
              "Cannot rename input 'lamp.weights[0]' to 'first': an element is named by its "
              "place.");
    EXPECT_TRUE(input("radius").rename("size"));
}

TEST_F(InputResult, CopiesAndResets_ThatAreRefused_SayWhy) {
    EXPECT_EQ(input("radius").copyValue(input("weights")).message(),
              "'lamp.weights' is of kind Array<Real>, which has no value to copy.");
    EXPECT_EQ(input("fixed").copyValue(input("radius")).message(),
              "Cannot set input 'lamp.fixed': it is read-only.");
    EXPECT_EQ(input("fixed").reset().message(), "Cannot set input 'lamp.fixed': it is read-only.");
    EXPECT_EQ(input("frozen").reset().message(),
              "Cannot change input 'lamp.frozen': it is read-only.");
}

TEST_F(InputResult, ResetOfAnInputOfNoKind_SaysWhyNot) {
    EXPECT_EQ(lamp().createInput("nothing", AttrType::Null).reset().message(),
              "'lamp.nothing' is of kind Null, which has no default.");
}

TEST_F(InputResult, EmptyHandle_SaysThatItIsEmpty) {
    const char* message = "There is no input: the handle is empty.";
    const Input none;
    int number = 0;
    for (const Result& failed :
         {none.set(1), none.setString("1"), none.read(number), none.reset(), none.disconnect(),
          none.connect(Output()), none.copyValue(none), none.append().result(),
          none.createInput("x", AttrType::Int).result(), none.insert(1).result(),
          none.moveElement(0, 1), none.removeInput(0), none.removeInput("x"), none.clearInputs(),
          none.rename("x"), none.createArray("x", AttrType::Int).result(),
          none.createBuffer("x", DataType::Float).result()})
        EXPECT_EQ(failed.message(), message);
    EXPECT_EQ(Output().read(number).message(), "There is no output: the handle is empty.");
}

TEST_F(InputResult, TextAndValue_AreReadInTheSameTwoWays) {
    const Output power = m_scene.createNode("clock", "clock").createOutput("power", AttrType::Real);
    const Input radius = input("radius");
    EXPECT_TRUE(radius.connect(power));
    EvalCtx ctx;
    double number = 0;
    EXPECT_EQ(radius.asString(false), "2");
    EXPECT_TRUE(radius.read(number, false));
    EXPECT_EQ(radius.asString(&ctx), "");
    EXPECT_FALSE(radius.read(number, &ctx));
}

} // namespace
} // namespace qv::kelvo_sdk
