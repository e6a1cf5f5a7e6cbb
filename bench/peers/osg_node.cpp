#include "bench/peers/osg_node.h"

#include "bench/support/workload.h"

#include <osg/Array>
#include <osg/UserDataContainer>

namespace qv::bench {

void addTenValues(osg::Node& node, int k) {
    const auto x = static_cast<float>(k);
    node.setUserValue("b", false);
    node.setUserValue("i", k);
    node.setUserValue("f", 0.1f * x);
    node.setUserValue("d", 0.1 * k);
    node.setUserValue("s", std::string("some text value"));
    node.setUserValue("v2", osg::Vec2f(0.1f, x));
    node.setUserValue("v3", osg::Vec3f(0.1f, 0.2f, x));
    node.setUserValue("v4", osg::Vec4f(0.1f, 0.2f, 0.3f, x));
    node.setUserValue("m", osg::Matrixd::translate(0.1, 0.2, k));
    const osg::ref_ptr<osg::FloatArray> array = new osg::FloatArray;
    array->setName("a");
    for (const float value : {0.5f, 1.5f, 2.5f, 3.5f})
        array->push_back(value);
    node.getOrCreateUserDataContainer()->addUserObject(array.get());
}

TransformTree::TransformTree(std::int64_t count) {
    std::vector<osg::MatrixTransform*> nodes;
    nodes.reserve(static_cast<std::size_t>(count));
    for (std::int64_t k = 0; k < count; ++k) {
        const osg::ref_ptr<osg::MatrixTransform> node = new osg::MatrixTransform;
        node->setMatrix(osg::Matrix::translate(1, 2, static_cast<double>(k)));
        if (k == 0)
            root = node;
        else
            nodes[static_cast<std::size_t>(treeParent(k))]->addChild(node.get());
        nodes.push_back(node.get());
    }
    last = nodes.back();
}

} // namespace qv::bench
