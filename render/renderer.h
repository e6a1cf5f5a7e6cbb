#pragma once

#include "kelvo/sdk/result.h"
#include "kelvo/sdk/snapshot.h"
#include "render/finding.h"
#include "render/picture.h"
#include "render/picture_parts.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace qv::render {

struct RenderSettings {
    u32 width = 1280;
    u32 height = 720;
    /// The name of the camera's node; without one the first camera, or one that shows everything.
    String camera;
    /// Relative paths of textures start here.
    String folder;
    /// The greatest number of threads; 0 for as many as the machine runs at once. The picture is
    /// the same for any number.
    u32 threads = 0;
};

/// The end of a rendering: the first of these limits that is reached.
struct RenderLimit {
    /// The samples of each pixel.
    u32 samples = 64;
    /// No limit if 0. A picture that ends by time differs from run to run.
    double seconds = 0.0;
    /// The standard error of a tile of pixels, by its brightness, at which it gets no more samples;
    /// no limit if 0.
    double noise = 0.0;
};

/// Gets the share of the work that is done, from 0 to 1; called by one of the rendering threads at
/// a time.
using RenderProgress = std::function<void(double done)>;

/// Renders a scene by tracing paths of light. See docs/render.md.
///
/// The picture depends on the snapshot, the settings and the number of samples alone: it is the
/// same, bit for bit, for any number of threads, and after updates. One thread at a time may use a
/// renderer; it keeps its snapshot alive.
class Renderer {
public:
    /// Reads the scene and builds what rays are traced through. After a stop there are no findings
    /// and notes yet, and `render` does the rest.
    explicit Renderer(const kelvo_sdk::Snapshot& snapshot, RenderSettings settings = {},
                      const std::stop_token& stop = {});
    ~Renderer();
    Renderer(Renderer&&) noexcept;
    Renderer& operator=(Renderer&&) noexcept;

    /// Goes over to another snapshot of the scene and begins the picture anew. Only what differs is
    /// read again: geometry, materials and textures of other nodes are kept. A stop is as in the
    /// constructor.
    void update(const kelvo_sdk::Snapshot& to, const std::stop_token& stop = {});

    /// Adds samples to the picture until a limit is reached or a stop is requested, which ends the
    /// rendering within 20 ms; it can go on later. Fails, without samples, when there is no such
    /// camera or picture. docs/render.md names what may take longer to stop.
    kelvo_sdk::Result render(const RenderLimit& until, const RenderProgress& progress = {},
                             const std::stop_token& stop = {});
    [[nodiscard]] Picture picture() const;

    /// Renders a part of the picture for `PictureParts`, to `bytes`. The renderer's own picture
    /// stays as it is. Fails, and leaves `bytes`, as `render` does, for a part that the picture
    /// does not have, and when a stop is requested.
    kelvo_sdk::Result renderPart(const PicturePart& part, std::string& bytes,
                                 const std::stop_token& stop = {});

    /// Everything in the scene that is not rendered as it is, when it has been read.
    [[nodiscard]] const std::vector<Finding>& findings() const noexcept;
    /// Sentences about what was added to the scene, so that it can be seen.
    [[nodiscard]] const std::vector<String>& notes() const noexcept;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace qv::render
