#pragma once

#include <QImage>
#include <QString>

namespace veilora {

// One camera the system offers.
struct CameraDevice
{
    // Built-in cameras are part of the machine (a laptop's lid camera); a closed
    // lid covers them. Everything else, including a file played as a camera, is
    // external.
    enum class Kind
    {
        builtin,
        external
    };

    QString uniqueID;      // the same across replugging and restarts
    QString localizedName; // for the user and the log
    Kind kind = Kind::external;
    QString location; // where the backend finds it: a device node or a file path

    friend bool operator==(const CameraDevice &, const CameraDevice &) = default;
};

// Frame rates, in frames per second, that a device's active format supports.
struct FrameRateRange
{
    double minFrameRate = 0;
    double maxFrameRate = 0;
};

// One frame as capture delivers it: 640 × 480, QImage::Format_RGB32, which on
// the little-endian machines we run on holds the bytes B, G, R, A (32-bit BGRA).
// A frame whose buffer could not be read (a corrupt transfer, an undecodable
// picture) has a null image.
struct VideoFrame
{
    QImage image;
};

} // namespace veilora
