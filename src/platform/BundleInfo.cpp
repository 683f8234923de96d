#include "BundleInfo.h"

namespace veilora {

BundleInfo::BundleInfo(QVariantMap info)
    : m_info(std::move(info))
{}

const BundleInfo &BundleInfo::main()
{
    static const BundleInfo info(compiledBundleInfo());
    return info;
}

std::optional<QString> BundleInfo::value(const QString &key) const
{
    const auto it = m_info.constFind(key);
    if (it == m_info.constEnd() || it->typeId() != QMetaType::QString || it->toString().isEmpty())
        return std::nullopt;
    return it->toString();
}

} // namespace veilora
