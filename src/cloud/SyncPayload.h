#pragma once

#include <QString>

#include <optional>

namespace veilora {

// The record inside the settings blob that settings sync stores on the server.
struct SyncPayload
{
    std::optional<QString> languageCode; // absent: follow the system's language
    int graceSeconds = 0;

    // JSON with sorted keys and no whitespace, e.g. {"graceSeconds":5,"languageCode":"ja"}.
    QString blob() const;

    // Nothing when the blob is not a JSON object with an integer "graceSeconds"
    // and, if present, a string "languageCode".
    static std::optional<SyncPayload> decode(const QString &blob);

    bool operator==(const SyncPayload &) const = default;
};

} // namespace veilora
