// Feeds arbitrary bytes to everything the server parses before it trusts a
// client: form bodies, JSON bodies, the bearer header, the sign-in query and
// feed file names. Built by the clang fuzz project with the server's
// RequestParsing.cpp only.
#include "RequestParsing.h"

#include <QByteArray>
#include <QUrlQuery>

#include <cstddef>
#include <cstdint>

using namespace veilora::server;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QString text = QString::fromUtf8(input);

    const auto fields = parseFormBody(input);
    const auto parameters =
        checkConnectParameters(fields.value(QStringLiteral("app")), fields.value(QStringLiteral("challenge")),
                               fields.value(QStringLiteral("state")));
    if (parameters && (!isValidChallenge(parameters->challenge) || !isValidState(parameters->state)))
        __builtin_trap();
    (void)parseConnectQuery(QUrlQuery(text));

    if (const auto token = parseBearer(input); token && token->size() != 43)
        __builtin_trap();

    const auto exchange = parseTokenRequest(input);
    if (exchange.problem == BodyProblem::None) {
        if (exchange.request.deviceId.isEmpty() || exchange.request.deviceId.size() > maxDeviceIdLength)
            __builtin_trap();
        if (isValidVerifier(exchange.request.verifier) &&
            !isValidChallenge(challengeForVerifier(exchange.request.verifier)))
            __builtin_trap();
    }
    const auto upload = parseSyncUpload(input);
    if (upload.problem == BodyProblem::None &&
        (upload.upload.baseVersion < 0 || upload.upload.blob.toUtf8().size() > maxBlobBytes))
        __builtin_trap();
    (void)isJsonObject(input);

    if (const auto name = feedFileName(QStringLiteral("/feed/") + text)) {
        if (name->contains(u'/') || name->contains(QLatin1StringView("..")) || name->startsWith(u'.'))
            __builtin_trap();
        (void)feedContentType(*name);
    }
    return 0;
}
