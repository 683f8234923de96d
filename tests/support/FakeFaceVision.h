#pragma once

#include "platform/vision/FaceVision.h"

#include <QMutex>

#include <functional>

namespace veilora {

// Sees the faces the test lists and makes prints by the test's rule (none by
// default). Records what it was asked for. Thread-safe.
class FakeFaceVision : public FaceVision
{
public:
    using PrintRule = std::function<std::optional<FeaturePrint>(const QImage &crop, const QRectF &face)>;

    struct PrintRequest
    {
        QSize cropSize;
        QRectF face;
    };

    std::vector<QRectF> detectFaces(const QImage &) override
    {
        QMutexLocker lock(&m_mutex);
        ++m_detections;
        return m_faces;
    }

    std::optional<FeaturePrint> featurePrint(const QImage &crop, const QRectF &face) override
    {
        PrintRule rule;
        {
            QMutexLocker lock(&m_mutex);
            m_requests.push_back({crop.size(), face});
            rule = m_rule;
        }
        return rule ? rule(crop, face) : std::nullopt;
    }

    void setFaces(std::vector<QRectF> faces)
    {
        QMutexLocker lock(&m_mutex);
        m_faces = std::move(faces);
    }

    void setPrintRule(PrintRule rule)
    {
        QMutexLocker lock(&m_mutex);
        m_rule = std::move(rule);
    }

    int detections() const
    {
        QMutexLocker lock(&m_mutex);
        return m_detections;
    }

    std::vector<PrintRequest> requests() const
    {
        QMutexLocker lock(&m_mutex);
        return m_requests;
    }

private:
    mutable QMutex m_mutex;
    std::vector<QRectF> m_faces;
    PrintRule m_rule;
    int m_detections = 0;
    std::vector<PrintRequest> m_requests;
};

} // namespace veilora
