# `cpack -G DEB` in a release build folder makes a Debian package.
set(CPACK_PACKAGE_NAME moorix)
set(CPACK_PACKAGE_VENDOR "The Moorix developers")
set(CPACK_PACKAGE_CONTACT "The Moorix developers <maintainers@moorix.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Two-pane file manager for local disks and servers")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# Libraries are found by the packager; these are run as programs or loaded at run time, which it cannot see.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "openssh-client, zip, libqt6svg6, breeze-icon-theme")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring | kwalletmanager | keepassxc, fonts-inter, fonts-jetbrains-mono")
include(CPack)
