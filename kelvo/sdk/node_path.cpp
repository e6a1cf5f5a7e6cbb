#include "kelvo/sdk/node_path.h"

#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/string_vector.h"

namespace qv::kelvo_sdk {

using interfaces::INode;

namespace {

math::Mat4d matrixOf(const INode& node) {
    const String name("matrix");
    math::Mat4d matrix = math::Mat4d::identity;
    if (node.hasInput(name, AttrType::Mat4)) node.input(name)->readMat4(matrix, true, nullptr);
    return matrix;
}

} // namespace

String NodePath::text() const {
    StringVector names;
    for (const INode* node : m_nodes)
        names.push_back(node->name());
    return names.join("/");
}

math::Mat4d NodePath::matrix() const {
    math::Mat4d product = math::Mat4d::identity;
    for (const INode* node : m_nodes)
        product = matrixOf(*node) * product;
    return product;
}

} // namespace qv::kelvo_sdk
