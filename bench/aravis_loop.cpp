// Aravis' own stream loop over its fake camera, as a program of its own:
//   aravis_loop FRAMES
// takes so many frames of 512 x 512 pixels at up to 1000 a second and looks at none. live_bench runs it against
// `orvo run` on the camera "fast" of live_rig.ini; settings have to be that camera's.
#include <arv.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: aravis_loop FRAMES\n");
        return 2;
    }
    arv_enable_interface("Fake");
    arv_disable_interface("GigEVision");
    arv_disable_interface("USB3Vision");
    ArvCamera* const camera = arv_camera_new("Fake_1", nullptr);
    if (camera == nullptr)
        return 1;
    arv_camera_set_region(camera, 0, 0, 512, 512, nullptr);
    arv_camera_set_frame_rate(camera, 1000.0, nullptr);
    arv_camera_set_exposure_time(camera, 10.0, nullptr);
    ArvStream* const stream = arv_camera_create_stream(camera, nullptr, nullptr, nullptr);
    if (stream == nullptr)
        return 1;
    const guint payload = arv_camera_get_payload(camera, nullptr);
    for (int i = 0; i < 16; ++i)
        arv_stream_push_buffer(stream, arv_buffer_new_allocate(payload));
    arv_camera_start_acquisition(camera, nullptr);
    for (long frames = std::atol(argv[1]); frames > 0;) {
        ArvBuffer* const buffer = arv_stream_timeout_pop_buffer(stream, 1000000);
        if (buffer == nullptr)
            return 1;
        if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS)
            --frames;
        arv_stream_push_buffer(stream, buffer);
    }
    arv_camera_stop_acquisition(camera, nullptr);
    g_object_unref(stream);
    g_object_unref(camera);
    return 0;
}
