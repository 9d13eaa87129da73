// Picking with a rectangle in a 3D view, the library's main job: a scene of
// 100,000 boxes in 250 placed instances, a rectangle dragged on the screen, and the
// boxes whose edges it catches.
//
// The pick volume is built once in world coordinates from the camera and the
// rectangle. Instances whose world box lies outside it are skipped, those wholly
// inside are taken whole; for the rest the volume is cloned and moved into the
// instance's own coordinates by the inverse of its placement, where its groups and
// boxes are accepted or skipped by their bounding boxes, and only the boxes that
// straddle a face have their edges tested. A brute-force pass over every edge in
// world coordinates checks the answer and shows what the hierarchy saves.
#include "picking_scene.h"

#include <chrono>
#include <cstdio>

using namespace plenar_example;

namespace {

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main() {
    using Clock = std::chrono::steady_clock;
    const SceneSize size{250, 20, 20};

    auto start = Clock::now();
    const Scene scene = MakeScene(size, 2024);
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

    const PickResult pick = PickHierarchical(scene, volume);
    const PickStats& s = pick.stats;
    std::printf("instances: %d skipped, %d taken whole, %d opened  (%.3f ms, with clone and transform)\n",
                s.instancesRejected, s.instancesAccepted, s.instancesOpened, 1e3 * pick.instanceSeconds);
    std::printf("groups:    %d skipped, %d taken whole, %d opened\n", s.groupsRejected, s.groupsAccepted,
                s.groupsOpened);
    std::printf("boxes:     %d skipped, %d taken whole, %d straddling  (%.3f ms for groups and boxes)\n",
                s.boxesRejected, s.boxesAccepted, s.boxesOpened, 1e3 * pick.boxSeconds);
    std::printf("edges:     %ld tested  (%.3f ms)\n", s.edgesTested, 1e3 * pick.edgeSeconds);
    const double pickSeconds = pick.instanceSeconds + pick.boxSeconds + pick.edgeSeconds;
    std::printf("picked %zu boxes in %.3f ms; first ids:", pick.picked.size(), 1e3 * pickSeconds);
    for (std::size_t i = 0; i < pick.picked.size() && i < 8; ++i) std::printf(" %d", pick.picked[i]);
    std::printf("%s\n\n", pick.picked.size() > 8 ? " ..." : "");

    start = Clock::now();
    const std::vector<int> brute = PickBruteForce(scene, volume);
    const double bruteSeconds = SecondsSince(start);
    const bool same = brute == pick.picked;
    std::printf("brute force over all %zu edges in world coordinates: %zu boxes in %.3f ms; %s\n",
                12 * scene.boxes.size(), brute.size(), 1e3 * bruteSeconds, same ? "same answer" : "DIFFERENT ANSWER");
    return same ? 0 : 1;
}
