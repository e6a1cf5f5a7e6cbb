#include "bench/peers/osg_node.h"

#include <benchmark/benchmark.h>

#include <osg/Group>
#include <osgDB/Registry>

#include <sstream>

// Measures scenes of OpenSceneGraph as text: writing, and reading with the destruction of the
// scene.
namespace qv::bench {
namespace {

osg::ref_ptr<osg::Group> makeScene(std::int64_t count) {
    osg::ref_ptr<osg::Group> root = new osg::Group;
    for (std::int64_t k = 0; k < count; ++k) {
        const osg::ref_ptr<osg::MatrixTransform> node = new osg::MatrixTransform;
        node->setName("node" + std::to_string(k));
        addTenValues(*node, static_cast<int>(k));
        root->addChild(node.get());
    }
    return root;
}

osgDB::ReaderWriter* textFormat() {
    return osgDB::Registry::instance()->getReaderWriterForExtension("osgt");
}

// Streams are written in binary form unless the options ask for text.
osg::ref_ptr<osgDB::Options> asText() {
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options("Ascii");
    options->setPluginStringData("fileType", "Ascii");
    return options;
}

std::string write(const osg::Node& root) {
    std::ostringstream out;
    textFormat()->writeNode(root, out, asText().get());
    return out.str();
}

bool hasTextFormat(benchmark::State& state) {
    if (textFormat()) return true;
    state.SkipWithError("the plug-in for text is not installed");
    return false;
}

void serializeScene(benchmark::State& state) {
    if (!hasTextFormat(state)) return;
    const auto root = makeScene(state.range(0));
    std::string text;
    for (auto _ : state) {
        text = write(*root);
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(serializeScene)->Name("serialize_scene")->Arg(1000)->Unit(benchmark::kMicrosecond);

// Tells whether all nodes were read, and the last one with its values.
bool isWhole(osgDB::ReaderWriter::ReadResult& read, std::int64_t count) {
    const osg::Group* scene = read.getNode() ? read.getNode()->asGroup() : nullptr;
    int last = -1;
    return scene && scene->getNumChildren() == static_cast<unsigned>(count) &&
           scene->getChild(static_cast<unsigned>(count - 1))->getUserValue("i", last) &&
           last == count - 1;
}

void parseScene(benchmark::State& state) {
    if (!hasTextFormat(state)) return;
    const std::string text = write(*makeScene(state.range(0)));
    for (auto _ : state) {
        std::istringstream in(text);
        auto read = textFormat()->readNode(in, asText().get());
        if (!isWhole(read, state.range(0))) state.SkipWithError("the text is not read");
    }
    state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(parseScene)->Name("parse_scene")->Arg(1000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
