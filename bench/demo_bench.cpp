// The OpenCV calls of the rig examples/stereo/rig.ini in a bare loop, both cameras, as a program of its own:
//   demo_bench PHOTOGRAPHS PICTURES
// reads left??.jpg and right??.jpg from the first folder and writes left-NN.png and right-NN.png to the second.
// process_bench runs it against `orvo run` on that rig; figures and operations have to be the rig's.
#include <cstdio>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

namespace {

struct TCamera
{
    std::string name;
    cv::Matx33d matrix;
    std::vector<double> k;
    cv::Mat map1;
    cv::Mat map2;
    int frames = 0;
};

TCamera MakeCamera(const std::string& name, double fx, double fy, double cx, double cy, const std::vector<double>& k)
{
    TCamera camera;
    camera.name = name;
    camera.matrix = cv::Matx33d(fx, 0, cx, 0, fy, cy, 0, 0, 1);
    camera.k = k;
    cv::initUndistortRectifyMap(camera.matrix, k, cv::noArray(), camera.matrix, cv::Size(640, 480), CV_16SC2,
                                camera.map1, camera.map2);
    return camera;
}

/// One frame; the matrices of the results live for one frame, as the images of a tree's nodes do.
bool RunFrame(TCamera& camera, const std::string& photographs, const std::string& pictures, const std::string& number)
{
    const cv::Mat picture = cv::imread(photographs + "/" + camera.name + number + ".jpg", cv::IMREAD_UNCHANGED);
    if (picture.size() != cv::Size(640, 480) || picture.type() != CV_8UC1)
        return false;

    cv::Mat straight;
    cv::remap(picture, straight, camera.map1, camera.map2, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    if (++camera.frames % 2 == 0) {
        cv::Mat small;
        cv::resize(straight, small, cv::Size(320, 240), 0, 0, cv::INTER_AREA);
    }
    cv::Mat middle;
    picture(cv::Rect(160, 120, 320, 240)).copyTo(middle);
    cv::Mat smooth;
    cv::GaussianBlur(middle, smooth, cv::Size(5, 5), 1.1);
    return cv::imwrite(pictures + "/" + camera.name + "-" + number + ".png", straight);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: demo_bench PHOTOGRAPHS PICTURES\n");
        return 2;
    }
    TCamera left =
        MakeCamera("left", 535.916, 535.916, 342.283, 235.571, {-0.26637, -0.03859, 0.00178, -0.00028, 0.23839});
    TCamera right =
        MakeCamera("right", 542.34, 541.601, 328.326, 246.953, {-0.28059, 0.10444, -0.00056, 0.0013, -0.02384});
    for (const char* number : {"01", "02", "03", "04", "05", "06", "07", "08", "09", "11", "12", "13", "14"})
        for (TCamera* camera : {&left, &right})
            if (!RunFrame(*camera, argv[1], argv[2], number)) {
                std::fprintf(stderr, "demo_bench: %s%s.jpg failed\n", camera->name.c_str(), number);
                return 1;
            }
    return 0;
}
