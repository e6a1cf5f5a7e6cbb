#pragma once

#include <osg/MatrixTransform>
#include <osg/ValueObject>

#include <cstdint>
#include <string>
#include <vector>

namespace qv::bench {

/// A node of OpenSceneGraph has no inputs of its own. Its named values are objects in a list.
using FloatValue = osg::TemplateValueObject<float>;
using StringValue = osg::TemplateValueObject<std::string>;

/// Gives a node ten values of the kinds of our own ten inputs.
void addTenValues(osg::Node& node, int k);

/// Returns a value to keep, of a node with ten values.
template<typename Value>
Value& keptValue(osg::Node& node, const char* name) {
    return *dynamic_cast<Value*>(node.getUserDataContainer()->getUserObject(name));
}

/// The tree of our own benchmark. The root keeps all nodes alive.
struct TransformTree {
    explicit TransformTree(std::int64_t count);
    osg::ref_ptr<osg::MatrixTransform> root;
    osg::MatrixTransform* last = nullptr;
};

} // namespace qv::bench
