// What the application reads from outside in the cloud code: server answers,
// settings blobs (written by any of the user's computers, or by anyone who holds
// the account) and callback addresses handed over by the desktop. Nothing may
// crash, and a settings record must survive its own encoding unchanged.
#include "cloud/SignInCallback.h"
#include "cloud/SyncPayload.h"
#include "cloud/VendorJson.h"

#include <QJsonArray>

#include <cstdint>
#include <cstdlib>

using namespace veilora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));

    // As a server answer: the members the account and sync read.
    const QJsonObject answer = VendorJson::parseObject(bytes);
    (void)VendorJson::stringOrEmpty(answer, QStringLiteral("token"));
    (void)VendorJson::stringOrEmpty(answer, QStringLiteral("email"));
    (void)VendorJson::integer(answer.value(QStringLiteral("version")));
    const QString blob = VendorJson::stringOrEmpty(answer, QStringLiteral("blob"));

    // As a settings blob, inside an answer or on its own.
    for (const QString &candidate : {blob, QString::fromUtf8(bytes)}) {
        if (const auto payload = SyncPayload::decode(candidate)) {
            if (SyncPayload::decode(payload->blob()) != payload)
                std::abort();
        }
    }

    // As the address the browser sends back.
    (void)SignInCallback::parse(QUrl(QString::fromUtf8(bytes)));
    (void)SignInCallback::parse(QUrl(QStringLiteral("veilora://auth?") + QString::fromUtf8(bytes)));
    return 0;
}
