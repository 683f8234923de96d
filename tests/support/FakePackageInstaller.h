#pragma once

#include "diagnostics/UpdatePackageInstaller.h"

#include <QByteArray>
#include <QFile>
#include <QStringList>

namespace veilora::test {

// Stands in for the system's package installer, which would change this
// computer: records each package with its bytes at hand-over time and answers
// when the test says so.
class FakePackageInstaller : public UpdatePackageInstaller
{
public:
    void install(const QString &packagePath, std::function<void(std::optional<QString>)> done) override
    {
        QFile file(packagePath);
        packages.append(packagePath);
        contents.append(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
        m_done = std::move(done);
    }

    void finish(std::optional<QString> error = std::nullopt)
    {
        if (auto done = std::exchange(m_done, nullptr))
            done(std::move(error));
    }

    QStringList packages;
    QList<QByteArray> contents;

private:
    std::function<void(std::optional<QString>)> m_done;
};

} // namespace veilora::test
