// Picking with a rectangle in a 3D view, the library's main job: a scene of
// 100,000 boxes in 250 placed instances (or as many as --boxes asks for), a
// rectangle dragged on the screen, and the boxes whose edges it catches.
//
// The pick volume is built once in world coordinates from the camera and the
// rectangle. Instances whose world box lies outside it are skipped, those wholly
// inside are taken whole; for the rest the volume is cloned and moved into the
// instance's own coordinates by the inverse of its placement, where its groups and
// boxes are accepted or skipped by their bounding boxes, and only the boxes that
// straddle a face have their edges tested. With --threads T the instances are
// shared out between T threads, each with its own clone of the volume; the answer
// is the same for any T. A brute-force pass over every edge in world coordinates
// checks the answer and shows what the hierarchy saves (--no-check leaves it out).
//
//   picking [--boxes N] [--threads T] [--no-check]
#include "picking_scene.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace plenar_example;

namespace {

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Options {
    long boxes = 100000;
    int threads = 1;
    bool check = true;
};

bool Parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (std::strcmp(argv[i], "--boxes") == 0 && hasValue) {
            options.boxes = std::strtol(argv[++i], nullptr, 10);
        } else if (std::strcmp(argv[i], "--threads") == 0 && hasValue) {
            options.threads = static_cast<int>(std::strtol(argv[++i], nullptr, 10));
        } else if (std::strcmp(argv[i], "--no-check") == 0) {
            options.check = false;
        } else {
            return false;
        }
    }
    return options.boxes > 0 && options.boxes <= 100000000 && options.threads > 0 && options.threads <= 256;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!Parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: %s [--boxes N (1 to 1e8)] [--threads T (1 to 256)] [--no-check]\n", argv[0]);
        return 2;
    }
    using Clock = std::chrono::steady_clock;

    auto start = Clock::now();
    const Scene scene = MakeScene(SceneSizeForBoxes(options.boxes), 2024);
    const double sceneSeconds = SecondsSince(start);
    std::printf("scene: %zu instances, %zu groups, %zu boxes (%zu edges), built in %.1f ms\n", scene.instances.size(),
                scene.groups.size(), scene.boxes.size(), 12 * scene.boxes.size(), 1e3 * sceneSeconds);

    const Camera camera = LookAtScene(scene);
    const ScreenRect rect{520, 260, 800, 430};
    start = Clock::now();
    CGeomFilterCrossingVolume volume = PickVolume(camera, rect);
    const double volumeSeconds = SecondsSince(start);
    std::printf("camera at (%.1f, %.1f, %.1f), %gx%g pixels; pick rectangle (%g, %g)-(%g, %g)\n", camera.eye.x,
                camera.eye.y, camera.eye.z, camera.width, camera.height, rect.left, rect.bottom, rect.right, rect.top);
    std::printf("pick volume built in %.3f ms\n\n", 1e3 * volumeSeconds);

    const PickResult pick = PickHierarchical(scene, volume, options.threads);
    const PickStats& s = pick.stats;
    std::printf("stage times are added up over %d thread%s\n", options.threads, options.threads == 1 ? "" : "s");
    std::printf("instances: %d skipped, %d taken whole, %d opened  (%.3f ms, with clone and transform)\n",
                s.instancesRejected, s.instancesAccepted, s.instancesOpened, 1e3 * pick.instanceSeconds);
    std::printf("groups:    %d skipped, %d taken whole, %d opened\n", s.groupsRejected, s.groupsAccepted,
                s.groupsOpened);
    std::printf("boxes:     %d skipped, %d taken whole, %d straddling  (%.3f ms for groups and boxes)\n",
                s.boxesRejected, s.boxesAccepted, s.boxesOpened, 1e3 * pick.boxSeconds);
    std::printf("edges:     %ld tested  (%.3f ms)\n", s.edgesTested, 1e3 * pick.edgeSeconds);
    std::printf("picked %zu boxes in %.3f ms with %d thread%s; first ids:", pick.picked.size(), 1e3 * pick.wallSeconds,
                options.threads, options.threads == 1 ? "" : "s");
    for (std::size_t i = 0; i < pick.picked.size() && i < 8; ++i) std::printf(" %d", pick.picked[i]);
    std::printf("%s\n", pick.picked.size() > 8 ? " ..." : "");
    if (!options.check) return 0;

    start = Clock::now();
    const std::vector<int> brute = PickBruteForce(scene, volume);
    const double bruteSeconds = SecondsSince(start);
    const bool same = brute == pick.picked;
    std::printf("\nbrute force over all %zu edges in world coordinates: %zu boxes in %.3f ms; %s\n",
                12 * scene.boxes.size(), brute.size(), 1e3 * bruteSeconds, same ? "same answer" : "DIFFERENT ANSWER");
    return same ? 0 : 1;
}
