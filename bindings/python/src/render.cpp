#include "bindings/python/src/errors.h"
#include "render/picture_file.h"
#include "render/renderer.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <vector>

// The renderer. It is a module of its own, because the libraries that it needs take long to load.
namespace qv::python {

namespace {

using render::Finding;
using render::Layer;
using render::Picture;
using render::PictureParts;
using render::RenderLimit;
using render::RenderSettings;

u32 wholeNumber(const char* name, i64 value) {
    if (value >= 0 && value <= 0xffffffff) return static_cast<u32>(value);
    raise(ErrorKind::Range, String(name) + " is a whole number from 0 to 4294967295, not " +
                                std::to_string(value).c_str() + ".");
}

double limitOf(const char* name, double value) {
    if (value >= 0.0) return value; // Not true for NaN.
    raise(ErrorKind::Range,
          String(name) + " is a number from 0 on, not " + std::to_string(value).c_str() + ".");
}

/// A renderer that refuses what a second thread asks of it meanwhile.
class SharedRenderer {
public:
    SharedRenderer(const Snapshot& snapshot, RenderSettings settings)
        : m_renderer(snapshot, std::move(settings)) {}

    void update(const Snapshot& to) {
        const Use use(*this);
        const py::gil_scoped_release unlocked;
        m_renderer.update(to);
    }

    void render(const RenderLimit& until, const py::object& progress) {
        const Use use(*this);
        m_stop = std::stop_source();
        std::atomic<double> share = 0.0;
        const Run run{*this, until, share};
        check(run.wait(progress), ErrorKind::Value);
    }

    void stop() { m_stop.request_stop(); }

    [[nodiscard]] py::bytes renderPart(i64 firstTile, i64 tiles, i64 firstSample, i64 samples) {
        const render::PicturePart part{
            wholeNumber("first_tile", firstTile), wholeNumber("tiles", tiles),
            wholeNumber("first_sample", firstSample), wholeNumber("samples", samples)};
        const Use use(*this);
        m_stop = std::stop_source();
        std::string bytes;
        Result isRendered;
        {
            const py::gil_scoped_release unlocked;
            isRendered = m_renderer.renderPart(part, bytes, m_stop.get_token());
        }
        check(isRendered, ErrorKind::Value);
        return {bytes};
    }

    [[nodiscard]] Picture picture() {
        const Use use(*this);
        const py::gil_scoped_release unlocked;
        return m_renderer.picture();
    }
    [[nodiscard]] std::vector<Finding> findings() {
        const Use use(*this);
        return m_renderer.findings();
    }
    [[nodiscard]] std::vector<String> notes() {
        const Use use(*this);
        return m_renderer.notes();
    }

private:
    // Begins and ends with the interpreter lock held.
    class Use {
    public:
        explicit Use(SharedRenderer& renderer) : m_renderer(renderer) {
            if (renderer.m_isInUse)
                raise(ErrorKind::Busy, "The renderer is in use; only stop() may be called.");
            renderer.m_isInUse = true;
        }
        ~Use() { m_renderer.m_isInUse = false; }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        SharedRenderer& m_renderer;
    };

    /// Renders on a thread of its own, so that this one can answer signals and report progress.
    class Run {
    public:
        Run(SharedRenderer& renderer, const RenderLimit& until, std::atomic<double>& share)
            : m_stop(renderer.m_stop),
              m_share(share),
              m_result(std::async(std::launch::async, [&renderer, until, &share] {
                  return renderer.m_renderer.render(
                      until, [&share](double done) { share = done; }, renderer.m_stop.get_token());
              })) {}
        ~Run() {
            m_stop.request_stop();
            const py::gil_scoped_release unlocked;
            if (m_result.valid()) m_result.wait();
        }
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;

        [[nodiscard]] Result wait(const py::object& progress) const {
            double told = 0.0;
            while (!isDone()) {
                if (PyErr_CheckSignals() != 0) throw py::error_already_set();
                const double share = m_share;
                if (progress.is_none() || share == told) continue;
                told = share;
                progress(share);
            }
            return m_result.get();
        }

    private:
        [[nodiscard]] bool isDone() const {
            using namespace std::chrono_literals;
            const py::gil_scoped_release unlocked;
            return m_result.wait_for(20ms) == std::future_status::ready;
        }

        std::stop_source m_stop;
        std::atomic<double>& m_share;
        mutable std::future<Result> m_result;
    };

    render::Renderer m_renderer;
    std::stop_source m_stop;
    bool m_isInUse = false;
};

std::unique_ptr<SharedRenderer> makeRenderer(const Snapshot& snapshot, i64 width, i64 height,
                                             const String& camera, const py::object& folder,
                                             i64 threads) {
    RenderSettings settings;
    settings.width = wholeNumber("width", width);
    settings.height = wholeNumber("height", height);
    settings.camera = camera;
    settings.folder = py::module_::import("os").attr("fspath")(folder).cast<String>();
    settings.threads = wholeNumber("threads", threads);
    const py::gil_scoped_release unlocked;
    return std::make_unique<SharedRenderer>(snapshot, std::move(settings));
}

void renderScene(SharedRenderer& renderer, i64 samples, double seconds, double noise,
                 const py::object& progress) {
    RenderLimit until;
    until.samples = wholeNumber("samples", samples);
    until.seconds = limitOf("seconds", seconds);
    until.noise = limitOf("noise", noise);
    renderer.render(until, progress);
}

u64 tilesOf(i64 width, i64 height) {
    return render::PicturePart::tilesOf(wholeNumber("width", width), wholeNumber("height", height));
}

std::unique_ptr<PictureParts> makeParts(i64 width, i64 height) {
    const u32 columns = wholeNumber("width", width), rows = wholeNumber("height", height);
    check(render::checkPictureSize(columns, rows), ErrorKind::Value);
    return std::make_unique<PictureParts>(columns, rows);
}

// A read-only array of rows that shares the memory of the picture.
template<class T>
py::array arrayOf(const py::object& owner, const std::vector<T>& numbers, u32 count) {
    const auto& picture = owner.cast<const Picture&>();
    std::vector<py::ssize_t> shape{picture.height, picture.width};
    if (count > 1) shape.push_back(count);
    py::array_t<T> array(shape, numbers.data(), owner);
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

template<class T>
auto layer(std::vector<T> Picture::*member, u32 count) {
    return [member, count](const py::object& self) {
        return arrayOf(self, self.cast<const Picture&>().*member, count);
    };
}

Layer layerOf(const std::string& name) {
    constexpr const char* names[] = {"albedo", "normal", "depth", "node"};
    for (u32 i = 0; i < std::size(names); ++i)
        if (name == names[i]) return static_cast<Layer>(i);
    raise(ErrorKind::Value,
          ("\"" + name + "\" is no layer: expected albedo, normal, depth or node.").c_str());
}

void save(const Picture& picture, const py::object& path, const std::vector<std::string>& layers,
          const String& sceneHash) {
    render::PictureFile file;
    file.path = py::module_::import("os").attr("fspath")(path).cast<String>();
    file.sceneHash = sceneHash;
    for (const std::string& name : layers)
        file.layers.push_back(layerOf(name));
    Result isWritten = checkPictureFile(file);
    if (isWritten) {
        const py::gil_scoped_release unlocked;
        isWritten = writePicture(picture, file);
    }
    check(isWritten, ErrorKind::File);
}

void addPicture(py::module_& module) {
    py::class_<Picture>(module, "Picture",
                        "A rendered picture: rows from the top, as read-only arrays that share "
                        "its memory. A pixel without a sample is black and empty.")
        .def_readonly("width", &Picture::width, "In pixels.")
        .def_readonly("height", &Picture::height, "In pixels.")
        .def_property_readonly(
            "color", layer(&Picture::color, 4),
            "Linear light of the primaries of sRGB, and how much of the pixel is covered: float32 "
            "of the shape (height, width, 4).")
        .def_property_readonly("albedo", layer(&Picture::albedo, 3),
                               "The base colour of the first surface: (height, width, 3).")
        .def_property_readonly("normal", layer(&Picture::normal, 3),
                               "In the world: (height, width, 3).")
        .def_property_readonly("depth", layer(&Picture::depth, 1),
                               "Along the axis of the camera, infinite without a surface.")
        .def_property_readonly("node", layer(&Picture::node, 1),
                               "The number of the mesh in the snapshot, 4294967295 for none.")
        .def_property_readonly("samples", layer(&Picture::samples, 1), "The samples of each pixel.")
        .def("__eq__",
             [](const Picture& self, const py::object& other) {
                 return py::isinstance<Picture>(other) && self == other.cast<const Picture&>();
             })
        .def("save", &save, py::arg("path"), py::kw_only(),
             py::arg("layers") = std::vector<std::string>(), py::arg("scene_hash") = String(),
             "Writes a file in one step: linear light as floats, with the layers \"albedo\", "
             "\"normal\", \"depth\" and \"node\" if asked for, when the name ends with .exr; 8 "
             "bits encoded as sRGB with .png. Raises FileError.");
}

void addParts(py::module_& module) {
    module.attr("SAMPLE_STEP") = render::PicturePart::sampleStep;
    module.def("tiles_of", &tilesOf, py::arg("width"), py::arg("height"),
               "Returns how many tiles a picture has: squares of 16 x 16 pixels, smaller at the "
               "right and at the bottom, row by row from the top.");
    py::class_<PictureParts>(module, "PictureParts",
                             "Puts a picture together from what `Renderer.render_part` returned, "
                             "also on other machines.")
        .def(py::init(&makeParts), py::arg("width"), py::arg("height"))
        .def(
            "add",
            [](PictureParts& self, const py::bytes& data) {
                check(self.add(std::string_view(data)), ErrorKind::Value);
            },
            py::arg("data"),
            "Adds a part. The parts of a tile come in the order of their samples, without gaps; "
            "raises InvalidValueError otherwise, and for bytes that are no part of this picture.")
        .def("picture", &PictureParts::picture, "Returns a copy of the picture so far.");
}

void addFinding(py::module_& module) {
    py::class_<Finding>(module, "Finding", "Something that cannot be rendered as it is.")
        .def_readonly("number", &Finding::number, "The number of the node in the snapshot.")
        .def_readonly("node", &Finding::node, "The name of the node.")
        .def_readonly("text", &Finding::text, "A sentence without the name of the node.")
        .def("__repr__", [](const Finding& finding) {
            return "<Finding " + std::string(finding.node.view()) + ": " + finding.text.buf() + ">";
        });
}

void addRenderer(py::module_& module) {
    const RenderSettings settings;
    const RenderLimit limit;
    py::class_<SharedRenderer>(
        module, "Renderer",
        "Renders a snapshot by tracing paths of light. The picture is the same, bit for bit, for "
        "any number of threads, and after updates. While one thread renders, others may only "
        "call stop().")
        .def(py::init(&makeRenderer), py::arg("snapshot"), py::kw_only(),
             py::arg("width") = settings.width, py::arg("height") = settings.height,
             py::arg("camera") = settings.camera, py::arg("folder") = "",
             py::arg("threads") = settings.threads,
             "camera: the name of a node; without it the first camera, or one that shows "
             "everything. folder: relative paths of textures start here. threads: the most; 0 for "
             "as many as the machine runs at once.")
        .def("update", &SharedRenderer::update, py::arg("snapshot"),
             "Goes over to another snapshot of the scene and begins the picture anew. Only what "
             "differs is read again.")
        .def("render", &renderScene, py::kw_only(), py::arg("samples") = limit.samples,
             py::arg("seconds") = limit.seconds, py::arg("noise") = limit.noise,
             py::arg("progress") = py::none(),
             "Adds samples until each pixel has so many, a time is over, or the standard error of "
             "all tiles is below a share of their brightness; 0 for no limit of time or noise. "
             "progress(share) is called on this thread with a number from 0 to 1; an exception in "
             "it ends the rendering, which can go on later. Raises InvalidValueError without such "
             "a camera or size.")
        .def("stop", &SharedRenderer::stop,
             "Ends the rendering that another thread has begun, or this one in `progress`.")
        .def("render_part", &SharedRenderer::renderPart, py::arg("first_tile"), py::arg("tiles"),
             py::arg("first_sample"), py::arg("samples"),
             "Returns some samples of some tiles, as bytes for `PictureParts`; the picture of the "
             "renderer stays as it is. first_sample is a multiple of SAMPLE_STEP. Raises "
             "InvalidValueError for a part that the picture does not have, and when it is stopped.")
        .def("picture", &SharedRenderer::picture, "Returns a copy of the picture so far.")
        .def_property_readonly("findings", &SharedRenderer::findings,
                               "Everything in the scene that is not rendered as it is.")
        .def_property_readonly("notes", &SharedRenderer::notes,
                               "Sentences about what was added to the scene to be seen.");
}

} // namespace

} // namespace qv::python

PYBIND11_MODULE(_render, module) {
    module.doc() = "The compiled part of the package kelvo.render, which has its names.";
    qv::python::addFinding(module);
    qv::python::addPicture(module);
    qv::python::addParts(module);
    qv::python::addRenderer(module);
}
