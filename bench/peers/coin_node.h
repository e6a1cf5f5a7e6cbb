#pragma once

#include <Inventor/fields/SoFieldData.h>
#include <Inventor/fields/SoFields.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoSubNode.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace qv::bench {

/// A node type with ten fields of the kinds of our own ten inputs. The fields of a Coin node have
/// no names but their own, which are therefore those of our inputs.
class TenFields : public SoNode {
    using inherited = SoNode;
    SO_NODE_HEADER(TenFields);

public:
    static void initClass();
    TenFields();

    /// Gives every field a value other than its default, so that all are written as text.
    void fill(int k);

    SoSFBool b;
    SoSFInt32 i;
    SoSFFloat f;
    SoSFDouble d;
    SoSFString s;
    SoSFVec2f v2;
    SoSFVec3f v3;
    SoSFVec4f v4;
    SoSFMatrix m;
    SoMFFloat a;

protected:
    ~TenFields() override = default;
};

/// A node with any number of fields "attribute0", "attribute1" ...
class WideFields : public SoNode {
public:
    explicit WideFields(int count);
    SoType getTypeId() const override { return SoNode::getClassTypeId(); }

protected:
    ~WideFields() override = default;
    const SoFieldData* getFieldData() const override { return &m_data; }

private:
    std::unique_ptr<SoSFFloat[]> m_fields;
    SoFieldData m_data;
};

/// Keeps a node alive while it is in scope.
template<typename N>
class Kept {
public:
    explicit Kept(N* node) : m_node(node) { m_node->ref(); }
    ~Kept() { m_node->unref(); }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    N* operator->() const { return m_node; }
    N* get() const { return m_node; }

private:
    N* m_node;
};

/// A chain of nodes: the field "f" of each is connected from that of the one before.
class FieldChain {
public:
    explicit FieldChain(std::int64_t count);
    ~FieldChain();
    FieldChain(const FieldChain&) = delete;
    FieldChain& operator=(const FieldChain&) = delete;

    SoSFFloat& head() const { return m_nodes.front()->f; }
    SoSFFloat& tail() const { return m_nodes.back()->f; }

private:
    std::vector<TenFields*> m_nodes;
};

/// Makes the tree of our own benchmark. As in scenes for Coin, each of its nodes is a separator
/// that holds a transform before its children. The caller takes a reference on the first node.
std::vector<SoSeparator*> makeTree(std::int64_t count);

} // namespace qv::bench
