# Debian packages made by `cpack -G DEB` (scripts/package.sh drives it):
# veilora (the application) and veilora-server (the sync server).
#
# The application finds its models at the data folder compiled in from the
# install prefix, so the packages install under that same prefix; configure
# with -DCMAKE_INSTALL_PREFIX=/usr for a package.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veilora)
set(CPACK_PACKAGE_VENDOR Norvane)
set(CPACK_PACKAGE_VERSION "${VEILORA_VERSION}")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://veilora.norvane.com")
set(CPACK_PACKAGE_CONTACT "Veilora team <support@veilora.norvane.com>")
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
# Independent of the umask of whoever builds: Debian wants 0755 folders.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# A Debian revision makes the packages non-native, which is what the
# changelog.Debian.gz of their doc folders says they are.
set(VEILORA_PACKAGE_REVISION "1" CACHE STRING "Debian revision of the packages (the part after the dash)")
set(CPACK_DEBIAN_PACKAGE_RELEASE "${VEILORA_PACKAGE_REVISION}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Veilora team <support@veilora.norvane.com>")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://veilora.norvane.com")
set(CPACK_DEBIAN_PACKAGE_SOURCE veilora)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# Components (data/CMakeLists.txt says which install rules belong where); the
# "local" one is left out on purpose.
set(CPACK_COMPONENTS_ALL Unspecified veilora-package server server-package)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENT_UNSPECIFIED_GROUP app)
set(CPACK_COMPONENT_VEILORA-PACKAGE_GROUP app)
set(CPACK_COMPONENT_SERVER_GROUP server)
set(CPACK_COMPONENT_SERVER-PACKAGE_GROUP server)

set(CPACK_DEBIAN_APP_PACKAGE_NAME veilora)
set(CPACK_DEBIAN_APP_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_APP_PACKAGE_SHLIBDEPS ON)
# Loaded or run at run time, so dpkg-shlibdeps cannot see them: Qt's X11
# platform plugin (no window without it) and xdg-utils (xdg-open for the sign-in
# page, xdg-mime for the veilora: link handler). The camera is read through V4L2
# directly, so no GStreamer plugin is needed.
set(CPACK_DEBIAN_APP_PACKAGE_DEPENDS "qt6-qpa-plugins, xdg-utils")
# A keyring holds the sync sign-in (without one, sync is off); Qt's own
# translations for its standard dialogs; the session bus carries the hand-over
# from a second start.
set(CPACK_DEBIAN_APP_PACKAGE_RECOMMENDS
    "gnome-keyring | libkf5wallet-bin, qt6-translations-l10n, default-dbus-session-bus | dbus-session-bus")
# The camera help adds the account to the video group through pkexec.
set(CPACK_DEBIAN_APP_PACKAGE_SUGGESTS "pkexec")
set(CPACK_DEBIAN_APP_PACKAGE_CONTROL_EXTRA "${CMAKE_SOURCE_DIR}/data/debian/conffiles")
set(CPACK_DEBIAN_APP_DESCRIPTION "blurs every screen while you are away from your desk
Veilora watches the camera and covers every screen with a frosted copy of
itself when your face has been away for a while; the blur clears when it
sees your face again. An Unlock button asks for your password through PAM.
.
Face recognition runs on the machine with ONNX models shipped in this
package; the face profile never leaves it. Settings can follow you across
computers through a sync server (see the veilora-server package).")

set(CPACK_DEBIAN_SERVER_PACKAGE_NAME veilora-server)
set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SERVER_PACKAGE_SHLIBDEPS ON)
# Qt's SQL drivers are plugins: at least one of the two databases the server
# speaks must be there.
set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "libqt6sql6-sqlite | libqt6sql6-psql")
set(CPACK_DEBIAN_SERVER_PACKAGE_SUGGESTS "libqt6sql6-psql")
set(CPACK_DEBIAN_SERVER_DESCRIPTION "settings sync server for Veilora
veilora-server keeps the synchronised settings of Veilora accounts and serves
the sign-in page that the application opens in the browser. It stores its
data in SQLite for a single server process, or in PostgreSQL to share it
between several, and speaks HTTPS itself or plain HTTP on a loopback address
behind a reverse proxy.")

include(CPack)
