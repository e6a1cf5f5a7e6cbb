#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/journal.h"
#include "tests/support/log_capture.h"

#include "kelvo/base/path.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;

constexpr const char* kParts[] = {"dir", "file", "ext"};

// ---- Path nodes ------------------------------------------------------------------------

TEST(NodeIsPath, ThreeStringInputs_MakeOneWhateverTheType) {
    for (const char* type : {"", "path", "lamp"}) {
        Node node(nullptr, type, "n");
        EXPECT_FALSE(node.isPath());
        for (const char* part : {"EXT", "Dir", "file"})
            node.createInput(part, AttrType::String);
        node.createInput("more", AttrType::Int);
        EXPECT_TRUE(node.isPath()) << type;
    }
}

TEST(NodeIsPath, EachPart_MayNotBeMissing) {
    for (const char* missing : kParts) {
        Node node(nullptr, "path", "n");
        for (const char* part : kParts)
            node.createInput(part, AttrType::String);
        node.removeInput(String(missing));
        node.createOutput(missing, AttrType::String);
        const LogCapture log;
        EXPECT_FALSE(node.isPath()) << missing;
        EXPECT_EQ(log.text(), "");
    }
}

TEST(NodeIsPath, EachPart_MayNotBeOfAnotherKind) {
    for (const AttrType wrong : {AttrType::Null, AttrType::Bool, AttrType::Int, AttrType::Real,
                                 AttrType::Node, AttrType::Buffer, AttrType::Object}) {
        for (const char* odd : kParts) {
            Node node(nullptr, "path", "n");
            node.createInput(odd, wrong);
            // Existing inputs are not created again; for the input of another kind a second one is
            // appended.
            for (const char* part : kParts)
                node.createInput(part, AttrType::String);
            EXPECT_FALSE(node.isPath()) << odd << " " << attrTypeName(wrong);
        }
    }
}

TEST(NodeIsPath, ArrayOfStrings_IsAnotherKind) {
    Node node(nullptr, "path", "n");
    node.createArray("dir", AttrType::String);
    node.createInput("file", AttrType::String);
    node.createInput("ext", AttrType::String);
    EXPECT_FALSE(node.isPath());
}

TEST(NodeIsPath, MembersOfAnObject_DoNotCount) {
    Node node(nullptr, "path", "n");
    IInput* object = node.createInput("where", AttrType::Object);
    for (const char* part : kParts)
        object->createInput(part, AttrType::String);
    EXPECT_FALSE(node.isPath());
}

// Records the look-ups, and answers false from one name on.
class AskedNode : public Node {
public:
    using Node::hasInput;
    bool hasInput(String name, AttrType type) const override {
        asked.add(std::string(name.buf()) + ":" + attrTypeName(type));
        return name != refused;
    }

    mutable Journal asked;
    String refused;
};

TEST(NodeIsPath, Parts_AreAskedForInOrderToTheFirstThatIsMissing) {
    struct Case {
        const char *refused, *asked;
    };
    const Case cases[] = {{"dir", "dir:String"},
                          {"file", "dir:String file:String"},
                          {"ext", "dir:String file:String ext:String"},
                          {"", "dir:String file:String ext:String"}};
    for (const Case& c : cases) {
        AskedNode node;
        node.refused = c.refused;
        EXPECT_EQ(node.isPath(), node.refused.isEmpty());
        EXPECT_EQ(node.asked.take(), c.asked);
    }
}

// ---- The path read ---------------------------------------------------------------------

class NodeAsPath : public testing::Test {
protected:
    NodeAsPath() {
        for (const char* part : kParts)
            m_node.createInput(part, AttrType::String);
    }
    void store(const char* dir, const char* file, const char* ext) {
        m_node.findInputByName("dir")->setString(dir);
        m_node.findInputByName("file")->setString(file);
        m_node.findInputByName("ext")->setString(ext);
    }

    Node m_node{nullptr, "image", "img"};
};

TEST_F(NodeAsPath, Parts_AreJoined) {
    struct Case {
        const char *dir, *file, *ext, *expected, *note;
    };
    const Case cases[] = {
        {"textures", "wood", "png", "textures/wood.png", "the dot is added"},
        {"textures", "wood", ".png", "textures/wood.png", "the dot is there"},
        {"textures", "wood", "..png", "textures/wood..png", "dots are there"},
        {"textures", "wood", ".", "textures/wood.", "a dot alone"},
        {"textures", "wood", " png", "textures/wood. png", "a blank is no dot"},
        {"textures", "wood", "tar.gz", "textures/wood.tar.gz", "a dot inside is not in front"},
        {"textures", "wood", "PNG", "textures/wood.PNG", "case stays"},
        {"textures", "wood", "", "textures/wood", "no extension, no dot"},
        {"textures", "", "png", "textures/.png", "no file"},
        {"textures", "", "", "textures", "directory alone"},
        {"textures/", "", "", "textures/", "directory alone stays as it is"},
        {"", "wood", "png", "wood.png", "no directory"},
        {"", "wood", "", "wood", "file alone"},
        {"", "", "png", "", "an extension alone makes no path"},
        {"", "", "", "", "nothing"},
        {" ", "", "", " ", "a blank is not empty"},
        {"", " ", "", " ", "nor here"},
        {"../a", "wood", "png", "../a/wood.png", "relative stays relative"},
        {"./a/../b", "wood", "png", "./a/../b/wood.png", "not normalised"},
        {"a//b", "wood", "png", "a//b/wood.png", "nor its separators"},
        {"a\\b", "wood", "png", "a\\b/wood.png", "nor backslashes"},
        {"a/", "wood", "png", "a/wood.png", "one separator between"},
        {"/", "wood", "png", "/wood.png", "root"},
        {"C:/", "wood", "png", "C:/wood.png", "root of a drive"},
        {"a", "/wood", "png", "/wood.png", "an absolute file starts anew"},
        {"a", "b/wood", "png", "a/b/wood.png", "a file with a directory"},
        {"bilder",
         "gr\xC3\xB6\xC3\x9F"
         "e",
         "png",
         "bilder/gr\xC3\xB6\xC3\x9F"
         "e.png",
         "UTF-8"},
    };
    for (const Case& c : cases) {
        store(c.dir, c.file, c.ext);
        const LogCapture log;
        EXPECT_EQ(m_node.asPath(), c.expected) << c.note;
        EXPECT_EQ(log.text(), "") << c.note;
    }
}

TEST_F(NodeAsPath, Result_IsThatOfThePathsJoin) {
    for (const char* dir : {"", "/", "a", "a/", "/a//", "..", "C:/"}) {
        for (const char* file : {"", "wood", "/wood", "C:/wood", ".."}) {
            store(dir, file, "png");
            if (*dir == '\0' && *file == '\0') continue;
            const String name = String(file) + ".png";
            EXPECT_EQ(m_node.asPath(), (Path::join<String, String>(dir, name)));
        }
    }
}

TEST_F(NodeAsPath, Reading_ChangesNothing) {
    store("a", "wood", "png");
    m_node.setDirty(false);
    EXPECT_EQ(m_node.asPath(), "a/wood.png");
    String ext;
    m_node.findInputByName("ext")->readString(ext, false, nullptr);
    EXPECT_EQ(ext, "png");
    EXPECT_FALSE(m_node.dirty(false));
}

TEST(NodeAsNoPath, AsPath_IsEmptyAndOneErrorLine) {
    for (const char* name : {"lamp", "", "100% sure", "%s"}) {
        const LogCapture log;
        EXPECT_TRUE(Node(nullptr, "path", name).asPath().isEmpty());
        EXPECT_EQ(log.text(), std::string("error: Cannot read node '") + name + "' as a path.\n");
    }
}

// Has outputs that give their own names, but for one, and record their evaluation.
class NodeAsPathConnected : public NodeAsPath {
protected:
    NodeAsPathConnected() {
        s_journal.take();
        s_mute = {};
        m_library->setCallbacks("speaker", {nullptr, nullptr, speak, modifies, nullptr, nullptr});
        m_speaker.initLibInfo(m_library.get());
        for (const char* part : kParts) {
            IOutput* output = m_speaker.createOutput(part, AttrType::String);
            m_node.findInputByName(part)->connect(output);
        }
    }
    // A type needs a modify callback for its set of callbacks to be complete.
    static bool modifies(INode* /*node*/, INode* /*other*/) { return false; }
    static bool speak(EvalCtx* ctx, void* out) {
        const String name = ctx->output()->name();
        s_journal.add(name.view());
        if (ctx->caller()) s_journal.add("with context");
        if (name == s_mute) return false;
        *static_cast<String*>(out) = name;
        return true;
    }

    static inline Journal s_journal;
    static inline String s_mute;
    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    Node m_speaker{nullptr, "speaker", "s"};
};

TEST_F(NodeAsPathConnected, Parts_AreEvaluatedInOrderWithoutAContext) {
    store("stored", "stored", "stored");
    EXPECT_EQ(m_node.asPath(), "dir/file.ext");
    EXPECT_EQ(s_journal.take(), "dir file ext");
}

TEST_F(NodeAsPathConnected, FirstReadThatFails_EndsItEmptyAndInSilence) {
    struct Case {
        const char *mute, *asked;
    };
    const Case cases[] = {{"dir", "dir"}, {"file", "dir file"}, {"ext", "dir file ext"}};
    store("stored", "stored", "stored");
    for (const Case& c : cases) {
        s_mute = c.mute;
        const LogCapture log;
        EXPECT_TRUE(m_node.asPath().isEmpty()) << c.mute;
        EXPECT_EQ(s_journal.take(), c.asked);
        EXPECT_EQ(log.text(), "");
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
