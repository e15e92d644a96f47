# The Debian package, valimbra_<version>_<arch>.deb: `cpack` in a build directory, or
# scripts/package, which builds the release preset first.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME valimbra)
set(CPACK_PACKAGE_VENDOR "The Valimbra developers")
set(CPACK_PACKAGE_CONTACT "The Valimbra developers <valimbra@brindlex.app>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_HOMEPAGE_URL ${PROJECT_HOMEPAGE_URL})

# The binaries were compiled for this prefix (the command finds the program in its libexec
# directory), so the package must install them there. The release preset uses /usr.
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
# Directories are 0755 whatever the umask of whoever builds the package.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "application switcher that opens around the pointer")
# CPack indents the lines and turns the empty one into the paragraph separator.
string(JOIN "\n" CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Valimbra is an application switcher for X11 desktops. Hold Control alone"
    "for a moment, press a shortcut of your choice or click the middle mouse"
    "button, and a translucent switcher opens around the pointer with your"
    "favourite applications and the running ones, most recently used first."
    "Typing searches. Return, a click or resting on an application brings it"
    "to the front, or starts a favourite that is not running yet."
    ""
    "It offers two rings, a grid and a list, each light and dark, up to"
    "fifteen favourites, a list of applications to leave out, launch at"
    "login, and a valimbra --toggle command for window managers that keep"
    "Control for themselves.")

# Libraries the binaries link give most dependencies (dpkg-shlibdeps). What no link reveals is
# listed by hand: the QML modules the views import (QtQuick, QtQuick.Controls.Basic, and what
# those import in turn) and the SVG image plugin that draws the symbols and many application
# icons. The X11 platform plugin ships in libqt6gui6, which the link already brings.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
string(JOIN ", " CPACK_DEBIAN_PACKAGE_DEPENDS
    qml6-module-qtqml
    qml6-module-qtqml-workerscript
    qml6-module-qtquick
    qml6-module-qtquick-controls
    qml6-module-qtquick-layouts
    qml6-module-qtquick-templates
    qml6-module-qtquick-window
    libqt6svg6)

include(CPack)
