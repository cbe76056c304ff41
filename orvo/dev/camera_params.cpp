#include "dev/camera_params.h"

#include "base/require.h"
#include "dev/camera.h"
#include "orvo_proc_cimage/image.h"

namespace dev {

CameraParams& operator<<(CameraParams& params, const CCamera& camera)
{
    return params = camera.Params();
}

CameraParams& operator<<(CameraParams& params, const CCamera* camera)
{
    ORVO_REQUIRE(camera);
    return params << *camera;
}

CameraParams ParamsOf(const CCamera& camera, const cimage::CImage& image)
{
    const cimage::TGrid& grid = image.Grid();
    CameraParams params = camera.Params();
    params.K = {{params.K[0] / grid.scale_x, params.K[1] / grid.scale_y}};
    params.O = {{(params.O[0] - grid.offset_x) / grid.scale_x, (params.O[1] - grid.offset_y) / grid.scale_y}};
    params.S = {{image.Width(), image.Height()}};
    return params;
}

}  // namespace dev
