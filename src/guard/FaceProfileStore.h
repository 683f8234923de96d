#pragma once

#include "guard/FaceProfileFormat.h"

#include <QString>

#include <optional>
#include <vector>

namespace veilora {

// The face profile file, "face-profile.dat" in the user's data folder under
// "Norvane" (moved once from the earlier "Veilora" folder). It holds biometric
// data, so file and folder are private to the user.
//
// The content is a versioned container (see FaceProfileFormat.h). Every save and delete is announced
// system-wide with `changeNote`, so each running copy of the application reloads. Main thread only.
class FaceProfileStore
{
public:
    static constexpr const char *changeNote = "com.norvane.face-profile.changed";
    static constexpr qint64 maximumFileBytes = 4 * 1024 * 1024;

    static std::optional<FaceProfile> load();
    static void save(const std::vector<FeaturePrint> &prints, double threshold);
    static void deleteProfile();

    static QString url();       // creates the folder on every call
    static QString legacyURL(); // never created

    FaceProfileStore() = delete;

private:
    static void migrateIfNeeded();
};

} // namespace veilora
