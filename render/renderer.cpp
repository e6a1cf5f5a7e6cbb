#include "render/renderer.h"

#include "kelvo/base/workers.h"
#include "render/impl/defaults.h"
#include "render/impl/part_bytes.h"
#include "render/impl/scene_reader.h"
#include "render/impl/stopped.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

namespace qv::render {

namespace {

using namespace impl;
using kelvo_sdk::Result;
using Clock = std::chrono::steady_clock;

// The first pictures come soon; later passes are long, so that threads seldom wait for each other.
u32 nextTarget(u32 samples) noexcept {
    return samples < Film::blockSize ? std::max(samples * 2, 1U) : samples + Film::blockSize;
}

} // namespace

class Renderer::Impl {
public:
    Impl(const kelvo_sdk::Snapshot& snapshot, RenderSettings settings, const std::stop_token& stop)
        : m_settings(std::move(settings)), m_snapshot(snapshot), m_reader(m_settings.folder) {
        prepare(stop);
    }

    void update(const kelvo_sdk::Snapshot& to, const std::stop_token& stop) {
        const kelvo_sdk::SnapshotDelta delta(m_snapshot, to);
        m_reader.forget(delta);
        m_snapshot = to;
        prepare(stop, &delta);
    }

    Result render(const RenderLimit& until, const RenderProgress& progress,
                  const std::stop_token& stop) {
        if (!m_isPrepared) prepare(stop);
        if (!m_isReady || !m_isPrepared) return m_isReady;
        const Pass pass{until, progress, optionsWith(stop), Clock::now()};
        while (m_samples < until.samples && !isOver(pass)) {
            const u32 target = std::min(nextTarget(m_samples), until.samples);
            if (!runPass(pass, target)) break;
            m_samples = target;
        }
        return {};
    }

    Result renderPart(const PicturePart& part, std::string& bytes, const std::stop_token& stop) {
        if (!m_isPrepared) prepare(stop);
        if (!m_isReady) return m_isReady;
        if (!m_isPrepared) return stoppedPart();
        if (!isPartOf(*m_film, part))
            return Result::failure(String::format(
                "Tiles %u to %u with the samples from %u on are no part of the picture: it has %u "
                "tiles, and parts begin with a multiple of %u samples.",
                part.firstTile, part.firstTile + part.tileCount, part.firstSample,
                m_film->tileCount(), Film::blockSize));
        std::vector<std::vector<PixelSums>> tiles(part.tileCount);
        const PathOptions options = optionsWith(stop);
        Workers(m_settings.threads).run(part.tileCount, [&](u64 i) {
            tiles[i] = tileSums(part, part.firstTile + static_cast<u32>(i), options);
        });
        if (stop.stop_requested()) return stoppedPart();
        PartBytes made{m_settings.width, m_settings.height, part, {}};
        for (const std::vector<PixelSums>& tile : tiles)
            made.sums.insert(made.sums.end(), tile.begin(), tile.end());
        bytes = made.store();
        return {};
    }

    [[nodiscard]] Picture picture() const { return m_film ? m_film->picture() : Picture(); }
    [[nodiscard]] const std::vector<Finding>& findings() const { return m_scene.findings; }
    [[nodiscard]] const std::vector<String>& notes() const { return m_notes; }

private:
    struct Pass {
        const RenderLimit& until;
        const RenderProgress& progress;
        PathOptions options;
        Clock::time_point start;

        [[nodiscard]] bool isStopped() const noexcept { return options.stop.stop_requested(); }
        [[nodiscard]] double seconds() const {
            return std::chrono::duration<double>(Clock::now() - start).count();
        }
        [[nodiscard]] bool isLate() const {
            return until.seconds > 0.0 && seconds() >= until.seconds;
        }
    };

    [[nodiscard]] static PathOptions optionsWith(const std::stop_token& stop) {
        PathOptions options;
        options.stop = stop;
        return options;
    }
    [[nodiscard]] static Result stoppedPart() {
        return Result::failure("The rendering of the part was stopped.");
    }

    // Makes all that rendering needs; a stop leaves the rest to another call. The delta leads to
    // the snapshot from that of the scene.
    void prepare(const std::stop_token& stop, const kelvo_sdk::SnapshotDelta* delta = nullptr) {
        m_isPrepared = false;
        m_traced.reset();
        m_notes.clear();
        m_samples = 0;
        m_isReady = checkPictureSize(m_settings.width, m_settings.height);
        if (m_isReady) m_film.emplace(m_settings.width, m_settings.height);
        try {
            readScene(stop, delta);
            makeReady(stop);
            m_isPrepared = true;
        } catch (const Stopped&) {
            m_notes.clear();
        }
    }

    void readScene(const std::stop_token& stop, const kelvo_sdk::SnapshotDelta* delta) {
        m_scene.lights.resize(m_scene.lights.size() - std::exchange(m_addedLights, 0));
        if (m_isRead && delta == nullptr) return;
        const SceneUpdate update = std::exchange(m_isRead, false)
                                       ? m_reader.update(m_scene, m_snapshot, *delta, stop)
                                       : SceneUpdate::Impossible;
        m_isBuilt &= update == SceneUpdate::Looks;
        if (update == SceneUpdate::Impossible) m_scene = m_reader.read(m_snapshot, stop);
        m_isRead = true;
    }

    void makeReady(const std::stop_token& stop) {
        if (!m_isReady) return;
        const Camera camera = chooseCamera();
        if (!hasLight(m_scene)) {
            m_notes.push_back("The scene has no light: a sun and a sky are added.");
            const u64 before = m_scene.lights.size();
            addDefaultLights(camera, m_scene.lights);
            m_addedLights = m_scene.lights.size() - before;
        }
        m_camera.emplace(camera, m_settings.width, m_settings.height);
        if (!m_isBuilt) m_accel.build(m_scene.instances, m_settings.threads, stop);
        m_isBuilt = true;
        m_traced.emplace(m_scene, m_accel, stop);
        m_isDone.assign(m_film->tileCount(), false);
    }

    [[nodiscard]] Camera chooseCamera() {
        String names;
        for (const NamedCamera& camera : m_scene.cameras) {
            if (m_settings.camera.isEmpty() || camera.name.equalsNoCase(m_settings.camera))
                return camera.camera;
            names += (names.isEmpty() ? "" : ", ") + std::string(camera.name.view());
        }
        if (m_settings.camera.isEmpty()) {
            m_notes.push_back("The scene has no camera: one that shows everything is added.");
        } else {
            m_isReady = Result::failure(
                "There is no camera \"" + m_settings.camera + "\" in the scene; " +
                (names.isEmpty() ? String("it has none.") : "it has " + names + "."));
        }
        return cameraThatShows(m_scene);
    }

    [[nodiscard]] bool isOver(const Pass& pass) const {
        if (pass.isStopped() || (m_samples > 0 && pass.isLate())) return true;
        return std::all_of(m_isDone.begin(), m_isDone.end(), [](char done) { return done != 0; });
    }

    // Brings all pixels up to `target` samples; false when it had to end before.
    bool runPass(const Pass& pass, u32 target) {
        const u32 count = m_film->tileCount();
        std::atomic<u32> done = 0;
        u32 told = 0;
        std::mutex telling;
        const auto tell = [&] {
            told = done;
            const double part = static_cast<double>(told) / count;
            pass.progress(shareOf(pass, m_samples + part * (target - m_samples)));
        };
        std::atomic<bool> isCut = false;
        Workers(m_settings.threads).run(count, [&](u64 tile) {
            if (isCut) return;
            if (!fillTile(pass, static_cast<u32>(tile), target)) isCut = true;
            if (isCut) return;
            ++done;
            // No thread waits while another tells.
            const std::unique_lock lock(telling, std::try_to_lock);
            if (pass.progress && lock) tell();
        });
        if (pass.progress && !isCut && told < count) tell();
        return !isCut;
    }

    // Brings the pixels of a tile up to `target` samples; false when it had to end before.
    bool fillTile(const Pass& pass, u32 tile, u32 target) {
        if (m_isDone[tile] != 0) return true;
        bool isWhole = true;
        m_film->visitTile(tile, [&](u32 x, u32 y) {
            // Without any sample there would be no picture.
            const bool isLate = m_samples > 0 && pass.isLate();
            return isWhole = !isLate && samplePixel(pass, x, y, target);
        });
        m_film->tidyTile(tile);
        if (isWhole && isQuiet(tile, target, pass.until.noise)) m_isDone[tile] = 1;
        return isWhole;
    }

    // Tells whether a tile is to get no more samples.
    [[nodiscard]] bool isQuiet(u32 tile, u32 samples, double noise) const noexcept {
        return noise > 0.0 && samples >= Film::leastForNoise && m_film->noiseOf(tile) <= noise;
    }

    [[nodiscard]] static double shareOf(const Pass& pass, double samples) {
        const double share = samples / pass.until.samples;
        if (pass.until.seconds <= 0.0) return share;
        return std::min(1.0, std::max(share, pass.seconds() / pass.until.seconds));
    }

    // False when a stop was requested.
    bool samplePixel(const Pass& pass, u32 x, u32 y, u32 target) {
        for (u32 i = m_film->sampleCount(x, y); i < target; ++i) {
            const PixelSample sample = sampleAt(x, y, i, pass.options);
            if (pass.isStopped()) return false;
            m_film->add(x, y, sample);
        }
        return true;
    }

    [[nodiscard]] PixelSample sampleAt(u32 x, u32 y, u32 index, const PathOptions& options) const {
        Random random(u64{y} * m_settings.width + x, index);
        const Vec2 offset = random.nextPair();
        const Ray ray =
            m_camera->at(static_cast<float>(x) + offset.x, static_cast<float>(y) + offset.y);
        return tracePath(*m_traced, *m_camera, ray, options, random);
    }

    // Returns the sums of each block of samples of a tile's pixels; fewer when a stop was
    // requested.
    [[nodiscard]] std::vector<PixelSums> tileSums(const PicturePart& part, u32 tile,
                                                  const PathOptions& options) const {
        const u32 end = part.firstSample + part.sampleCount;
        std::vector<PixelSums> sums;
        m_film->visitTile(tile, [&](u32 x, u32 y) {
            PixelSums first;
            for (u32 block = part.firstSample; block < end; block += Film::blockSize) {
                PixelSums own;
                for (u32 i = block; i < std::min(block + Film::blockSize, end); ++i) {
                    if (options.stop.stop_requested()) return false;
                    own.add(sampleAt(x, y, i, options));
                }
                if (part.firstSample == 0)
                    first.add(own);
                else
                    sums.push_back(own);
            }
            if (part.firstSample == 0) sums.push_back(first);
            return true;
        });
        return sums;
    }

    RenderSettings m_settings;
    kelvo_sdk::Snapshot m_snapshot;
    SceneReader m_reader;
    Result m_isReady;
    RenderScene m_scene;
    Accel m_accel;
    std::optional<TracedScene> m_traced;
    std::optional<CameraRays> m_camera;
    std::optional<Film> m_film;
    std::vector<char> m_isDone;
    std::vector<String> m_notes;
    // The samples that all pixels have, but for those of tiles that are done.
    u32 m_samples = 0;
    // The scene is that of the snapshot, the tree that of the scene, and all is ready for rays.
    bool m_isRead = false;
    bool m_isBuilt = false;
    bool m_isPrepared = false;
    u64 m_addedLights = 0;
};

Renderer::Renderer(const kelvo_sdk::Snapshot& snapshot, RenderSettings settings,
                   const std::stop_token& stop)
    : m_impl(std::make_unique<Impl>(snapshot, std::move(settings), stop)) {}
Renderer::~Renderer() = default;
Renderer::Renderer(Renderer&&) noexcept = default;
Renderer& Renderer::operator=(Renderer&&) noexcept = default;

void Renderer::update(const kelvo_sdk::Snapshot& to, const std::stop_token& stop) {
    m_impl->update(to, stop);
}

Result Renderer::render(const RenderLimit& until, const RenderProgress& progress,
                        const std::stop_token& stop) {
    return m_impl->render(until, progress, stop);
}

Result Renderer::renderPart(const PicturePart& part, std::string& bytes,
                            const std::stop_token& stop) {
    return m_impl->renderPart(part, bytes, stop);
}

Picture Renderer::picture() const {
    return m_impl->picture();
}

const std::vector<Finding>& Renderer::findings() const noexcept {
    return m_impl->findings();
}

const std::vector<String>& Renderer::notes() const noexcept {
    return m_impl->notes();
}

} // namespace qv::render
