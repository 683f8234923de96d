#pragma once

#include "FeaturePrint.h"

#include <QImage>
#include <QRectF>

#include <memory>
#include <optional>
#include <vector>

namespace veilora {

// Finding faces in a frame and making the feature print of one.
//
// Images are Format_RGB32 (other formats are converted). Implementations may be
// called from any thread, one call at a time or concurrently.
class FaceVision
{
public:
    virtual ~FaceVision() = default;

    // The faces in `frame`, in the detector's order, as boxes normalized to the
    // frame (0…1) with the origin at the lower left; the box of a face cut by the
    // frame edge may reach beyond it, to where the whole face would be. Empty when
    // there are none or detection failed.
    virtual std::vector<QRectF> detectFaces(const QImage &frame) = 0;

    // The print of the face shown in `crop`. `face` says where the detector saw it,
    // in the crop's pixels (origin at the top left, like QImage), and may reach
    // beyond the crop. No value when no print can be made.
    virtual std::optional<FeaturePrint> featurePrint(const QImage &crop, const QRectF &face) = 0;

    // The process's face models, loaded on first use and kept.
    static std::shared_ptr<FaceVision> standard();
};

} // namespace veilora
