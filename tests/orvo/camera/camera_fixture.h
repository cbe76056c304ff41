// A camera with settings that live in memory.
#ifndef TESTS_CAMERA_CAMERA_FIXTURE_H
#define TESTS_CAMERA_CAMERA_FIXTURE_H

#include <gtest/gtest.h>

#include "dev/camera.h"
#include "orvo/camera/console.h"
#include "orvo/dev/settings_file.h"
#include "orvo_proc_cimage/image.h"

namespace test {

class CameraFixture : public testing::Test
{
protected:
    void Load(const Keys& keys, hws::Version version = hws::Version::V1_1) { camera.LoadParams(File(keys), version); }

    /// The keys after saving into a file that holds `keys`.
    Keys Save(const Keys& keys, hws::Version version = hws::Version::V1_1)
    {
        kt::ini::INIFile ini = File(keys);
        camera.SaveParams(ini, version);
        return Contents(ini);
    }

    CConsole console;
    dev::CCamera camera;
};

}  // namespace test

#endif
