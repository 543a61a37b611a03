// Takes a light frame of 0.1 seconds with the simulated camera and saves it as a
// 16-bit PGM: the camera and the failures as a C++ program may wrap them.
//
//     first_frame_cpp FOLDER FILE.pgm      FOLDER holds qvn.cfg
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "qvn.h"

namespace {

constexpr int32_t Sensor = 275;

std::string Hint(int32_t code)
{
    switch (code) {
    case QV_ERROR_CAMERA_NOT_FOUND:
        return "the simulated camera needs the image that DEMO.File in qvn.cfg names";
    case QV_ERROR_PLATFORM_DEFINITION:
    case QV_ERROR_CCD_DEFINITION: return "the first argument must be the folder that holds qvn.cfg";
    default: return "see the error codes in qvn.h";
    }
}

struct Frame {
    int width, height;
    std::vector<uint16_t> pixels;
};

// An open camera; closed at the end of its scope.
class Camera {
public:
    Camera(int32_t number, int32_t platform, int32_t sensor) : number_(number)
    {
        QV_Open(platform, sensor, 0, 0, 0, number_, 0, nullptr, nullptr);
        if (QV_IsOn(number_) == 0) Fail("opening the camera");
    }
    ~Camera() { QV_Close(number_); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    Frame Expose(double seconds) const
    {
        Frame frame = {QV_GetDimX(number_), QV_GetDimY(number_), {}};
        frame.pixels.resize(static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height));
        QV_GetCCD(1, seconds, frame.pixels.data(), number_);
        if (QV_Status(number_) != QV_ERROR_NONE) Fail("taking the frame");
        return frame;
    }

private:
    [[noreturn]] void Fail(const std::string& doing) const
    {
        const int32_t code = QV_Status(number_);
        throw std::runtime_error(doing + " failed: " + QV_ErrorMessage(code) +
                                 "\n  hint: " + Hint(code));
    }

    int32_t number_;
};

// PGM wants the high byte of a pixel first.
void SavePgm(const std::string& path, const Frame& frame)
{
    std::ofstream file(path, std::ios::binary);
    file << "P5\n" << frame.width << ' ' << frame.height << "\n65535\n";
    for (const uint16_t pixel : frame.pixels) {
        file.put(static_cast<char>(pixel >> 8));
        file.put(static_cast<char>(pixel & 0xFF));
    }
    file.close();
    if (!file) throw std::runtime_error(path + " could not be written");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " FOLDER FILE.pgm\n";
        return EXIT_FAILURE;
    }
    try {
        QV_SetPathName(argv[1]);
        const Camera camera(0, QV_PLATFORM_DEMO, Sensor);
        const Frame frame = camera.Expose(0.1);
        SavePgm(argv[2], frame);
        std::cout << argv[2] << ": " << frame.width << " x " << frame.height << " pixels\n";
        return EXIT_SUCCESS;
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << '\n';
        return EXIT_FAILURE;
    }
}
