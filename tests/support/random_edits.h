#pragma once

#include "kelvo/sdk/scene.h"

#include <iterator>
#include <string>
#include <vector>

namespace qv::tests {

/// One edit of a script: the numbers choose the objects to edit among those that exist at that
/// time.
struct RandomEdit {
    unsigned kind = 0;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
};

/// Edits of all kinds that the public interface of a scene offers, chosen by numbers. Each is one
/// call.
class RandomEdits {
public:
    using AttrType = kelvo_sdk::AttrType;
    using Node = kelvo_sdk::Node;
    using Scene = kelvo_sdk::Scene;
    using IInput = kelvo_sdk::interfaces::IInput;
    using INode = kelvo_sdk::interfaces::INode;
    using IOutput = kelvo_sdk::interfaces::IOutput;

    explicit RandomEdits(Scene scene) : m_scene(std::move(scene)) {}

    static constexpr unsigned kindCount() { return static_cast<unsigned>(std::size(kEdits)); }
    static const char* name(unsigned kind) { return kEdits[kind % kindCount()].name; }
    void run(const RandomEdit& edit) { (this->*kEdits[edit.kind % kindCount()].run)(edit); }

private:
    struct Kind {
        const char* name;
        void (RandomEdits::*run)(const RandomEdit&);
    };
    static constexpr u64 kMaxNodes = 12;
    static constexpr u64 kMaxInputs = 14;

    template<std::size_t n>
    static const char* of(const char* const (&list)[n], unsigned number) {
        return list[number % n];
    }
    static const char* anyType(unsigned number) {
        return of({"thing", "xform", "lamp", "scaleModifier", "offsetModifier"}, number);
    }
    static const char* anyName(unsigned number) {
        return of({"a", "b", "c", "children", "modifiers", "modifies", "name", "dir", "file", "ext",
                   "factor", "e", "_f"},
                  number);
    }
    static AttrType anyKind(unsigned number) {
        return static_cast<AttrType>(number % kelvo_sdk::attrTypeCount);
    }

    // ---- Objects to edit -----------------------------------------------------------------------

    [[nodiscard]] INode* node(unsigned number) const {
        const u64 count = m_scene.nodeCount();
        return count == 0 ? nullptr : m_scene.node(number % count).get();
    }
    // Returns an input of the node at any depth.
    [[nodiscard]] IInput* input(const RandomEdit& edit) const {
        const INode* owner = node(edit.a);
        std::vector<IInput*> all;
        if (owner)
            for (u64 i = 0; i < owner->inputCount(); ++i)
                all.push_back(owner->input(i));
        for (std::size_t k = 0; k < all.size(); ++k)
            for (u64 i = 0; i < all[k]->inputCount(); ++i)
                all.push_back(all[k]->input(i));
        return all.empty() ? nullptr : all[edit.b % all.size()];
    }
    [[nodiscard]] IInput* input(const RandomEdit& edit, AttrType kind) const {
        for (unsigned tries = 0; tries < 8; ++tries) {
            IInput* found = input({0, edit.a + tries / 4, edit.b + tries % 4, 0});
            if (found && found->type() == kind) return found;
        }
        return input(edit);
    }
    [[nodiscard]] IOutput* output(unsigned number) const {
        std::vector<IOutput*> all;
        for (u64 i = 0; i < m_scene.nodeCount(); ++i)
            for (u64 k = 0; k < m_scene.node(i)->outputCount(); ++k)
                all.push_back(m_scene.node(i)->output(k));
        return all.empty() ? nullptr : all[number % all.size()];
    }

    // ---- Nodes ---------------------------------------------------------------------------------

    void createNode(const RandomEdit& edit) {
        if (m_scene.nodeCount() < kMaxNodes)
            m_scene.createNode(anyType(edit.a), of({"n", "m", "N", "k"}, edit.b));
    }
    void removeNode(const RandomEdit& edit) { m_scene->removeNode(node(edit.a)); }
    void renameNode(const RandomEdit& edit) {
        m_scene->renameNode(node(edit.a), of({"n", "m", "N", "p", "no name", "M1"}, edit.b));
    }
    void moveNode(const RandomEdit& edit) {
        m_scene->moveNode(node(edit.a), edit.b % (m_scene.nodeCount() + 1));
    }
    void cloneNode(const RandomEdit& edit) {
        if (INode* from = node(edit.a); from && m_scene.nodeCount() < kMaxNodes)
            from->clone(edit.b % 2 == 0);
    }
    void convertNode(const RandomEdit& edit) {
        if (INode* from = node(edit.a)) from->convertTo(anyType(edit.b));
    }
    void parentNode(const RandomEdit& edit) {
        if (INode* child = node(edit.a)) child->parentTo(node(edit.b));
    }
    void unparentNode(const RandomEdit& edit) {
        if (INode* child = node(edit.a)) child->unparentFrom(node(edit.b));
    }
    void walkChildren(const RandomEdit& edit) {
        const Scene::UndoScope scope(m_scene, "Walk", "");
        if (const Node top(node(edit.a)); top) static_cast<void>(top.children(-1));
    }
    void clearScene(const RandomEdit& edit) {
        if (edit.a % 8 == 0) m_scene->clear();
    }
    void readText(const RandomEdit& edit) {
        if (m_scene.nodeCount() >= kMaxNodes) return;
        m_scene.read(
            of({"# One.\nnode thing \"n\" {\n    Real a = 1  # note\n    output Real o\n}\n",
                "node xform \"m\" {\n    Array<Node> children = [n]\n}\n"
                "node lamp \"n\" {\n    Object b {\n        Real c = 2 <- m.o\n    }\n}\n",
                "node lamp \"k\" {\n    Real a <- q.o\n}\nnode lamp \"q\" {\n"
                "    output Real o\n    Array<Real> e = [1, 2, 3]\n    Real s = 1 @silent\n}\n",
                "\n# Two.\nnode lamp : base, other \"b\" @internal {\n    # before\n"
                "    Real a = 1 @min 0 @max 9 @unit \"m\"  # behind\n"
                "    Buffer<Vec2f> v = [(1 2)]\n    Bool f = true @readonly\n    # last\n}\n"},
               edit.a),
            "text");
    }
    void setPath(const RandomEdit& edit) {
        if (INode* file = node(edit.a)) file->setPath(of({"/a/b.c", "", "d.e", "/f/"}, edit.b));
    }
    void setDisplayName(const RandomEdit& edit) {
        if (INode* named = node(edit.a)) named->setDisplayName(of({"", "One", "Two"}, edit.b));
    }
    void setDirty(const RandomEdit& edit) {
        if (INode* any = node(edit.a)) any->setDirty(edit.b % 2 == 0);
    }

    // ---- Inputs and outputs --------------------------------------------------------------------

    void createInput(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (owner && owner->inputCount() < kMaxInputs)
            owner->createInput(anyName(edit.b), anyKind(edit.c));
    }
    void createArray(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (owner && owner->inputCount() < kMaxInputs)
            owner->createArray(anyName(edit.b), anyKind(edit.c % 18));
    }
    void createNodeList(const RandomEdit& edit) {
        if (INode* owner = node(edit.a))
            owner->createArray(of({"children", "modifiers"}, edit.b), AttrType::Node);
    }
    void createMeta(const RandomEdit& edit) {
        if (const INode* owner = node(edit.a)) owner->meta();
    }
    void createByName(const RandomEdit& edit) {
        if (INode* owner = node(edit.a)) owner->input(String(anyName(edit.b)));
    }
    void createByPath(const RandomEdit& edit) {
        if (INode* owner = node(edit.a))
            owner->parseInputPath(of({"a[2]", "b.c", "children[1]", "e[3]", "c.b[1]"}, edit.b));
    }
    void removeInput(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (!owner || owner->inputCount() == 0) return;
        if (edit.c % 8 == 0)
            owner->clearInputs();
        else if (edit.c % 8 == 1)
            owner->removeLastInput();
        else if (edit.c % 8 < 4)
            owner->removeInput(owner->input(edit.b % owner->inputCount())->name());
        else
            owner->removeInput(u64{edit.b} % owner->inputCount());
    }
    void createMember(const RandomEdit& edit) {
        IInput* object = input(edit, AttrType::Object);
        if (object && object->inputCount() < kMaxInputs && object->path().size() < 40)
            object->createInput(anyName(edit.c), anyKind(edit.c / 16));
    }
    void removeMember(const RandomEdit& edit) {
        IInput* owner = input(edit, edit.c % 2 == 0 ? AttrType::Object : AttrType::Array);
        if (!owner || owner->inputCount() == 0) return;
        if (edit.c % 8 == 0)
            owner->clearInputs();
        else if (edit.c % 8 == 1)
            owner->removeLastInput();
        else
            owner->removeInput(u64{edit.c} % owner->inputCount());
    }
    void addElement(const RandomEdit& edit) {
        IInput* array = input(edit, AttrType::Array);
        if (!array || array->inputCount() >= kMaxInputs) return;
        if (edit.c % 2 == 0)
            array->appendElement();
        else
            array->insertElement(edit.c % (array->inputCount() + 1));
    }
    void renameInput(const RandomEdit& edit) {
        if (IInput* at = input(edit)) kelvo_sdk::Input(at).rename(anyName(edit.c));
    }
    void moveElement(const RandomEdit& edit) {
        IInput* array = input(edit, AttrType::Array);
        if (array && array->inputCount() > 0)
            array->moveElement(edit.c % array->inputCount(), edit.c / 16 % array->inputCount());
    }
    void createOutput(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (owner && owner->outputCount() < 6)
            owner->createOutput(of({"o", "p", "q", "r"}, edit.b), anyKind(edit.c));
    }
    void createReal(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (owner && owner->outputCount() >= 6)
            owner->clearOutputs();
        else if (owner)
            owner->createOutput(of({"o", "p"}, edit.b), AttrType::Real);
    }
    void removeOutput(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (!owner || owner->outputCount() == 0) return;
        if (edit.b % 4 == 0)
            owner->removeLastOutput();
        else if (edit.b % 4 == 1)
            owner->removeOutput(owner->output(u64{0})->name());
        else
            owner->removeOutput(u64{edit.c} % owner->outputCount());
    }

    // ---- Values, links and connections ---------------------------------------------------------

    void setValue(const RandomEdit& edit) {
        IInput* at = input(edit);
        if (!at) return;
        const double x = edit.c % 5;
        const float floats[] = {1, 2, static_cast<float>(x)};
        switch (edit.c / 8 % 15) {
        case 0:
            at->setBool(x > 2);
            break;
        case 1:
            at->setInt(edit.c % 5);
            break;
        case 2:
            at->setUInt(edit.c % 5);
            break;
        case 3:
            at->setVec3({1, 2, x});
            break;
        case 4:
            at->setRgba({1, 0, x, 1});
            break;
        case 5:
            at->setMat4(math::Mat4d::identity);
            break;
        case 6:
            at->setVec2({x, x});
            break;
        case 7:
            at->setBuffer({DataType::Float, floats, edit.c % 4});
            break;
        case 8:
            at->setVec4({1, 2, 3, x});
            break;
        case 9:
            at->setPos2({x, 1});
            break;
        case 10:
            at->setPos3({x, 1, 2});
            break;
        case 11:
            at->setQuat({0, 0, x, 1});
            break;
        case 12:
            at->setMat3(math::Mat3d::identity);
            break;
        default:
            at->setReal(x);
            break;
        }
    }
    void setText(const RandomEdit& edit) {
        if (IInput* at = input(edit)) at->setString(of({"a", "1", "a, b", "", "(1 2 3)"}, edit.c));
    }
    void setLink(const RandomEdit& edit) {
        if (IInput* at = input(edit, AttrType::Node))
            at->setNode(edit.c % 6 == 0 ? nullptr : node(edit.c));
    }
    void connect(const RandomEdit& edit) {
        if (IInput* at = input(edit)) at->connect(output(edit.c));
    }
    void disconnect(const RandomEdit& edit) {
        if (IInput* at = input(edit)) at->disconnect();
    }
    void reset(const RandomEdit& edit) {
        if (IInput* at = input(edit)) at->reset();
    }
    void modify(const RandomEdit& edit) {
        INode* owner = node(edit.a);
        if (!owner || !owner->hasInput(String("modifiers"), AttrType::Array)) return;
        IInput* list = owner->input(String("modifiers"));
        const u64 count = list->inputCount();
        if (count == 0)
            list->appendElement();
        else
            list->input(edit.b % count)->setNode(node(edit.c));
    }

    using Self = RandomEdits;
    static constexpr Kind kEdits[] = {
        {"createNode", &Self::createNode},
        {"createNode", &Self::createNode},
        {"removeNode", &Self::removeNode},
        {"renameNode", &Self::renameNode},
        {"moveNode", &Self::moveNode},
        {"cloneNode", &Self::cloneNode},
        {"convertNode", &Self::convertNode},
        {"parentNode", &Self::parentNode},
        {"unparentNode", &Self::unparentNode},
        {"walkChildren", &Self::walkChildren},
        {"clearScene", &Self::clearScene},
        {"readText", &Self::readText},
        {"setPath", &Self::setPath},
        {"setDisplayName", &Self::setDisplayName},
        {"setDirty", &Self::setDirty},
        {"createInput", &Self::createInput},
        {"createInput", &Self::createInput},
        {"createArray", &Self::createArray},
        {"createNodeList", &Self::createNodeList},
        {"createMeta", &Self::createMeta},
        {"createByName", &Self::createByName},
        {"createByPath", &Self::createByPath},
        {"removeInput", &Self::removeInput},
        {"createMember", &Self::createMember},
        {"removeMember", &Self::removeMember},
        {"addElement", &Self::addElement},
        {"renameInput", &Self::renameInput},
        {"moveElement", &Self::moveElement},
        {"createOutput", &Self::createOutput},
        {"createReal", &Self::createReal},
        {"createReal", &Self::createReal},
        {"removeOutput", &Self::removeOutput},
        {"setValue", &Self::setValue},
        {"setValue", &Self::setValue},
        {"setValue", &Self::setValue},
        {"setText", &Self::setText},
        {"setLink", &Self::setLink},
        {"setLink", &Self::setLink},
        {"connect", &Self::connect},
        {"connect", &Self::connect},
        {"connect", &Self::connect},
        {"disconnect", &Self::disconnect},
        {"reset", &Self::reset},
        {"modify", &Self::modify},
        {"modify", &Self::modify},
    };

    Scene m_scene;
};

} // namespace qv::tests
